#include "command/left_out.h"

namespace command {

std::string why_left_out(const std::string& packages) {
  return packages + " was missing; run scripts/setup.sh, which installs it, and build dipx again";
}

}  // namespace command
