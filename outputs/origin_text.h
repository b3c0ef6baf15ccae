// The side and the likely cause of a dip for people.
#pragma once

#include <string>

#include "analysis/findings.h"

namespace outputs {

/// "Side of the cause by the currents: all four methods say downstream (real current, ...)." `index`: number of the
/// event in the findings. Empty if the currents do not show it.
std::string direction_sentence(std::size_t index, const analysis::Analysis& analysis);

/// "Likely cause: fault, because ..."; empty if the currents do not show it.
std::string cause_sentence(std::size_t index, const analysis::Analysis& analysis);

}  // namespace outputs
