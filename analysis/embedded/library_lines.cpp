#include "analysis/embedded/library_lines.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <system_error>

namespace analysis::embedded {

namespace {

int checked(int result) {
  if (result < 0) throw std::system_error(errno, std::generic_category(), "redirecting the library's lines");
  return result;
}

}  // namespace

LibraryLines::LibraryLines(bool show)
    : saved_out_((std::fflush(nullptr), checked(fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3)))),
      saved_err_(checked(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3))) {
  if (show) {
    checked(dup2(STDERR_FILENO, STDOUT_FILENO));
    return;
  }
  const int nowhere = checked(open("/dev/null", O_WRONLY | O_CLOEXEC));
  checked(dup2(nowhere, STDOUT_FILENO));
  checked(dup2(nowhere, STDERR_FILENO));
  close(nowhere);
}

LibraryLines::~LibraryLines() {
  std::fflush(nullptr);
  dup2(saved_out_, STDOUT_FILENO);
  dup2(saved_err_, STDERR_FILENO);
  close(saved_out_);
  close(saved_err_);
}

}  // namespace analysis::embedded
