#include "analysis/embedded/library_lines.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <system_error>

#include "platform/descriptors.h"

namespace analysis::embedded {

namespace {

int checked(int result) {
  if (result < 0) throw std::system_error(errno, std::generic_category(), "redirecting the library's lines");
  return result;
}

}  // namespace

LibraryLines::LibraryLines(bool show)
    : saved_out_((std::fflush(nullptr), checked(platform::kept_copy(STDOUT_FILENO)))),
      saved_err_(checked(platform::kept_copy(STDERR_FILENO))) {
  if (show) {
    checked(dup2(STDERR_FILENO, STDOUT_FILENO));
    return;
  }
  const int nowhere = checked(platform::open_nowhere());
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
