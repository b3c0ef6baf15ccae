#include "measure/short_dip.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

#include "measure/sample_at.h"
#include "measure/steady_fit.h"

namespace measure {

namespace {

/// Number of cycles of the voltage before and after the dip that are examined.
constexpr double cycles_round = 8;
constexpr double fewest_cycles = 1.5;
/// The voltages before and after the dip are equal if they differ by less than this, in usual peaks.
constexpr double same_voltage = 0.04;
/// Samples deviate if their distance from the voltage is at least this many standard deviations, and at least this
/// amount.
constexpr double deviations = 6;
constexpr double least_off = 0.03;
/// A dip deviates from the voltage by at least this amount.
constexpr double notable = 0.1;
constexpr double longest_cycles = 0.95;

/// The samples that deviate from a course, from the first to the last.
struct Away {
  std::size_t first = 0;
  std::size_t last = 0;
  bool any = false;
  PerPhase farthest{};
};

double limit_of(const PhasorFit& fit, std::size_t phase, std::size_t block) {
  return std::max(least_off, deviations * std::sqrt(fit.residual()[phase] * static_cast<double>(block)));
}

std::size_t sample_at(const Excerpt& excerpt, double seconds) {
  const double sample = sample_from(std::max(0.0, seconds), excerpt.rate());
  return std::clamp(static_cast<std::size_t>(sample), excerpt.first(), excerpt.end());
}

Away away_from(const Excerpt& excerpt, const PhasorFit& before, const PhasorFit& after, double from_s, double to_s) {
  Away away;
  const std::size_t first = sample_at(excerpt, from_s);
  const std::size_t end = sample_at(excerpt, to_s);
  if (end <= first) return away;
  const double first_s = excerpt.time_of_sample(static_cast<double>(first));
  const std::vector<PerPhase> one = before.voltages(first_s, 1 / excerpt.rate(), end - first);
  const std::vector<PerPhase> other = after.voltages(first_s, 1 / excerpt.rate(), end - first);
  for (std::size_t k = 0; k < end - first; k++) {
    for (std::size_t phase = 0; phase < excerpt.phases(); phase++) {
      const double value = excerpt.value(phase, first + k);
      const double off = std::min(std::abs(value - one[k][phase]), std::abs(value - other[k][phase]));
      const double limit = std::max(limit_of(before, phase, excerpt.block()), limit_of(after, phase, excerpt.block()));
      if (!(off > limit)) continue;
      away.farthest[phase] = std::max(away.farthest[phase], off);
      if (!away.any) away.first = first + k;
      away.any = true;
      away.last = first + k;
    }
  }
  return away;
}

}  // namespace

std::optional<ShortDip> short_dip(const Excerpt& excerpt, double from_s, double to_s) {
  const double cycle = excerpt.cycle();
  const double begin = std::max(excerpt.begin_s(), from_s - cycles_round * cycle);
  const double end = std::min(excerpt.end_s(), to_s + cycles_round * cycle);
  if (from_s - begin < fewest_cycles * cycle || end - to_s < fewest_cycles * cycle) return std::nullopt;
  const PhasorFit before = steady_fit(excerpt, begin, from_s, false);
  const PhasorFit after = steady_fit(excerpt, to_s, end, false);
  ShortDip dip;
  dip.before = before.phasors(from_s);
  dip.before_error = before.standard_error(from_s);
  const Phasors later = after.phasors(to_s);
  for (std::size_t phase = 0; phase < excerpt.phases(); phase++) {
    if (std::abs(later[phase] - dip.before[phase]) > same_voltage) return std::nullopt;
  }
  const Away away = away_from(excerpt, before, after, from_s, to_s);
  const double farthest = *std::max_element(away.farthest.begin(), away.farthest.end());
  if (!away.any || farthest < notable) return std::nullopt;
  const double length_s = static_cast<double>(away.last + 1 - away.first) / excerpt.rate();
  if (length_s > longest_cycles * cycle) return std::nullopt;
  // Near its zero crossing the loss of a phase is too small to be seen.
  double limit = least_off;
  for (std::size_t phase = 0; phase < excerpt.phases(); phase++) {
    dip.phases[phase] = away.farthest[phase] > notable / 2;
    if (dip.phases[phase]) limit = std::max(limit, limit_of(before, phase, excerpt.block()));
  }
  const double hidden_s = std::asin(std::min(1.0, limit / farthest)) / excerpt.omega();
  const double plus_minus = hidden_s + 1 / excerpt.rate();
  dip.start_s = {excerpt.time_of_sample(static_cast<double>(away.first) - 0.5), plus_minus};
  dip.end_s = {excerpt.time_of_sample(static_cast<double>(away.last) + 0.5), plus_minus};
  return dip;
}

}  // namespace measure
