// A voltage-tolerance curve: the voltages that equipment shall ride through, by their duration.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "assess/event_terms.h"

namespace assess {

/// A step of a curve. Equipment shall ride through dips down to `percent` that last up to `seconds`, or through swells
/// up to `percent`.
struct CurveStep {
  double seconds = 0;  ///< longest duration of the step; infinite for a step without an end
  double percent = 0;  ///< per cent of the reference
};
using CurveSteps = std::vector<CurveStep>;

/// A curve for dips or for swells. It does not judge events that are shorter than `from_seconds` or longer than its
/// last step. The steps of a curve for dips rise with time, and those of a curve for swells fall.
struct Curve {
  std::string code;  ///< "itic"
  std::string name;  ///< "ITIC"
  bool for_swells = false;
  double from_seconds = 0;
  CurveSteps steps;
  CurveSteps three_phase_steps = {};  ///< steps for dips of type III; empty if they are those of other dips
  bool covers_three_phases = true;    ///< false if the curve says nothing about dips of type III
  bool covers_interruptions = true;   ///< false if the curve's source tests interruptions apart from dips
};

/// Returns the step that applies to a duration; null if the duration is longer than the last step.
const CurveStep* step_at(const CurveSteps& steps, double seconds);

}  // namespace assess
