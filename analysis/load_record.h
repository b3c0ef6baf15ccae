// Makes a record of the voltages of a load beyond transformers.
#pragma once

#include <vector>

#include "analysis/choice/voltage_choice.h"
#include "assess/transformer.h"
#include "readers/record.h"

namespace analysis {

/// Returns the waveforms at a load as a record: phase voltages Ua, Ub, Uc and voltages between phases Uab, Ubc, Uca in
/// volts, as if the ratios of the transformers were 1. They are computed from the set and the part that an analysis
/// would choose; times begin with its first sample, and digital channels are left out. Throws what `analyse` throws,
/// and Refusal unless the waveforms of three voltages can be found.
readers::Record load_record_of(const readers::Record& record, const VoltageChoice& choice,
                               const std::vector<assess::Connection>& connections);

}  // namespace analysis
