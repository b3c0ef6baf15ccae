#include "outputs/dip_category_name.h"

#include <array>
#include <cstddef>

namespace outputs {

std::string dip_category_name(int code) {
  constexpr std::array<const char*, 10> names = {
      "two-phase dip, B and C",
      "single-phase dip, C",
      "two-phase dip, C and A",
      "single-phase dip, A",
      "two-phase dip, A and B",
      "single-phase dip, B",
      "two-phase dip with zero sequence, B and C",
      "two-phase dip with zero sequence, C and A",
      "two-phase dip with zero sequence, A and B",
      "three-phase dip",
  };
  const auto index = static_cast<std::size_t>(code);
  return code >= 0 && index < names.size() ? names[index] : "not classified";
}

std::string phase_letters(int mask) {
  std::string letters;
  for (int phase = 0; phase < 3; phase++) {
    if ((mask >> phase & 1) != 0) letters += "ABC"[phase];
  }
  return letters;
}

}  // namespace outputs
