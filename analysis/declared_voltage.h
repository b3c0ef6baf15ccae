// Compares the voltage that the user declares with the level of the record.
#pragma once

#include "analysis/analysis_options.h"
#include "analysis/findings.h"
#include "measure/measure.h"
#include "readers/record.h"

namespace analysis {

/// What a declared voltage means for the analysed ones. Unless the user says whether it is a voltage of phases or
/// between them, the reading that is nearest to the record's level is taken; so is the side of the transformers. Throws
/// Refusal when no reading comes near any voltage of the record; where the user fixed the kind, a note is made instead.
DeclaredVoltage declared_voltage(const readers::Record& record, Analysis& analysis, const measure::Screening& screening,
                                 const AnalysisOptions& options);

}  // namespace analysis
