// The voltages of a load beyond transformers, for people.
#pragma once

#include <cstddef>
#include <string>

#include "analysis/findings.h"
#include "readers/record.h"

namespace outputs {

/// Lists the events of the load's phase voltages and of those between phases, with the dip's types and the verdicts
/// there. Empty without a load. `width`: columns of a line.
std::string load_text(const readers::Record& record, const analysis::Analysis& analysis, std::size_t width);

}  // namespace outputs
