// Recognises an earth fault that displaces the neutral, and computes what loads between phases see meanwhile.
#pragma once

#include <optional>

#include "analysis/findings.h"
#include "analysis/line_voltages.h"
#include "measure/findings.h"

namespace analysis {

/// Returns whether the neutral is displaced in a segment of the dip: one phase has fallen below 90 % and the two others
/// have risen above 110 % of their levels before, while the voltages between phases keep 90 %.
bool displaces_neutral(const measure::Course& course);

/// Returns whether this holds for a dip of the analysed voltages, which have to be three phase voltages.
bool neutral_is_displaced(const Analysis& analysis);

/// Finds the events of the voltages between phases, computed from the analysed phase voltages. Returns nothing if one
/// of them has no usual level, because phases are usually alike.
std::optional<LineVoltages> line_voltages_of(const Analysis& analysis);

}  // namespace analysis
