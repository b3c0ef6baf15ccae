// Finds when a step happened whose edge a low pass has spread over a few samples.
#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "measure/findings.h"

namespace measure {

/// One sample of all phases, in any unit.
struct StepSample {
  PerPhase voltage{};  ///< as recorded; NaN if it is missing
  PerPhase before{};   ///< as it would be without the step
  PerPhase after{};    ///< as it is once the step is over
};

struct StepInstant {
  double at = 0;          ///< in samples from the first one given
  double plus_minus = 0;  ///< samples, 95 %
};

/// Returns when the first of the `chosen` phases stepped, near the middle between two samples, which is given in
/// samples from the first one. Without a low pass a step may have happened anywhere between two samples, and their
/// middle is returned. Returns nothing if the samples do not look like a step, or not nearby. The variances are those
/// of the samples before the step and after it.
std::optional<StepInstant> step_instant(const std::vector<StepSample>& samples, double near,
                                        const PerPhase& variance_before, const PerPhase& variance_after,
                                        const PhaseFlags& chosen);

}  // namespace measure
