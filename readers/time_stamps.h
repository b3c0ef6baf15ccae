// Evaluates the time stamps of a record's rows: they give the sampling rate where the file states none, and they show
// where time is missing.
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
  std::string date;  ///< unchanged, because the order of day and month differs between revisions
  double seconds_of_day = 0;
  int decimals = 0;  ///< number of decimals of the seconds
};
std::optional<WrittenTime> parse_time(std::string_view date, std::string_view time);

/// Returns the seconds from one time to a later one that follows within a day; nothing for other times.
std::optional<double> seconds_between(const WrittenTime& earlier, const WrittenTime& later);

/// Returns how far the step between two stamps may differ from the usual step, because stamps are rounded.
double step_tolerance(double step);

/// Makes stamps missing (NaN) that are more than a century away from most others, as one that is damaged may be. `unit`
/// is that of read_time_stamps. Returns a note about them, which is empty when there are none.
std::string drop_impossible_stamps(std::vector<double>& stamps, double unit);

/// A row from which on the stamps are permanently shifted by whole steps against the rate: either rows were lost before
/// it, or a row is present twice.
struct RowShift {
  std::size_t row = 0;       ///< the first shifted row
  std::ptrdiff_t steps = 0;  ///< number of missing rows; -1 when one stamp is repeated
};

/// Returns all such places. Stamps that are late or early for only a few rows do not count, nor do shifts by a fraction
/// of a step. A section has no such places if most of its stamps neither follow its rate nor are evenly spaced. The
/// parameters are those of read_time_stamps.
std::vector<RowShift> row_shifts(const std::vector<RateSection>& sections, const std::vector<double>& stamps,
                                 double unit);

/// Returns whether in every section most stamps follow the rate or are evenly spaced.
bool are_regular(const std::vector<RateSection>& sections, const std::vector<double>& stamps, double unit);

/// Returns the unit of the stamps in seconds. It is the assumed unit, or a thousand times or a thousandth of it if only
/// that makes the stamps agree with the stated rate or, where no rate is stated, gives a plausible record of
/// `frequency` hertz (0: not known). `trigger` is in seconds from the record's first sample, if known.
double unit_of_stamps(const std::vector<RateSection>& sections, const std::vector<double>& stamps, double assumed,
                      double frequency, std::optional<double> trigger);

/// Returns whether a span of stamps differs from `steps` steps of the rate by more than rounding explains.
bool span_disagrees(double span, double step, double steps);

/// Returns the mean step between stamps, in their units; NaN if fewer than half of the steps go forward.
double mean_step_of(const std::vector<double>& stamps);

/// Returns the stamps counted on from the first one where they wrap around at 16 or 32 bits.
std::vector<double> unwrapped(const std::vector<double>& stamps);

/// A record's sections as its time stamps show them, and the notes about them.
struct TimeTable {
  std::vector<RateSection> sections;
  std::vector<std::string> notes;
  bool shifted = false;           ///< the stamps jump back, or forward by too little to split the record
  double contradicting_rate = 0;  ///< the stamps' rate, if it is not the stated one; 0: they agree
  double contradicted_rate = 0;   ///< the stated rate of the section to which this applies
};

/// Determines sections, rates and notes from the stamps. `declared` holds the sections as the file states them, fitted
/// to the rows that are present; a rate of 0 is derived from the stamps. `stamps` holds the stamp of each row in units
/// of `unit` seconds, NaN where a row has none; they may have wrapped around at 16 or 32 bits. Sections are split where
/// the stamps jump, provided that they agree with the rate elsewhere. `given_rate` is used where neither the file nor
/// the stamps give a rate.
TimeTable read_time_stamps(const std::vector<RateSection>& declared, const std::vector<double>& stamps, double unit,
                           double given_rate);

}  // namespace readers
