// The figures that describe a single dip by one number each.
#pragma once

#include <optional>

#include "measure/findings.h"
#include "measure/half_cycle_rms.h"

namespace assess {

/// Figures of the voltage that has the dip's residual voltage. Only values below the event's reference count.
struct Indices {
  double energy_s = 0;  ///< dip energy, the integral of 1 - (U/Uref)^2 over time, seconds (IEEE Std 1564-2014)
  double lost_v_s = 0;  ///< lost volt-seconds, the integral of Uref - U over time, volts times seconds
};

/// Integrates the values of Urms(1/2) of the dip's lowest voltage over all windows that overlap the event. The square
/// of Urms(1/2) is a moving average of the squared voltage, so that the energy of an abrupt dip is that of its
/// waveform. A dip that does not end in the record is integrated as far as it was recorded. Returns nothing without a
/// reference, and if values are missing.
std::optional<Indices> indices_of(const measure::Event& dip, const measure::HalfCycleRms& lowest);

}  // namespace assess
