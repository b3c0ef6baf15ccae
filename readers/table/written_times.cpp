#include "readers/table/written_times.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string>

#include "readers/text.h"

namespace readers {

namespace {

/// The powers are tabulated because std::pow is slow and this is called for each row.
double power_of_ten(int exponent) {
  constexpr int largest = 40;
  static const auto powers = [] {
    std::array<double, 2 * largest + 1> list;
    for (int i = -largest; i <= largest; i++) list[static_cast<std::size_t>(i + largest)] = std::pow(10.0, i);
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

std::optional<WrittenTime> parse_time_stamp(std::string_view cell) {
  const std::size_t colon = cell.find(':');
  if (colon == cell.npos) return std::nullopt;
  const std::size_t before = cell.find_last_of(" T", colon);
  std::string time(cell.substr(before == cell.npos ? 0 : before + 1));
  const auto afternoon = take_afternoon(time);
  if (time.ends_with('Z')) time.pop_back();
  if (const std::size_t zone = time.find_first_of("+-"); zone != time.npos) time.resize(zone);
  std::replace(time.begin(), time.end(), ',', '.');
  if (is_minutes_and_seconds(time)) time.insert(0, "0:");
  const std::string_view date = before == cell.npos ? std::string_view() : cell.substr(0, before);
  auto written = parse_time(date, time);
  if (!written || !afternoon) return written;
  constexpr double seconds_per_hour = 3600;
  if (written->seconds_of_day >= 13 * seconds_per_hour || written->seconds_of_day < seconds_per_hour)
    return std::nullopt;
  if (written->seconds_of_day >= 12 * seconds_per_hour) written->seconds_of_day -= 12 * seconds_per_hour;
  if (*afternoon) written->seconds_of_day += 12 * seconds_per_hour;
  return written;
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
