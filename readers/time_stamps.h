// What the time stamps of a record's rows tell: its sampling rate where it states none, and where time is missing.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "readers/record.h"

namespace readers {

/// A date and time as record files write it: "31/12/1998,23:59:59.123456".
struct WrittenTime {
  std::string date;  ///< as it stands: the order of day and month differs between revisions
  double seconds_of_day = 0;
  int decimals = 0;  ///< of the seconds
};
std::optional<WrittenTime> parse_time(std::string_view date, std::string_view time);

/// Seconds from one time to a later one less than a day behind it; nothing for other times.
std::optional<double> seconds_between(const WrittenTime& earlier, const WrittenTime& later);

/// How far the step from one stamp to the next may be off the usual one: stamps are rounded.
double step_tolerance(double step);

/// Where the stamps leave the rate's regular steps for good, by whole steps: rows are lost there, or one is there
/// twice.
struct RowShift {
  std::size_t row = 0;       ///< in front of which
  std::ptrdiff_t steps = 0;  ///< missing rows; -1 for a stamp that stands still once
};

/// All such places. What is late or early for a few rows only is none, nor is a step that is no whole number of steps;
/// a section whose stamps mostly go neither by its rate nor evenly has none. Parameters as in read_time_stamps.
std::vector<RowShift> row_shifts(const std::vector<RateSection>& sections, const std::vector<double>& stamps,
                                 double unit);

/// Whether the stamps of all sections mostly go by their rate or evenly.
bool are_regular(const std::vector<RateSection>& sections, const std::vector<double>& stamps, double unit);

/// The unit that the stamps are in: the one assumed, or a thousand times or a thousandth of it where only that makes
/// them agree with the stated rate or, where none is stated, makes a record of `frequency` hertz (0: not known) of
/// them. `trigger`: seconds from the record's first sample, as far as is known.
double unit_of_stamps(const std::vector<RateSection>& sections, const std::vector<double>& stamps, double assumed,
                      double frequency, std::optional<double> trigger);

/// Whether a span of stamps is another than `steps` steps of a rate make it, beyond rounding.
bool span_disagrees(double span, double step, double steps);

/// Says that the stamps make another rate than the file states.
std::string contradicted_rate(double by_stamps, double stated);

/// What to make of a record's rates once its time stamps are known.
struct TimeTable {
  std::vector<RateSection> sections;
  std::vector<std::string> notes;
};

/// `declared`: the sections as the file states them, fitted to the rows there are; a rate of 0 is found from the
/// stamps. `stamps`: of each row in units of `unit` seconds, NaN where there is none; they may have gone over the end
/// of 16 or 32 bits. Sections are cut where the stamps, when they agree with the rate elsewhere, jump. `given_rate`
/// counts where neither file nor stamps tell.
TimeTable read_time_stamps(const std::vector<RateSection>& declared, const std::vector<double>& stamps, double unit,
                           double given_rate);

}  // namespace readers
