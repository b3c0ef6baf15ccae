// What the analysed voltages are called in outputs.
#pragma once

#include <cstddef>
#include <string>

#include "analysis/analysed_voltages.h"
#include "readers/record.h"

namespace outputs {

/// The channel's name. A voltage that was computed from others goes by the letters of its phases: "AB" where all were
/// computed, "CA, computed" where the others are channels.
std::string voltage_name(const readers::Record& record, const analysis::AnalysedVoltages& voltages, std::size_t phase);

/// The flagged voltages: by their phases' letters ("AC", "AB,CA") where all three are analysed, by their channels'
/// names ("Ub, Uc") where fewer are, whose phases are not known; "none" where none is flagged.
std::string voltages_text(const readers::Record& record, const analysis::AnalysedVoltages& voltages,
                          const measure::PhaseFlags& flags);

}  // namespace outputs
