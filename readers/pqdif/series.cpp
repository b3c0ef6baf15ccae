#include "readers/pqdif/series.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <optional>
#include <utility>

#include "readers/pqdif/tags.h"
#include "readers/text.h"
#include "readers/time_stamps.h"

namespace readers::pqdif {
namespace {

constexpr const char* too_many = "its file holds more values than can be read at once";

/// So many values at the same step.
struct Run {
  std::size_t count = 0;
  double step = 0;
};

struct Runs {
  std::vector<Run> runs;
  std::size_t total = 0;
  std::string fault;
};

/// Reads a vector [number of runs, count, step, count, step, ...].
Runs runs_of(const StoredVector& stored) {
  if (!stored.is_numeric()) return {{}, 0, fmt::format("its vector is of the type {}, not of numbers", stored.type)};
  const double stated = stored.count > 0 ? stored.number(0) : 0;
  const auto room = static_cast<double>((stored.count - std::min<std::size_t>(stored.count, 1)) / 2);
  if (!(stated >= 1 && stated <= room) || stated != std::floor(stated)) {
    return {{}, 0, fmt::format("its increments are stored as {} runs in {} numbers", stated, stored.count)};
  }
  Runs result;
  for (std::size_t i = 0; i < static_cast<std::size_t>(stated); i++) {
    const double count = stored.number(1 + 2 * i);
    const double step = stored.number(2 + 2 * i);
    constexpr double most = 4294967296.0;
    if (!(count >= 0 && count < most) || count != std::floor(count) || !std::isfinite(step)) {
      return {{}, 0, fmt::format("run {} of its increments has {} steps of {}", i + 1, count, step)};
    }
    result.runs.push_back({static_cast<std::size_t>(count), step});
    result.total += result.runs.back().count;
  }
  return result;
}

/// Returns a rate without the rounding of the step that it was computed from, which may be a float or a few digits.
double plain_rate(double rate) {
  constexpr double rounding = 1e-5;
  const double whole = std::round(rate);
  return whole > 0 && std::abs(rate - whole) <= rounding * rate ? whole : rate;
}

TimeBase fault_of(const std::string& fault) {
  TimeBase base;
  base.fault = fault;
  return base;
}

TimeBase base_of_runs(const Runs& runs, const Storage& storage, const TimeUnit& unit, double given_rate) {
  TimeBase base;
  base.first = storage.offset * unit.seconds;
  double start = 0;
  std::size_t end = 0;
  for (const Run& run : runs.runs) {
    if (run.count == 0) continue;
    const double step = run.step * storage.scale * unit.seconds;
    if (!(step >= 0) || !std::isfinite(step)) return fault_of(fmt::format("its times have a step of {} s", step));
    end += run.count;
    const double rate = step > 0 && std::isfinite(1 / step) ? plain_rate(1 / step) : given_rate;
    base.sections.push_back({rate, end, start, !base.sections.empty()});
    start += static_cast<double>(run.count) * step;
  }
  if (!std::isfinite(start) || !std::isfinite(base.first)) return fault_of("its times are not finite");
  return base;
}

/// Returns the rate of times that lie on an even grid.
std::optional<double> even_rate(const std::vector<double>& times) {
  constexpr double most_off = 0.5;  // steps by which rounding may shift a time
  const double span = times.back() - times.front();
  const double rate = static_cast<double>(times.size() - 1) / span;
  if (!(span > 0) || !std::isfinite(rate)) return std::nullopt;
  for (std::size_t i = 0; i < times.size(); i++) {
    if (!(std::abs((times[i] - times.front()) * rate - static_cast<double>(i)) <= most_off)) return std::nullopt;
  }
  return plain_rate(rate);
}

/// With fewer samples at an even rate the times are irregular rather than sections of different rates.
constexpr std::size_t fewest_even = 16;
constexpr std::size_t most_sections = 1000;

/// Returns the middle one of the first steps from a sample on.
double local_step(const std::vector<double>& times, std::size_t begin) {
  std::vector<double> steps;
  for (std::size_t i = begin + 1; i < times.size() && i <= begin + fewest_even; i++) {
    steps.push_back(times[i] - times[i - 1]);
  }
  if (steps.empty()) return 0;
  const auto middle = steps.begin() + static_cast<std::ptrdiff_t>(steps.size() / 2);
  std::nth_element(steps.begin(), middle, steps.end());
  return *middle;
}

/// Splits times into sections with an even grid each; nothing when they are too irregular for that.
std::optional<std::vector<RateSection>> even_sections(const std::vector<double>& times) {
  constexpr double most_off = 0.3;  // steps by which one step may differ from the usual one
  std::vector<RateSection> sections;
  double step_before = 0;
  for (std::size_t begin = 0; begin < times.size();) {
    const double step = local_step(times, begin);
    if (!(step > 0)) return std::nullopt;
    std::size_t end = begin + 1;
    while (end < times.size() && std::abs(times[end] - times[end - 1] - step) <= most_off * step) end++;
    if (end < times.size()) {
      // A sample between two sections of different rates begins the second of them, unless time is missing after it.
      const double step_after = local_step(times, end);
      if (std::abs(times[end] - times[end - 1] - step_after) <= most_off * step_after) end--;
    }
    if (end - begin < fewest_even || sections.size() >= most_sections) return std::nullopt;
    const double rate = static_cast<double>(end - begin - 1) / (times[end - 1] - times[begin]);
    if (!std::isfinite(rate)) return std::nullopt;
    const bool follows = begin > 0 && times[begin] - times[begin - 1] <= 1.5 * std::max(step, step_before);
    sections.push_back({plain_rate(rate), end, times[begin] - times.front(), follows});
    step_before = step;
    begin = end;
  }
  return sections;
}

TimeBase base_of_times(std::vector<double> times, double given_rate) {
  TimeBase base;
  base.first = times.front();
  if (!std::isfinite(base.first)) return fault_of("its first time is not a number");
  if (times.size() > 1) {
    if (const auto rate = even_rate(times)) {
      base.sections = {{*rate, times.size(), 0, false}};
      return base;
    }
    if (auto sections = even_sections(times)) {
      base.sections = std::move(*sections);
      return base;
    }
  }
  // Microseconds are what the stamps of rows count in, and the tolerances for those fit.
  constexpr double microsecond = 1e-6;
  for (double& time : times) time = (time - base.first) / microsecond;
  TimeTable table = read_time_stamps({{0, times.size()}}, times, microsecond, given_rate);
  base.sections = std::move(table.sections);
  base.notes = std::move(table.notes);
  base.sections.front().follows = false;
  return base;
}

}  // namespace

SeriesValues values_of(const StoredVector& stored, const Storage& storage, ValueBudget& budget) {
  SeriesValues result;
  if (!storage.increment) {
    if (!stored.is_numeric()) return {{}, fmt::format("its vector is of the type {}, not of numbers", stored.type)};
    if (!budget.take(stored.count)) return {{}, too_many};
    result.values.reserve(stored.count);
    for (std::size_t i = 0; i < stored.count; i++) {
      result.values.push_back(storage.scale * stored.number(i) + storage.offset);
    }
    return result;
  }
  const Runs runs = runs_of(stored);
  if (!runs.fault.empty()) return {{}, runs.fault};
  if (!budget.take(runs.total)) return {{}, too_many};
  result.values.reserve(runs.total);
  double start = 0;
  for (const Run& run : runs.runs) {
    for (std::size_t i = 0; i < run.count; i++) {
      result.values.push_back(storage.scale * (start + static_cast<double>(i) * run.step) + storage.offset);
    }
    start += static_cast<double>(run.count) * run.step;
  }
  return result;
}

TimeBase time_base_of(const StoredVector& stored, const Storage& storage, const TimeUnit& unit, double given_rate,
                      ValueBudget& budget) {
  if (stored.count == 0) return fault_of("its series of times is empty");
  if (stored.type == physical::time_stamp) {
    if (!budget.take(stored.count)) return fault_of(too_many);
    std::vector<double> times;
    for (std::size_t i = 0; i < stored.count; i++) {
      if (!stored.moment(i)) return fault_of(fmt::format("time stamp {} is outside the years 1900 to 2400", i + 1));
      times.push_back(stored.seconds_since(unit.observation, i));
    }
    return base_of_times(std::move(times), given_rate);
  }
  if (storage.increment) {
    const Runs runs = runs_of(stored);
    if (!runs.fault.empty()) return fault_of(runs.fault);
    return base_of_runs(runs, storage, unit, given_rate);
  }
  SeriesValues values = values_of(stored, storage, budget);
  if (!values.fault.empty()) return fault_of(values.fault);
  for (double& time : values.values) time *= unit.seconds;
  return base_of_times(std::move(values.values), given_rate);
}

std::size_t count_in_runs(const StoredVector& stored) {
  const Runs runs = runs_of(stored);
  return runs.fault.empty() ? runs.total : 0;
}

bool run_together(const TimeBase& one, const TimeBase& other) {
  // Rates are alike if the samples drift apart by less than half a step.
  const double length = static_cast<double>(std::max(one.length(), other.length())) + fewest_even;
  const auto alike = [&](double a, double b) { return std::abs(a - b) * length <= 0.5 * std::max(a, b); };
  if (one.sections.size() != other.sections.size() || one.sections.empty()) return false;
  for (std::size_t i = 0; i < one.sections.size(); i++) {
    const RateSection& a = one.sections[i];
    const RateSection& b = other.sections[i];
    const bool last = i + 1 == one.sections.size();
    const double half_step = a.rate > 0 ? 0.5 / a.rate : 0;
    if (!alike(a.rate, b.rate) || (!last && a.end != b.end)) return false;
    if (!(std::abs(one.first + a.start - other.first - b.start) <= half_step)) return false;
  }
  return true;
}

void fit_to(std::vector<RateSection>& sections, std::size_t length) {
  while (sections.size() > 1 && sections[sections.size() - 2].end >= length) sections.pop_back();
  if (!sections.empty()) sections.back().end = length;
}

}  // namespace readers::pqdif
