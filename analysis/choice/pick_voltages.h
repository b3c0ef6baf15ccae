// From a record to the waveform that is analysed.
#pragma once

#include "analysis/analysed_voltages.h"
#include "analysis/choice/noted.h"
#include "analysis/choice/voltage_choice.h"
#include "analysis/stage_report.h"
#include "analysis/waveform.h"
#include "readers/record.h"

namespace analysis {

struct PickedVoltages {
  AnalysedVoltages voltages;
  Waveform waveform;  ///< in the form that the library takes, save for its level
  Notes notes;        ///< on what had to be guessed or made up
};

/// Throws UnknownChoice, readers::ReadError when there are no usable voltages, Refusal when the analysis does not take
/// them.
PickedVoltages pick_voltages(const readers::Record& record, const VoltageChoice& choice,
                             const StageReport& report_stage);

}  // namespace analysis
