// The rules that thresholds keep with respect to each other.
#pragma once

#include <string>

#include "measure/options.h"

namespace analysis {

/// Returns what is wrong with thresholds whose single values are possible, in the words of the options that give them;
/// empty if nothing is.
std::string fault_of(const measure::Thresholds& thresholds);

}  // namespace analysis
