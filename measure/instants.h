// Finds the instant at which the voltage changes from one sinusoid to another.
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

/// Looks for the change among the samples from `from_s` to `to_s`. Before the change the voltage follows one sinusoid,
/// after it the other; within it a phase may follow either, or neither at an additional cost. The division with the
/// least cost is chosen. `closely`: look also for changes that ringing may hide, and between samples that are far
/// apart.
Instants pin_down(const Excerpt& excerpt, const PhasorFit& before, const PhasorFit& after, double from_s, double to_s,
                  bool closely);

}  // namespace measure
