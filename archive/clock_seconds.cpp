#include "archive/clock_seconds.h"

#include <chrono>
#include <cmath>
#include <cstdio>

namespace archive {

std::optional<double> clock_seconds(const std::string& clock) {
  int year = 0;
  unsigned month = 0;
  unsigned day = 0;
  int hour = 0;
  int minute = 0;
  double second = 0;
  int used = 0;
  const int fields =
      std::sscanf(clock.c_str(), "%4d-%2u-%2uT%2d:%2d:%9lf%n", &year, &month, &day, &hour, &minute, &second, &used);
  const std::chrono::year_month_day date{std::chrono::year(year), std::chrono::month(month), std::chrono::day(day)};
  if (fields != 6 || !date.ok() || !std::isfinite(second)) return std::nullopt;
  const auto days = std::chrono::sys_days(date).time_since_epoch().count();
  double seconds = static_cast<double>(days) * 86400 + hour * 3600 + minute * 60 + second;
  char sign = 0;
  int offset_hours = 0;
  int offset_minutes = 0;
  const std::string zone = clock.substr(static_cast<std::size_t>(used));
  if (std::sscanf(zone.c_str(), "%c%2d:%2d", &sign, &offset_hours, &offset_minutes) == 3) {
    const double offset = offset_hours * 3600.0 + offset_minutes * 60.0;
    seconds -= sign == '-' ? -offset : offset;
  }
  return seconds;
}

}  // namespace archive
