// Decides at which times a record's rows were sampled where its statements contradict each other: the stated rate, the
// rows' time stamps, the rate that the user gives, and the line frequency that the samples show.
#pragma once

#include <vector>

#include "readers/even_times.h"
#include "readers/record.h"

namespace readers {

/// What the time stamps of a record's rows say.
struct StampedTimes {
  double stated_rate = 0;             ///< the file's only rate; 0 if it states none or several
  double rate = 0;                    ///< the stamps' rate where it contradicts the stated one; 0: it does not
  std::vector<RateSection> sections;  ///< the record's sections at that rate; empty if it states several rates
  std::vector<TimeKnot> knots;        ///< times of some rows; empty if they are not conclusive
  double rounding = 0;                ///< seconds by which rounding may shift a knot
};

/// Sets the record's sections, resamples it where its rows are unevenly spaced in time, and notes every decision. The
/// record's sections must be those of the file's statements. `given_rate` is the user's rate, which overrides all
/// others in a record of one section; 0: none.
void settle_times(Record& record, const StampedTimes& stamped, double given_rate);

}  // namespace readers
