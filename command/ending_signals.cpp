#include "command/ending_signals.h"

#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <system_error>

namespace command {

EndingSignals::EndingSignals() : descriptor_(-1) {
  sigset_t signals;
  sigemptyset(&signals);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) sigaddset(&signals, signal);
  sigprocmask(SIG_BLOCK, &signals, nullptr);
  descriptor_ = signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
  if (descriptor_ < 0) throw std::system_error(errno, std::generic_category(), "cannot wait for signals");
}

EndingSignals::~EndingSignals() {
  close(descriptor_);
}

bool EndingSignals::arrived() const {
  pollfd about{descriptor_, POLLIN, 0};
  return poll(&about, 1, 0) > 0;
}

}  // namespace command
