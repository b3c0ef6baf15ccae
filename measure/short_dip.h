// A dip too short for a fundamental of its own: seen by how the samples leave the voltage round it.
#pragma once

#include <optional>

#include "measure/excerpt.h"
#include "measure/findings.h"

namespace measure {

struct ShortDip {
  Figure start_s;
  Figure end_s;
  PhaseFlags phases{};  ///< those that leave the voltage round it
  Phasors before{};     ///< the voltage round it, in the excerpt's units
  PerPhase before_error{};
};

/// Looks between two times for samples that leave the voltage before and after them, which is the same. None where it
/// is not the same, where they leave it for a cycle or longer, or by less than a tenth of the usual peak.
std::optional<ShortDip> short_dip(const Excerpt& excerpt, double from_s, double to_s);

}  // namespace measure
