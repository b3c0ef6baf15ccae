// Finds a dip that is too short for a fundamental by the samples that deviate from the voltage around it.
#pragma once

#include <optional>

#include "measure/excerpt.h"
#include "measure/findings.h"

namespace measure {

struct ShortDip {
  Figure start_s;
  Figure end_s;
  PhaseFlags phases{};  ///< the phases that deviate from the voltage around the dip
  Phasors before{};     ///< the voltage round it, in the excerpt's units
  PerPhase before_error{};
};

/// Looks between two times for samples that deviate from the voltage before and after them, which must be equal.
/// Returns nothing if these differ, or if the samples deviate for a cycle or longer or by less than a tenth of the
/// usual peak.
std::optional<ShortDip> short_dip(const Excerpt& excerpt, double from_s, double to_s);

}  // namespace measure
