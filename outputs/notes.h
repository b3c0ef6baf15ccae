// What the reader noticed in a record and the analysis in its data.
#pragma once

#include <string>
#include <vector>

#include "analysis/findings.h"
#include "readers/record.h"

namespace outputs {

/// One sentence each, in the order in which they were noticed.
std::vector<std::string> notes_of(const readers::Record& record, const analysis::Analysis& analysis);

}  // namespace outputs
