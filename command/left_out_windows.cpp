#include "command/left_out.h"

namespace command {

/// The packages exist only for Linux.
std::string why_left_out(const std::string& /*packages*/) {
  return "it is not part of dipx for Windows; use dipx for Linux, for example in the Windows Subsystem for Linux";
}

}  // namespace command
