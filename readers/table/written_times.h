// Examines the times in a table: how finely they are written, as numbers or as time stamps, and how they progress.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "readers/time_stamps.h"

namespace readers {

/// Tracks how finely the numbers of a column are written. A single number does not show it, because trailing zeros may
/// be omitted.
class WrittenDigits {
 public:
  void take(std::string_view number);

  /// Does the same for a number of digits, with or without a minus sign and a point.
  void take_plain(std::string_view number);

  /// Records a number of which only the decimals are known; all its digits before the point are assumed to be written.
  void take_decimals(int decimals);

  /// Returns the smallest rounding error that any number of the column may have.
  [[nodiscard]] double least_rounding() const;

  /// Returns the rounding error that this number of the column may have.
  [[nodiscard]] double rounding(double number) const;

 private:
  void take_digits(int significant, int decimals);

  bool any_ = false;
  int significant_ = 0;
  int decimals_ = 0;
};

struct Times {
  const std::vector<double>& values;
  const WrittenDigits& digits;
};

/// A time stamp in a table.
struct TimeStamp {
  WrittenTime time;
  bool has_hours = true;  ///< false for minutes and seconds alone, as spreadsheets show times by default ("00:00.5")
  std::string zone;       ///< offset from UTC ("+05:30"), empty where it is not written
};

/// Parses a time stamp such as "2026-11-21 10:00:00.000156", "21.11.2026 10:00:00,5", "10:00:00.5Z" or "10:00:00.5 PM",
/// or minutes and seconds. Times that cross midnight are corrected later.
std::optional<TimeStamp> parse_time_stamp(std::string_view cell);

/// Writes the date and the time of a stamp in one form, as "21.11.2026 10:00:00.5"; empty for a stamp without hours or
/// without a date. `date` is that of the stamp or of a column of dates.
std::string date_and_time(const TimeStamp& stamp, std::string_view date);

/// Returns the index of the first time whose step from the previous one differs from the usual step.
std::optional<std::size_t> first_jump(const Times& times);

/// Returns whether every step is within 5 % of the usual one, apart from rounding, so that the times may be those of a
/// recorder that samples in step with the line.
bool follow_the_line(const Times& times);

double mean_step(const std::vector<double>& times);

/// Returns whether the times are written so coarsely that a single step does not give the rate.
bool has_uneven_steps(const std::vector<double>& times);

/// Returns the rate for a step. Rounded times keep the rate from being exactly whole, so a rate that is close to a
/// whole number is rounded to it.
double rate_of_step(double seconds);

}  // namespace readers
