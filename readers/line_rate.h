// Judges a sampling rate by the line frequency that the samples have with it.
#pragma once

#include <optional>

#include "readers/record.h"

namespace readers {

/// Returns the frequency, in hertz, of the line that the record's samples show if they are `rate` samples per second
/// apart: the median over its channels. It is looked for within 8 % of the record's line frequency, or of 50 and 60 Hz
/// if the record states none. Returns nothing if most of the samples' energy is elsewhere or the rate is too low.
std::optional<double> line_at_rate(const Record& record, double rate);

/// Which of two rates is right.
struct RateVerdict {
  bool first = true;
  double first_line = 0;   ///< line frequency with the first rate, hertz; 0: no line shows
  double second_line = 0;  ///< the same with the second rate
};

/// Decides between two rates by the line frequency. Returns nothing unless one of them brings it within 1 % of its
/// nominal value and the other, at least twice as far off, does not.
std::optional<RateVerdict> right_rate(const Record& record, double first, double second);

/// Returns the power of a thousand by which times must be multiplied so that the line shows, given the rate to which
/// they lead as they are. Returns 1 if the line shows as they are, or with none or several of these factors.
double factor_of_times(const Record& record, double rate);

}  // namespace readers
