// Times as tables write them: how finely, as numbers or as time stamps, and how they step.
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

#include "readers/time_stamps.h"

namespace readers {

/// How finely the numbers of a column are written. One number does not tell, as trailing zeros may be left out.
class WrittenDigits {
 public:
  void take(std::string_view number);

  /// The same for a number of which only the decimals are known; it has all digits before the point.
  void take_decimals(int decimals);

  /// By how much any number of the column may have been rounded at least.
  [[nodiscard]] double least_rounding() const;

  /// By how much a column's number may have been rounded when it was written.
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

/// A time stamp such as "2026-11-21 10:00:00.000156", "21.11.2026 10:00:00,5", "10:00:00.5Z" or "10:00:00.5 PM", and
/// as spreadsheets show it when left to themselves "00:00.5", minutes and seconds. What goes over midnight is put right
/// later.
std::optional<WrittenTime> parse_time_stamp(std::string_view cell);

/// Where the step from one time to the next is another than elsewhere, as the index of the later one.
std::optional<std::size_t> first_jump(const Times& times);

double mean_step(const std::vector<double>& times);

/// Whether times are written so coarsely that one step from time to time does not tell the rate.
bool has_uneven_steps(const std::vector<double>& times);

/// Digits of the times keep a rate from coming out whole; next to a whole one that is what is meant.
double rate_of_step(double seconds);

}  // namespace readers
