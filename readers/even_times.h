// Rows whose times are not evenly spaced, as those of recorders that sample in step with the line.
#pragma once

#include <string>
#include <vector>

#include "readers/record.h"

namespace readers {

/// The time of a row, in seconds from the first row.
struct TimeKnot {
  double row = 0;
  double seconds = 0;
};

/// Returns the times of some rows, each the mean over a block of rows so that rounding and jitter do not show. The
/// times of all rows are given in `stamps`, in units of `unit` seconds, already unwrapped; NaN where a row has none.
/// Returns nothing if the times do not increase.
std::vector<TimeKnot> knots_of(const std::vector<double>& stamps, double unit);

/// Returns whether the times drift away from evenly spaced ones by more than half a sample and more than `rounding`
/// seconds.
bool are_uneven(const std::vector<TimeKnot>& knots, double rounding);

/// Returns the number of samples per second between the first and the last knot.
double mean_rate(const std::vector<TimeKnot>& knots);

/// Replaces the record's samples by ones that are evenly spaced in time at `rate` samples per second. They are
/// interpolated from eight neighbours; a sample next to a missing value is missing. The record has one section
/// afterwards. Adds a note that gives the range of the rates; `cause` follows "The" in it.
void make_even(Record& record, const std::vector<TimeKnot>& knots, double rate, const std::string& cause);

}  // namespace readers
