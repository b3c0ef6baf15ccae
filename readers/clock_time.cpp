#include "readers/clock_time.h"

#include <fmt/format.h>

#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <optional>

#include "readers/time_stamps.h"

namespace readers {

namespace {

/// Three numbers of a date in the order in which they are written.
struct WrittenDate {
  std::array<int, 3> numbers{};
  bool year_first = false;
};

/// The last year that has four digits.
constexpr int last_year = 9999;

/// A date such as "31/12/1998", "1998-12-31" or "31.12.98".
std::optional<WrittenDate> parse_date(const std::string& text) {
  WrittenDate date;
  auto& [a, b, c] = date.numbers;
  char separator = 0;
  if (std::sscanf(text.c_str(), "%5d%c%5d%*c%5d", &a, &separator, &b, &c) != 4) return std::nullopt;
  if (separator != '/' && separator != '-' && separator != '.') return std::nullopt;
  date.year_first = a > 31;
  return date;
}

struct Start {
  WrittenDate date;
  double seconds_of_day = 0;
};

/// When a record begins. What follows the time, such as the letter of a zone, is left out.
std::optional<Start> start_of(const Record& record) {
  const std::string& text = record.start_time;
  const std::size_t gap = text.find_first_of(", T");
  if (gap == std::string::npos) return std::nullopt;
  const std::size_t from = text.find_first_of("0123456789", gap);
  if (from == std::string::npos) return std::nullopt;
  const std::string time = text.substr(from, text.find_first_not_of("0123456789:.", from) - from);
  const auto written = parse_time(text.substr(0, gap), time);
  const auto date = written ? parse_date(written->date) : std::nullopt;
  if (!date) return std::nullopt;
  return Start{*date, written->seconds_of_day};
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
  if (year > last_year) return std::nullopt;
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
  const auto start = start_of(record);
  if (!start || !(std::abs(seconds) < 1e9)) return {};
  const auto day = day_of(start->date, writes_month_first(record));
  if (!day) return {};
  const auto since_midnight = std::chrono::microseconds(std::llround((start->seconds_of_day + seconds) * 1e6));
  const std::chrono::sys_time<std::chrono::microseconds> moment = *day + since_midnight;
  const auto date = std::chrono::floor<std::chrono::days>(moment);
  const std::chrono::year_month_day calendar(date);
  if (static_cast<int>(calendar.year()) > last_year) return {};
  const std::chrono::hh_mm_ss clock(moment - date);
  return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}.{:06}{}", static_cast<int>(calendar.year()),
                     static_cast<unsigned>(calendar.month()), static_cast<unsigned>(calendar.day()),
                     clock.hours().count(), clock.minutes().count(), clock.seconds().count(),
                     clock.subseconds().count(), zone_of(record.time_zone));
}

bool has_ambiguous_date(const Record& record) {
  const auto start = start_of(record);
  if (!start || start->date.year_first) return false;
  const auto [a, b, c] = start->date.numbers;
  return a <= 12 && b <= 12 && a != b;
}

}  // namespace readers
