// Takes names from files: of stations, devices, channels, phases and units.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace readers {

/// Makes the names in a file safe to show and cuts those that are longer than `longest_name`. All other code may
/// therefore handle a name as a short text.
class Names {
 public:
  /// Returns the name that a field gives. `what` says whose name it is: "the station".
  std::string read(std::string_view field, std::string_view what);

  /// Returns a note about the names that were cut; it is empty when there are none.
  [[nodiscard]] std::string note() const;

 private:
  std::size_t cut_ = 0;
  std::string first_;  ///< the first name that was cut and its length
};

}  // namespace readers
