#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <initializer_list>

#include "command/standard_streams.h"

namespace command {

void prepare_standard_streams() {
  std::signal(SIGXFSZ, SIG_IGN);
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (fcntl(stream, F_GETFD) != -1 || errno != EBADF) continue;
    // The lowest free descriptor is opened, which is this one because those before it are open.
    if (open("/dev/null", stream == STDIN_FILENO ? O_RDONLY : O_WRONLY) != stream) std::abort();
  }
}

}  // namespace command
