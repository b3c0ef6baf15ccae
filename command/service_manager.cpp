#include "command/service_manager.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstddef>
#include <cstdlib>
#include <cstring>

namespace command {

ServiceManager::ServiceManager() {
  const char* name = std::getenv("NOTIFY_SOCKET");
  if (name == nullptr || (name[0] != '/' && name[0] != '@') || std::strlen(name) >= sizeof(sockaddr_un::sun_path)) {
    return;
  }
  name_ = name;
  unsetenv("NOTIFY_SOCKET");
  socket_ = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
}

ServiceManager::~ServiceManager() {
  if (socket_ >= 0) close(socket_);
}

void ServiceManager::ready(const std::string& status) {
  send("READY=1\nSTATUS=" + status);
}

void ServiceManager::alive(const std::string& status) {
  send("WATCHDOG=1\nSTATUS=" + status);
}

void ServiceManager::stopping() {
  send("STOPPING=1");
}

void ServiceManager::send(const std::string& message) const {
  if (socket_ < 0) return;
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::memcpy(address.sun_path, name_.data(), name_.size());
  // A name that begins with @ is that of an abstract socket, whose first byte is zero.
  if (name_[0] == '@') address.sun_path[0] = '\0';
  const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + name_.size());
  // The service continues whether or not systemd listens.
  [[maybe_unused]] const ssize_t sent =
      sendto(socket_, message.data(), message.size(), MSG_NOSIGNAL, reinterpret_cast<const sockaddr*>(&address), size);
}

}  // namespace command
