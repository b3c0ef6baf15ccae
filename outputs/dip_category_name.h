// Dip categories in words.
#pragma once

#include <string>

namespace outputs {

/// "single-phase dip, A" for a category code of the library; "not classified" for 10.
std::string dip_category_name(int code);

/// The letters of a mask of phases (1 = A, 2 = B, 4 = C): "AC"; empty for none.
std::string phase_letters(int mask);

}  // namespace outputs
