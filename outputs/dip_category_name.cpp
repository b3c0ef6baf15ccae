#include "outputs/dip_category_name.h"

#include <array>
#include <cstddef>

namespace outputs {

namespace {

using Names = std::array<const char*, 10>;

constexpr Names of_phases = {
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

constexpr Names of_line_voltages = {
    "dip of two voltages, BC and CA",
    "dip of one voltage, CA",
    "dip of two voltages, CA and AB",
    "dip of one voltage, AB",
    "dip of two voltages, AB and BC",
    "dip of one voltage, BC",
    "dip of two voltages with zero sequence, BC and CA",
    "dip of two voltages with zero sequence, CA and AB",
    "dip of two voltages with zero sequence, AB and BC",
    "dip of all three voltages",
};

}  // namespace

std::string dip_category_name(int code, bool between_phases) {
  const Names& names = between_phases ? of_line_voltages : of_phases;
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
