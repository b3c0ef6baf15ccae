// Builds the waveform that is measured from a record.
#pragma once

#include <cstddef>

#include "analysis/analysed_voltages.h"
#include "analysis/choice/noted.h"
#include "analysis/choice/record_voltages.h"
#include "analysis/measured_waveform.h"
#include "readers/record.h"

namespace analysis {

struct PickedVoltages {
  AnalysedVoltages voltages;
  MeasuredWaveform measured;  ///< refers to the record's samples
  Notes notes;                ///< on everything that had to be assumed
};

/// Takes a part of a set by its number; for 0 it is chosen. Throws UnknownChoice, readers::ReadError when the voltages
/// have no values or no usable unit, Refusal when their rate is not known or too low.
PickedVoltages pick_voltages(const readers::Record& record, const VoltageSource& source, std::size_t part);

}  // namespace analysis
