// Lets a test that runs as root do without the permissions of root.
#pragma once

#include <unistd.h>

#include <cstdlib>

namespace tests {

/// Root may write anywhere, so during its lifetime a process of root runs as the user "nobody".
class Nobody {
 public:
  Nobody() { became_ = getuid() == 0 && seteuid(65534) == 0; }
  Nobody(const Nobody&) = delete;
  Nobody& operator=(const Nobody&) = delete;
  ~Nobody() {
    if (became_ && seteuid(0) != 0) std::abort();
  }

 private:
  bool became_ = false;
};

}  // namespace tests
