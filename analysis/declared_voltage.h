// What the user says that the voltage should be, against what the record shows.
#pragma once

#include "analysis/findings.h"
#include "readers/record.h"

namespace analysis {

/// What a declared voltage means for the analysed ones. Whether it is one of phases or between them, and on which side
/// of the transformers, is told by what the record's level is nearest to. One that is far from the level has a note.
DeclaredVoltage declared_voltage(const readers::Record& record, Analysis& analysis, double given);

}  // namespace analysis
