// Points in time as PQDIF files store them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace readers::pqdif {

/// Microseconds since 1970-01-01, in whatever zone the file uses. Files store seconds with noise below a microsecond.
using Moment = std::int64_t;

/// Returns the moment of a stored time stamp, whose days count from 1899-12-30. Some programs store more than a day in
/// the seconds. Returns nothing for times outside the years 1900 to 2400.
std::optional<Moment> moment_of(double days, double seconds);

/// Returns the seconds from a moment to a stored time stamp, which is finer than microseconds.
double seconds_since(Moment from, double days, double seconds);

/// Returns for example "1999-06-01T13:24:12.000000".
std::string text_of(Moment moment);

/// Returns the seconds from one moment to another.
inline double seconds_between(Moment from, Moment to) {
  return static_cast<double>(to - from) / 1e6;
}

}  // namespace readers::pqdif
