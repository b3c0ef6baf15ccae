// Computes the symmetrical components of a segment and the type of dip that they show.
#pragma once

#include <optional>

#include "measure/findings.h"
#include "measure/wiring.h"

namespace measure {

/// Symmetrical components of three phasors.
struct Components {
  Phasor positive;
  Phasor negative;
  Phasor zero;
};

Components components_of(const Phasors& phasors, const Wiring& wiring);

/// Returns the components of three voltages in volts RMS. `between_phases`: the voltages are between phases and have no
/// zero sequence.
Sequences sequences_of(const Phasors& voltages, const Wiring& wiring);

/// Determines the type from the voltages of a segment and those before the dip.
DipType type_of(const Phasors& voltages, const Phasors& before, const Wiring& wiring);

}  // namespace measure
