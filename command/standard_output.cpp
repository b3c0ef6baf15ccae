#include "command/standard_output.h"

#include <cerrno>
#include <cstdio>
#include <system_error>

namespace command {

void write_standard_output(const std::string& bytes) {
  if (std::fwrite(bytes.data(), 1, bytes.size(), stdout) != bytes.size() || std::fflush(stdout) != 0) {
    throw std::system_error(errno, std::generic_category(), "standard output");
  }
}

}  // namespace command
