// The fundamental of a stretch in which the voltage is steady.
#pragma once

#include "measure/excerpt.h"
#include "measure/phasor_fit.h"

namespace measure {

/// Fits a steady fundamental strictly inside the time from `from_s` to `to_s`, with as many decaying offsets as the
/// stretch shows. `after_change`: it follows a sudden change, after which there may be any.
PhasorFit steady_fit(const Excerpt& excerpt, double from_s, double to_s, bool after_change);

}  // namespace measure
