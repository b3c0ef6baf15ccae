// The side and the likely cause of each dip, by the currents of the bay.
#pragma once

#include <optional>
#include <vector>

#include "analysis/analysed_voltages.h"
#include "assess/cause.h"
#include "assess/direction.h"
#include "measure/measure.h"
#include "readers/record.h"
#include "readers/voltages/bay_currents.h"

namespace analysis {

/// What the currents show of a dip; members are empty where they show nothing.
struct Origin {
  std::optional<assess::Direction> direction;
  std::optional<assess::Cause> cause;
};

/// Returns one entry for each event found, and nothing at all unless waveforms of three voltages and of the currents of
/// their bay were read. Only dips with a known start have an origin. `measured`: the waveform of the voltages.
std::vector<Origin> origins_of(const readers::Record& record, const AnalysedVoltages& voltages,
                               const measure::Waveform& measured, const measure::Findings& found,
                               const readers::CurrentSet& bay);

}  // namespace analysis
