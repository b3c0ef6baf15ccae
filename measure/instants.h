// When exactly one course of the voltage gives way to another.
#pragma once

#include <cstddef>

#include "measure/excerpt.h"
#include "measure/phasor_fit.h"

namespace measure {

/// From the first phase that leaves the course before to the last that follows the one after; seconds from the
/// waveform's first sample. Both are the same where all phases change at once.
struct Instants {
  double first_s = 0;
  double last_s = 0;
  double first_plus_minus = 0;  ///< half width of the time in which the change may as well begin: 95 %
  double last_plus_minus = 0;
  /// When the last phase goes over to the course after: at the earliest when all that follows may be ringing, at the
  /// latest when that is over, at `last_s`. This is the middle, and it may lie anywhere between.
  double back_s = 0;
  double back_plus_minus = 0;
};

/// Looks for the change among the samples from `from_s` to `to_s`. Outside it one of the courses holds; within it a
/// phase may follow either, or neither at a price. The division that explains the samples best wins.
/// `ringing_matters`: whether it is looked for what ringing may hide.
Instants pin_down(const Excerpt& excerpt, const PhasorFit& before, const PhasorFit& after, double from_s, double to_s,
                  bool ringing_matters);

}  // namespace measure
