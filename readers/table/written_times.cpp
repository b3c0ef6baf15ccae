#include "readers/table/written_times.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <string>

#include "readers/text.h"

namespace readers {

namespace {

/// The powers are tabulated because this is called for each row. They are read from text, which gives the nearest
/// number on all systems, unlike std::pow.
double power_of_ten(int exponent) {
  constexpr int largest = 40;
  static const auto powers = [] {
    std::array<double, 2 * largest + 1> list;
    for (int i = -largest; i <= largest; i++)
      list[static_cast<std::size_t>(i + largest)] = parse_number(fmt::format("1e{}", i)).value();
    return list;
  }();
  return powers[static_cast<std::size_t>(std::clamp(exponent, -largest, largest) + largest)];
}

/// Returns the exponent, limited to a range beyond which it makes no difference, because a file may contain one of any
/// size.
int exponent_in(std::string_view text) {
  constexpr double largest = 1000;
  return static_cast<int>(std::fmax(-largest, std::fmin(parse_number(text).value_or(0), largest)));
}

/// Returns whether a time is written without hours. Without a fraction the same form would be hours and minutes.
bool is_minutes_and_seconds(std::string_view time) {
  return std::count(time.begin(), time.end(), ':') == 1 && time.find('.', time.find(':')) != time.npos;
}

/// Removes "AM" or "PM" from the end of a time and returns whether it was "PM"; nothing if there is neither.
std::optional<bool> take_afternoon(std::string& time) {
  const std::string small = lower_case(time);
  for (const bool afternoon : {false, true}) {
    for (const std::string_view mark : {afternoon ? "pm" : "am", afternoon ? "p.m." : "a.m."}) {
      if (!small.ends_with(mark)) continue;
      time.resize(time.size() - mark.size());
      time = trimmed(time);
      return afternoon;
    }
  }
  return std::nullopt;
}

/// Removes the offset from UTC from the end of a time and returns it: "+00:00" of "10:00:00Z".
std::string take_zone(std::string& time) {
  std::string zone;
  if (time.ends_with('Z')) {
    time.pop_back();
    zone = "+00:00";
  } else if (const std::size_t sign = time.find_first_of("+-"); sign != time.npos) {
    zone = time.substr(sign);
    time = trimmed(time.substr(0, sign));
  }
  return zone;
}

constexpr double relative_step = 1e-3;

/// Returns how far the step between two consecutive times of the column may differ from the true step.
double step_tolerance(const Times& times, double step, double from, double to) {
  const double rounding = times.digits.rounding(from) + times.digits.rounding(to);
  return relative_step * std::abs(step) + (1 + relative_step) * rounding;
}

/// Returns the step that is found nearly everywhere. A jump would distort the plain mean, and the median is only as
/// fine as the written times; the mean of all steps near the median avoids both.
double usual_step(const Times& times, const std::vector<double>& steps) {
  std::vector<double> sorted = steps;
  const auto middle = sorted.begin() + static_cast<std::ptrdiff_t>(sorted.size() / 2);
  std::nth_element(sorted.begin(), middle, sorted.end());
  const auto [first, last] = std::minmax_element(times.values.begin(), times.values.end());
  const double near = 2 * step_tolerance(times, *middle, *first, *last);
  double sum = 0;
  double count = 0;
  for (const double step : steps) {
    if (std::abs(step - *middle) > near) continue;
    sum += step;
    count++;
  }
  return sum / count;
}

}  // namespace

void WrittenDigits::take(std::string_view number) {
  int significant = 0;
  int decimals = 0;
  bool behind_point = false;
  std::size_t i = 0;
  for (; i < number.size() && number[i] != 'e' && number[i] != 'E'; i++) {
    const char c = number[i];
    if (c == '.' || c == ',') behind_point = true;
    if (c < '0' || c > '9') continue;
    if (significant > 0 || c != '0') significant++;
    if (behind_point) decimals++;
  }
  if (i < number.size()) decimals -= exponent_in(number.substr(i + 1));
  take_digits(std::max(significant_, significant), decimals);
}

void WrittenDigits::take_plain(std::string_view number) {
  std::size_t first = 0;
  while (first < number.size() && (number[first] < '1' || number[first] > '9')) first++;
  const std::size_t point = number.find('.');
  const bool has_point = point != std::string_view::npos;
  const std::size_t significant = number.size() - first - (has_point && point > first ? 1 : 0);
  const std::size_t decimals = has_point ? number.size() - point - 1 : 0;
  take_digits(std::max(significant_, static_cast<int>(significant)), static_cast<int>(decimals));
}

void WrittenDigits::take_decimals(int decimals) {
  constexpr int all = 17;
  take_digits(all, decimals);
}

void WrittenDigits::take_digits(int significant, int decimals) {
  significant_ = significant;
  decimals_ = any_ ? std::max(decimals_, decimals) : decimals;
  any_ = true;
}

double WrittenDigits::least_rounding() const {
  return power_of_ten(-decimals_) / 2;
}

double WrittenDigits::rounding(double number) const {
  const double by_decimals = power_of_ten(-decimals_);
  if (number == 0) return by_decimals / 2;
  const int before_point = static_cast<int>(std::floor(std::log10(std::abs(number)))) + 1;
  return std::max(by_decimals, power_of_ten(before_point - significant_)) / 2;
}

std::optional<TimeStamp> parse_time_stamp(std::string_view cell) {
  const std::size_t colon = cell.find(':');
  if (colon == cell.npos) return std::nullopt;
  const std::size_t before = cell.find_last_of(" T", colon);
  std::string time(cell.substr(before == cell.npos ? 0 : before + 1));
  TimeStamp stamp;
  const auto afternoon = take_afternoon(time);
  stamp.zone = take_zone(time);
  std::replace(time.begin(), time.end(), ',', '.');
  stamp.has_hours = !is_minutes_and_seconds(time);
  if (!stamp.has_hours) time.insert(0, "0:");
  const std::string_view date = before == cell.npos ? std::string_view() : cell.substr(0, before);
  const auto written = parse_time(date, time);
  if (!written) return std::nullopt;
  stamp.time = *written;
  if (!afternoon) return stamp;
  constexpr double seconds_per_hour = 3600;
  double& seconds = stamp.time.seconds_of_day;
  if (seconds >= 13 * seconds_per_hour || seconds < seconds_per_hour) return std::nullopt;
  if (seconds >= 12 * seconds_per_hour) seconds -= 12 * seconds_per_hour;
  if (*afternoon) seconds += 12 * seconds_per_hour;
  return stamp;
}

std::string date_and_time(const TimeStamp& stamp, std::string_view date) {
  if (!stamp.has_hours || date.empty()) return "";
  constexpr int most_decimals = 6;  // Records have times to the microsecond.
  const int decimals = std::min(stamp.time.decimals, most_decimals);
  const double minutes = std::floor(stamp.time.seconds_of_day / 60);
  const double seconds = stamp.time.seconds_of_day - 60 * minutes;
  return fmt::format("{} {:02}:{:02}:{:0{}.{}f}", trimmed(date), static_cast<int>(minutes) / 60,
                     static_cast<int>(minutes) % 60, seconds, decimals > 0 ? decimals + 3 : 2, decimals);
}

std::optional<std::size_t> first_jump(const Times& times) {
  const std::vector<double>& values = times.values;
  if (values.size() < 2) return std::nullopt;
  std::vector<double> steps(values.size() - 1);
  for (std::size_t i = 0; i < steps.size(); i++) steps[i] = values[i + 1] - values[i];
  const double usual = usual_step(times, steps);
  const double surely = relative_step * std::abs(usual) + 2 * times.digits.least_rounding();
  for (std::size_t i = 0; i < steps.size(); i++) {
    if (std::abs(steps[i] - usual) <= surely) continue;
    const bool right = std::abs(steps[i] - usual) <= step_tolerance(times, usual, values[i], values[i + 1]);
    if (!right) return i + 1;
  }
  return std::nullopt;
}

bool follow_the_line(const Times& times) {
  constexpr double range_of_line = 0.05;
  const std::vector<double>& values = times.values;
  std::vector<double> steps;
  for (std::size_t i = 1; i < values.size(); i++) steps.push_back(values[i] - values[i - 1]);
  const double usual = usual_step(times, steps);
  const auto follows = [&](double step) {
    return std::abs(step - usual) <= range_of_line * usual + 2 * times.digits.least_rounding();
  };
  return usual > 0 && std::all_of(steps.begin(), steps.end(), follows);
}

double mean_step(const std::vector<double>& times) {
  return (times.back() - times.front()) / static_cast<double>(times.size() - 1);
}

bool has_uneven_steps(const std::vector<double>& times) {
  constexpr double uneven = 0.01;
  const double mean = mean_step(times);
  for (std::size_t i = 1; i < times.size(); i++) {
    if (std::abs(times[i] - times[i - 1] - mean) > uneven * mean) return true;
  }
  return false;
}

double rate_of_step(double seconds) {
  constexpr double near_whole = 1e-4;
  const double rate = 1 / seconds;
  const double whole = std::round(rate);
  return std::abs(rate - whole) <= near_whole * rate ? whole : rate;
}

}  // namespace readers
