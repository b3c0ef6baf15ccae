// The fundamental of a stretch in which the voltage is steady.
#pragma once

#include "measure/excerpt.h"
#include "measure/phasor_fit.h"

namespace measure {

/// Fits a steady fundamental to the samples between `from_s` and `to_s`, with as many decaying offsets as the stretch
/// shows. `after_change`: the stretch follows a sudden change, so there may be offsets.
PhasorFit steady_fit(const Excerpt& excerpt, double from_s, double to_s, bool after_change);

}  // namespace measure
