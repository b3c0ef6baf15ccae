// Dip categories in words.
#pragma once

#include <string>

namespace outputs {

/// "single-phase dip, A" for a category code, 0 to 9; "not classified" for 10, which only the embedded library has.
/// `between_phases`: the voltages are AB, BC, CA, and the codes are those of their pattern: "dip of one voltage, CA".
std::string dip_category_name(int code, bool between_phases = false);

/// The letters of a mask of phases (1 = A, 2 = B, 4 = C): "AC"; empty for none.
std::string phase_letters(int mask);

}  // namespace outputs
