#include "readers/clock_time.h"

#include <fmt/format.h>

#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <optional>

namespace readers {

namespace {

/// Three numbers of a date in the order in which they are written.
struct WrittenDate {
  std::array<int, 3> numbers{};
  bool year_first = false;
};

struct WrittenTime {
  WrittenDate date;
  double seconds = 0;  ///< since midnight
};

std::optional<WrittenTime> parsed(const std::string& text) {
  WrittenTime time;
  auto& [a, b, c] = time.date.numbers;
  char separator = 0;
  int end = 0;
  if (std::sscanf(text.c_str(), " %d%c%d%*c%d%n", &a, &separator, &b, &c, &end) != 4) return std::nullopt;
  if (separator != '/' && separator != '-' && separator != '.') return std::nullopt;
  int hours = 0;
  int minutes = 0;
  double seconds = 0;
  const std::size_t clock = text.find_first_of("0123456789", static_cast<std::size_t>(end));
  if (clock == std::string::npos) return std::nullopt;
  if (std::sscanf(text.c_str() + clock, "%d:%d:%lf", &hours, &minutes, &seconds) != 3) return std::nullopt;
  const bool sound = hours >= 0 && hours < 24 && minutes >= 0 && minutes < 60 && seconds >= 0 && seconds < 61;
  if (!sound) return std::nullopt;
  time.date.year_first = a > 31;
  time.seconds = 3600.0 * hours + 60.0 * minutes + seconds;
  return time;
}

bool writes_month_first(const Record& record) {
  return record.format.find("COMTRADE 1991") != std::string::npos;
}

std::optional<std::chrono::sys_days> day_of(const WrittenDate& date, bool month_first) {
  const auto [a, b, c] = date.numbers;
  int year = date.year_first ? a : c;
  int month = date.year_first || !month_first ? b : a;
  int day = date.year_first ? c : month_first ? b : a;
  if (month > 12 && day <= 12) std::swap(month, day);
  constexpr int century_turns = 70;  // two digits from 70 on are those of the last century
  if (year < 100) year += year < century_turns ? 2000 : 1900;
  const std::chrono::year_month_day calendar{std::chrono::year(year), std::chrono::month(static_cast<unsigned>(month)),
                                             std::chrono::day(static_cast<unsigned>(day))};
  if (!calendar.ok()) return std::nullopt;
  return std::chrono::sys_days(calendar);
}

/// "+05:30" of "+5h30", "-4" or "-04:00"; empty for anything else.
std::string zone_of(const std::string& text) {
  int hours = 0;
  int end = 0;
  if (std::sscanf(text.c_str(), " %d%n", &hours, &end) != 1 || std::abs(hours) > 14) return {};
  int minutes = 0;
  std::sscanf(text.c_str() + end, "%*[hH:]%d", &minutes);
  if (minutes < 0 || minutes > 59) return {};
  const bool behind = text.find('-') != std::string::npos;
  return fmt::format("{}{:02}:{:02}", behind ? '-' : '+', std::abs(hours), minutes);
}

}  // namespace

std::string iso_time(const Record& record, double seconds) {
  const auto written = parsed(record.start_time);
  if (!written || !(std::abs(seconds) < 1e9)) return {};
  const auto day = day_of(written->date, writes_month_first(record));
  if (!day) return {};
  const auto since_midnight = std::chrono::microseconds(std::llround((written->seconds + seconds) * 1e6));
  const std::chrono::sys_time<std::chrono::microseconds> moment = *day + since_midnight;
  const auto date = std::chrono::floor<std::chrono::days>(moment);
  const std::chrono::year_month_day calendar(date);
  const std::chrono::hh_mm_ss clock(moment - date);
  return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}.{:06}{}", static_cast<int>(calendar.year()),
                     static_cast<unsigned>(calendar.month()), static_cast<unsigned>(calendar.day()),
                     clock.hours().count(), clock.minutes().count(), clock.seconds().count(),
                     clock.subseconds().count(), zone_of(record.time_zone));
}

bool has_ambiguous_date(const Record& record) {
  const auto written = parsed(record.start_time);
  if (!written || written->date.year_first) return false;
  const auto [a, b, c] = written->date.numbers;
  return a <= 12 && b <= 12 && a != b;
}

}  // namespace readers
