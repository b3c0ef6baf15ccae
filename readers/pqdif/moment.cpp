#include "readers/pqdif/moment.h"

#include <fmt/format.h>

#include <chrono>
#include <cmath>

namespace readers::pqdif {

namespace {

constexpr double day_of_1970 = 25569;
constexpr Moment day_length = 86'400'000'000;

}  // namespace

std::optional<Moment> moment_of(double days, double seconds) {
  constexpr double seconds_per_day = 86400;
  constexpr double last_day = 182623;  // in the year 2400
  const double day = days + seconds / seconds_per_day;
  if (!(day >= 1 && day < last_day) || !(std::abs(seconds) < 1e9)) return std::nullopt;
  // The parts are scaled separately so that nothing is lost to the size of the sum.
  return static_cast<Moment>(days - day_of_1970) * day_length + std::llround(seconds * 1e6);
}

double seconds_since(Moment from, double days, double seconds) {
  const Moment day = from / day_length;
  const double whole_days = days - day_of_1970 - static_cast<double>(day);
  return whole_days * 86400 + (seconds - static_cast<double>(from - day * day_length) / 1e6);
}

std::string text_of(Moment moment) {
  const std::chrono::sys_time<std::chrono::microseconds> time{std::chrono::microseconds(moment)};
  const auto date = std::chrono::floor<std::chrono::days>(time);
  const std::chrono::year_month_day calendar(date);
  const std::chrono::hh_mm_ss clock(time - date);
  return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}.{:06}", static_cast<int>(calendar.year()),
                     static_cast<unsigned>(calendar.month()), static_cast<unsigned>(calendar.day()),
                     clock.hours().count(), clock.minutes().count(), clock.seconds().count(),
                     clock.subseconds().count());
}

}  // namespace readers::pqdif
