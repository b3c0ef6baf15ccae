// A change that takes its time: the voltage goes over from one course to another at a constant pace.
#pragma once

#include "measure/excerpt.h"
#include "measure/phasor_fit.h"

namespace measure {

struct Ramp {
  double begin_s = 0;
  double end_s = 0;
  double residual = 0;       ///< mean square of what the ramp leaves of the averages looked at, all phases together
  double step_residual = 0;  ///< the same of the best sudden change

  [[nodiscard]] double length_s() const { return end_s - begin_s; }
};

/// The ramp between two courses that explains the averages from `from_s` to `to_s` best.
Ramp fit_ramp(const Excerpt& excerpt, const PhasorFit& before, const PhasorFit& after, double from_s, double to_s);

}  // namespace measure
