// Names the analysed voltages in outputs.
#pragma once

#include <cstddef>
#include <string>

#include "analysis/analysed_voltages.h"
#include "readers/record.h"

namespace outputs {

/// Returns the channel's name. A voltage that was computed from others has the letters of its phases: "AB" if all were
/// computed, "CA, computed" if the others are channels.
std::string voltage_name(const readers::Record& record, const analysis::AnalysedVoltages& voltages, std::size_t phase);

/// Names the flagged voltages: by their phases' letters ("AC", "AB,CA") if all three are analysed; by their channels'
/// names ("Ub, Uc") if fewer are, because their phases are not known; "none" if none is flagged.
std::string voltages_text(const readers::Record& record, const analysis::AnalysedVoltages& voltages,
                          const measure::PhaseFlags& flags);

}  // namespace outputs
