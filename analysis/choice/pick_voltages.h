// From a record to the waveform that is measured.
#pragma once

#include "analysis/analysed_voltages.h"
#include "analysis/choice/noted.h"
#include "analysis/choice/voltage_choice.h"
#include "analysis/measured_waveform.h"
#include "readers/record.h"

namespace analysis {

struct PickedVoltages {
  AnalysedVoltages voltages;
  MeasuredWaveform measured;  ///< refers to the record's samples
  Notes notes;                ///< on what had to be guessed
};

/// Throws UnknownChoice, readers::ReadError when there are no usable voltages, Refusal when their rate is not known or
/// too low.
PickedVoltages pick_voltages(const readers::Record& record, const VoltageChoice& choice);

}  // namespace analysis
