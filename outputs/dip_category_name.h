// Names the categories of dips.
#pragma once

#include <string>

namespace outputs {

/// Returns "single-phase dip, A" for a category code from 0 to 9, and "not classified" for 10, which only the embedded
/// library uses. `between_phases`: the voltages are AB, BC, CA, and the codes describe their pattern: "dip of one
/// voltage, CA".
std::string dip_category_name(int code, bool between_phases = false);

/// Returns the letters of a mask of phases (1 = A, 2 = B, 4 = C): "AC"; empty for an empty mask.
std::string phase_letters(int mask);

}  // namespace outputs
