// Suppresses what the library prints, so that the speed of a terminal is not measured.
#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

namespace bench {

/// During its lifetime, everything that is printed is discarded.
class Silence {
 public:
  Silence() {
    std::fflush(nullptr);
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (nowhere < 0) std::abort();
    for (const int descriptor : {STDOUT_FILENO, STDERR_FILENO}) {
      saved_[descriptor] = dup(descriptor);
      if (saved_[descriptor] < 0 || dup2(nowhere, descriptor) < 0) std::abort();
    }
    close(nowhere);
  }
  Silence(const Silence&) = delete;
  Silence& operator=(const Silence&) = delete;
  ~Silence() {
    std::fflush(nullptr);
    for (const int descriptor : {STDOUT_FILENO, STDERR_FILENO}) {
      dup2(saved_[descriptor], descriptor);
      close(saved_[descriptor]);
    }
  }

 private:
  int saved_[3] = {};
};

}  // namespace bench
