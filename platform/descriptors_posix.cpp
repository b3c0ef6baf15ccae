#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/descriptors.h"

namespace platform {

int kept_copy(int descriptor) {
  return fcntl(descriptor, F_DUPFD_CLOEXEC, 3);
}

int open_nowhere() {
  return open("/dev/null", O_WRONLY | O_CLOEXEC);
}

bool is_terminal(int descriptor) {
  return isatty(descriptor) != 0;
}

bool is_pipe(int descriptor) {
  struct stat about {};
  return fstat(descriptor, &about) == 0 && S_ISFIFO(about.st_mode);
}

bool is_device(int descriptor) {
  struct stat about {};
  if (fstat(descriptor, &about) != 0) return false;
  return S_ISBLK(about.st_mode) || (S_ISCHR(about.st_mode) && !is_terminal(descriptor));
}

}  // namespace platform
