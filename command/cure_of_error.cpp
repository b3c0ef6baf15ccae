#include "command/cure_of_error.h"

namespace command {

const char* cure_of(const std::error_code& error) {
  if (error == std::errc::no_such_file_or_directory) return "; make its folder first, or name another one";
  if (error == std::errc::not_a_directory) return "; a part of this path is a file, so name another folder";
  if (error == std::errc::is_a_directory) return "; name a file in it";
  if (error == std::errc::permission_denied || error == std::errc::operation_not_permitted ||
      error == std::errc::read_only_file_system) {
    return "; name a folder that you may write to";
  }
  if (error == std::errc::no_space_on_device) return "; free some space, or name a file on another disk";
  return "";
}

}  // namespace command
