// Tells systemd how a service is doing, by the protocol of sd_notify(3): one datagram for each message.
#pragma once

#include <string>

namespace command {

/// Does nothing if the process was not started as a service of type notify.
class ServiceManager {
 public:
  /// Takes the socket's name from NOTIFY_SOCKET and removes it from the environment, so that processes that are started
  /// later cannot speak for the service.
  ServiceManager();
  ServiceManager(const ServiceManager&) = delete;
  ServiceManager& operator=(const ServiceManager&) = delete;
  ~ServiceManager();

  /// The service is up. `status` is one line for people.
  void ready(const std::string& status);
  /// The service is alive, which systemd also takes as an answer to its watchdog.
  void alive(const std::string& status);
  /// The service is about to end.
  void stopping();

 private:
  void send(const std::string& message) const;

  int socket_ = -1;
  std::string name_;
};

}  // namespace command
