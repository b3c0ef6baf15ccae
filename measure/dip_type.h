// Symmetrical components of a segment, and the type of dip that they show.
#pragma once

#include <optional>

#include "measure/findings.h"
#include "measure/wiring.h"

namespace measure {

/// Of three voltages, volts RMS. `between_phases`: they are voltages between phases, which have no zero sequence.
Sequences sequences_of(const Phasors& voltages, const Wiring& wiring);

/// The type by the voltages of a segment against those before.
DipType type_of(const Phasors& voltages, const Phasors& before, const Wiring& wiring);

}  // namespace measure
