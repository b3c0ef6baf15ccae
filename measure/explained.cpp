#include "measure/explained.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "measure/moving_phasors.h"

namespace measure {

namespace {

constexpr double agreeing = 0.02;
/// Deviations are relative to the level before the dip, or to this level in usual peaks if it is higher.
constexpr double lowest_level = 0.05;
constexpr double left_out_cycles = 1.25;
constexpr double windows_per_cycle = 4;

class Windows {
 public:
  explicit Windows(const Excerpt& excerpt)
      : excerpt_(excerpt),
        moving_(excerpt),
        half_s_(static_cast<double>(moving_.window()) / 2 * static_cast<double>(excerpt.block()) / excerpt.rate()),
        step_(std::max<std::size_t>(1, static_cast<std::size_t>(excerpt.averages_per_cycle() / windows_per_cycle))) {}

  [[nodiscard]] double half_s() const { return half_s_; }

  /// Calls `take(middle, phasors)` for the windows whose middles lie between two times.
  template <typename Take>
  void each(double from_s, double to_s, Take take) const {
    std::size_t begin = excerpt_.index_at(std::max(from_s - half_s_, excerpt_.begin_s()));
    for (; begin + moving_.window() <= excerpt_.length(); begin += step_) {
      const double middle = moving_.time_of(begin);
      if (middle >= to_s) break;
      if (middle <= from_s) continue;
      if (const auto phasors = moving_.at(begin)) take(middle, *phasors);
    }
  }

 private:
  const Excerpt& excerpt_;
  MovingPhasors moving_;
  double half_s_;
  std::size_t step_;
};

bool agree(const Phasors& one, const Phasors& other, const Phasors& before, std::size_t phases) {
  for (std::size_t phase = 0; phase < phases; phase++) {
    const double level = std::max(std::abs(before[phase]), lowest_level);
    if (std::abs(std::abs(one[phase]) - std::abs(other[phase])) > agreeing * level) return false;
  }
  return true;
}

bool holds(const Segment& segment, double middle, double half_s, double end_s) {
  return segment.start_s <= middle - half_s && middle + half_s <= segment.end_s.value_or(end_s + 2 * half_s);
}

}  // namespace

bool changes(const Excerpt& excerpt, double start_s, double end_s, const Phasors& before) {
  const Windows windows(excerpt);
  std::optional<Phasors> first;
  Phasors last{};
  windows.each(start_s, end_s, [&](double middle, const Phasors& phasors) {
    if (middle - windows.half_s() < start_s || middle + windows.half_s() > end_s) return;
    if (!first) first = phasors;
    last = phasors;
  });
  return first && !agree(*first, last, before, excerpt.phases());
}

bool hides_step(const Excerpt& excerpt, double start_s, double end_s) {
  constexpr double shortest_cycles = 3;
  constexpr double most_of_change = 0.85;
  constexpr double notable = 0.1;  // of the usual peak
  if (end_s - start_s < shortest_cycles * excerpt.cycle()) return false;
  const Windows windows(excerpt);
  std::vector<Phasors> all;
  windows.each(start_s, end_s, [&](double middle, const Phasors& phasors) {
    if (middle - windows.half_s() >= start_s && middle + windows.half_s() <= end_s) all.push_back(phasors);
  });
  const auto cycle = static_cast<std::size_t>(windows_per_cycle);
  for (std::size_t phase = 0; phase < excerpt.phases(); phase++) {
    double lowest = std::numeric_limits<double>::infinity();
    double highest = 0;
    double sudden = 0;
    for (std::size_t k = 0; k < all.size(); k++) {
      const double magnitude = std::abs(all[k][phase]);
      lowest = std::min(lowest, magnitude);
      highest = std::max(highest, magnitude);
      if (k >= cycle) sudden = std::max(sudden, std::abs(magnitude - std::abs(all[k - cycle][phase])));
    }
    if (highest - lowest > notable && sudden > most_of_change * (highest - lowest)) return true;
  }
  return false;
}

std::optional<double> explained_share(const Excerpt& excerpt, const std::vector<Segment>& segments,
                                      const Phasors& before, double start_s, double end_s) {
  const Windows windows(excerpt);
  const double half = windows.half_s();
  std::vector<bool> does_change;
  for (const Segment& segment : segments) {
    does_change.push_back(segment.gradual &&
                          changes(excerpt, segment.start_s, segment.end_s.value_or(end_s + 2 * half), before));
  }
  std::vector<double> edges = {start_s, end_s};
  for (const Segment& segment : segments) {
    edges.push_back(segment.start_s);
    if (segment.end_s) edges.push_back(*segment.end_s);
  }
  std::sort(edges.begin(), edges.end());

  std::size_t judged = 0;
  std::size_t explained = 0;
  std::size_t at = 0;
  windows.each(start_s, end_s, [&](double middle, const Phasors& phasors) {
    while (at + 1 < segments.size() && segments[at].end_s && middle + half > *segments[at].end_s) at++;
    if (at < segments.size() && holds(segments[at], middle, half, end_s)) {
      judged++;
      const bool agrees =
          segments[at].gradual ? does_change[at] : agree(phasors, segments[at].phasors, before, excerpt.phases());
      explained += agrees ? 1 : 0;
      return;
    }
    const auto next = std::lower_bound(edges.begin(), edges.end(), middle);
    const double to_next = next == edges.end() ? 1e9 : *next - middle;
    const double to_previous = next == edges.begin() ? 1e9 : middle - *(next - 1);
    if (std::min(to_next, to_previous) > left_out_cycles * excerpt.cycle()) judged++;
  });
  if (judged == 0) return std::nullopt;
  return static_cast<double>(explained) / static_cast<double>(judged);
}

bool is_borne_out(const Excerpt& excerpt, const Segment& segment, const PhasorFit& fit, const Phasors& before) {
  constexpr double nearly_all = 0.95;
  constexpr double well_fitted = 0.015;  // root mean square of what is left, of the level
  const Windows windows(excerpt);
  const auto fits = [&](double middle) {
    const std::size_t begin = excerpt.index_at(middle - windows.half_s());
    const std::size_t end = excerpt.index_at(middle + windows.half_s());
    PerPhase squares{};
    for (std::size_t i = begin; i < end; i++) {
      const PerPhase expected = fit.voltage(excerpt.time_of(static_cast<double>(i)));
      for (std::size_t phase = 0; phase < excerpt.phases(); phase++) {
        const double left = excerpt.average(phase, i) - expected[phase];
        squares[phase] += left * left;
      }
    }
    for (std::size_t phase = 0; phase < excerpt.phases(); phase++) {
      const double most = well_fitted * std::max(std::abs(before[phase]), lowest_level);
      if (!(squares[phase] <= most * most * static_cast<double>(end - begin))) return false;
    }
    return true;
  };
  std::size_t judged = 0;
  std::size_t explained = 0;
  const double end = segment.end_s.value_or(excerpt.end_s());
  windows.each(segment.start_s, end, [&](double middle, const Phasors& phasors) {
    if (!holds(segment, middle, windows.half_s(), end)) return;
    judged++;
    explained += agree(phasors, segment.phasors, before, excerpt.phases()) || fits(middle) ? 1 : 0;
  });
  return judged == 0 || static_cast<double>(explained) >= nearly_all * static_cast<double>(judged);
}

double settled_s(const Excerpt& excerpt, const Segment& segment, double latest_s, const Phasors& before) {
  constexpr double stays_cycles = 0.5;
  const MovingPhasors moving(excerpt);
  const double last_begin_s =
      std::min(latest_s + stays_cycles * excerpt.cycle(), segment.end_s.value_or(excerpt.end_s()) - excerpt.cycle());
  // The average that the segment begins in may contain samples of the change.
  const std::size_t first = excerpt.index_at(segment.start_s) + 1;
  std::size_t settled = first;
  for (std::size_t begin = first; excerpt.start_of(begin) <= last_begin_s; begin++) {
    const auto phasors = moving.at(begin);
    if (phasors && !agree(*phasors, segment.phasors, before, excerpt.phases())) settled = begin + 1;
  }
  const double settled_s = excerpt.start_of(settled);
  return settled > first && settled_s <= std::min(latest_s, last_begin_s) ? settled_s : segment.start_s;
}

}  // namespace measure
