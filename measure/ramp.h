// Fits a change that takes some time: the voltage moves from one sinusoid to another at a constant pace.
#pragma once

#include "measure/excerpt.h"
#include "measure/phasor_fit.h"

namespace measure {

struct Ramp {
  double begin_s = 0;
  double end_s = 0;
  double residual = 0;       ///< mean square residual of the averages in the window, all phases together
  double step_residual = 0;  ///< the same for the best sudden change

  [[nodiscard]] double length_s() const { return end_s - begin_s; }
};

/// Finds the ramp between two sinusoids that best explains the averages from `from_s` to `to_s`.
Ramp fit_ramp(const Excerpt& excerpt, const PhasorFit& before, const PhasorFit& after, double from_s, double to_s);

}  // namespace measure
