#include "measure/instants.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <utility>
#include <vector>

#include "measure/sample_at.h"
#include "measure/step_instant.h"

namespace measure {

namespace {

/// A phase is ignored if the square of its change is less than this share of the largest squared change.
constexpr double share_that_tells = 0.06;
/// A sample that follows neither sinusoid costs as much as one at a distance of 3 standard deviations.
constexpr double price_of_neither = 9;
/// Each sample within the change has this additional cost for each phase, so that the change is not longer than needed.
constexpr double price_of_changing = 2;
/// The error of the models grows with the change. Their deviation is assumed to be at least this share of the change.
constexpr double unmodelled_before = 0.02;
constexpr double unmodelled_after = 0.05;
/// If less is assumed, the first small deviations of a change are noticed, such as those of a phase that crosses zero
/// then. So is what a filter without delay shows of a step before it happens, which has this many samples at most.
constexpr double unmodelled_at_first = 0.005;
constexpr double shown_ahead_samples = 2.5;
/// The initial amplitudes of ringing after a switching that are tried, as shares of the change, and its time constant
/// in seconds. Ringing of lines and cables has some hundred hertz to a few kilohertz and decays within milliseconds.
constexpr std::array<double, 5> ringing = {0, 0.05, 0.1, 0.2, 0.4};
constexpr double ringing_s = 0.8e-3;
constexpr double ringing_lasts_s = 3e-3;
/// Costs are twice the logarithm of a likelihood, so the 95 % interval ends 4 above the least cost. The noise of
/// neighbouring samples is not independent, so a larger limit is used. Where samples follow either course, costs differ
/// by multiples of `price_of_changing`, and rounding must not decide about those that meet the limit.
constexpr double as_likely = 8 + 1e-6;
/// With fewer samples per cycle than this, half a sample is two degrees of the fundamental or more. The shape of the
/// samples' edge then tells the point on wave better than the first sample that differs.
constexpr double fine_sampling = 100;
/// An edge is looked for in this many samples before the first that differs, and in as many from this one on.
constexpr std::size_t edge_samples = 5;

/// The costs of the samples of a change, by which possible instants are compared.
struct Costs {
  std::vector<double> as_before;  // of the samples before each one
  std::vector<double> as_after;
  std::vector<double> as_changing;
  std::vector<PerPhase> off_after;  // squares of the distances from the sinusoid after; 0 for phases that are ignored
  PerPhase variance_after{};
  PerPhase change{};  // squares
  PhaseFlags tells{};
};

/// Finds the end of a change that is followed by ringing whose initial amplitude is a share of the change.
class Return {
 public:
  Return(const Costs& costs, std::size_t phases, double share, double rate) : costs_(costs), phases_(phases) {
    const auto count = static_cast<std::size_t>(std::ceil(ringing_lasts_s * rate));
    for (std::size_t k = 0; k < count; k++) {
      const double now = share * std::exp(-static_cast<double>(k) / rate / ringing_s);
      PerPhase inverse{};
      double logarithms = 0;
      for (std::size_t phase = 0; phase < phases; phase++) {
        if (!costs.tells[phase]) continue;
        const double variance = costs.variance_after[phase] + now * now * costs.change[phase];
        inverse[phase] = 1 / variance;
        logarithms += std::log(variance);
      }
      inverse_.push_back(inverse);
      logarithms_.push_back(logarithms);
    }
  }

  [[nodiscard]] double cost(std::size_t at) const {
    const std::size_t end = std::min(at + inverse_.size(), costs_.off_after.size());
    double cost = costs_.as_changing[at] + costs_.as_after.back() - costs_.as_after[end];
    for (std::size_t k = at; k < end; k++) {
      const PerPhase& off = costs_.off_after[k];
      const PerPhase& inverse = inverse_[k - at];
      for (std::size_t phase = 0; phase < phases_; phase++) cost += off[phase] * inverse[phase];
      cost += logarithms_[k - at];
    }
    return cost;
  }

 private:
  const Costs& costs_;
  std::size_t phases_;
  std::vector<PerPhase> inverse_;
  std::vector<double> logarithms_;
};

/// Returns the sample at which the change is over, with the most likely ringing, and the uncertainty of this sample.
std::pair<std::size_t, double> returns_at(const Costs& costs, std::size_t phases, std::size_t first, std::size_t last,
                                          double rate) {
  std::vector<double> least(last - first + 1, std::numeric_limits<double>::infinity());
  for (const double share : ringing) {
    const Return back(costs, phases, share, rate);
    for (std::size_t k = first; k <= last; k++) least[k - first] = std::min(least[k - first], back.cost(k));
  }
  const auto best = std::min_element(least.begin(), least.end()) - least.begin();
  const auto likely = [&](double cost) { return cost <= least[static_cast<std::size_t>(best)] + as_likely; };
  const auto earliest = std::find_if(least.begin(), least.end(), likely) - least.begin();
  const auto latest = least.rend() - std::find_if(least.rbegin(), least.rend(), likely) - 1;
  return {first + static_cast<std::size_t>(best), static_cast<double>(std::max(best - earliest, latest - best)) + 0.5};
}

/// Returns the mean square residual of a fit over one cycle of each phase's samples. Averages would hide harmonics of
/// high order.
PerPhase left_of_samples(const Excerpt& excerpt, const PhasorFit& fit, double from_s, double to_s) {
  const double from = std::max({from_s, fit.begin_s(), excerpt.begin_s()});
  const double to = std::min({to_s, fit.end_s(), excerpt.end_s()});
  const auto first = static_cast<std::size_t>(std::max(0.0, sample_from(from, excerpt.rate())));
  const auto end = static_cast<std::size_t>(std::max(0.0, sample_from(to, excerpt.rate())));
  PerPhase squares{};
  PerPhase counts{};
  if (end <= first) return squares;
  const auto expected =
      fit.voltages(excerpt.time_of_sample(static_cast<double>(first)), 1 / excerpt.rate(), end - first);
  for (std::size_t k = 0; k < expected.size(); k++) {
    for (std::size_t phase = 0; phase < excerpt.phases(); phase++) {
      const double off = excerpt.value(phase, first + k) - expected[k][phase];
      if (!std::isfinite(off)) continue;
      squares[phase] += off * off;
      counts[phase]++;
    }
  }
  for (std::size_t phase = 0; phase < excerpt.phases(); phase++) squares[phase] /= std::max(1.0, counts[phase]);
  return squares;
}

/// As `pin_down`. `share_before`: the least deviation of the course before that is assumed, as a share of the change.
Instants pinned(const Excerpt& excerpt, const PhasorFit& before, const PhasorFit& after, double from_s, double to_s,
                bool closely, double share_before) {
  const std::size_t phases = excerpt.phases();
  const auto sample_at = [&](double seconds) {
    const double sample = sample_from(seconds, excerpt.rate());
    return static_cast<std::size_t>(
        std::clamp(sample, static_cast<double>(excerpt.first()), static_cast<double>(excerpt.end())));
  };
  const std::size_t first = sample_at(from_s);
  const std::size_t end = std::max(sample_at(to_s), first);

  const double middle = (from_s + to_s) / 2;
  const Phasors left = before.phasors(middle);
  const Phasors right = after.phasors(middle);
  PerPhase change{};
  for (std::size_t phase = 0; phase < phases; phase++) change[phase] = std::norm(left[phase] - right[phase]);
  const double largest = *std::max_element(change.begin(), change.end());
  // White noise is smaller in an average than in a sample. If the samples have much more noise than this, it is not
  // white.
  const auto block = static_cast<double>(excerpt.block());
  const double cycle = excerpt.cycle();
  const PerPhase left_before = left_of_samples(excerpt, before, before.end_s() - cycle, before.end_s());
  const PerPhase left_after = left_of_samples(excerpt, after, after.begin_s(), after.begin_s() + cycle);
  const auto variance = [&](const PhasorFit& fit, std::size_t phase, double of_samples, double unmodelled) {
    constexpr double much_more = 2;
    const double white = fit.residual()[phase] * block;
    const double noise = of_samples > much_more * white ? of_samples : white;
    return std::max({1e-6, noise, unmodelled * unmodelled * change[phase]});
  };

  PerPhase variance_before{};
  PerPhase variance_after{};
  PerPhase log_before{};
  PerPhase log_after{};
  PhaseFlags tells{};
  for (std::size_t phase = 0; phase < phases; phase++) {
    variance_before[phase] = variance(before, phase, left_before[phase], share_before);
    variance_after[phase] = variance(after, phase, left_after[phase], unmodelled_after);
    log_before[phase] = std::log(variance_before[phase]);
    log_after[phase] = std::log(variance_after[phase]);
    tells[phase] = change[phase] >= share_that_tells * largest;
  }

  // Costs of the samples before each one, by whether they follow the one course, the other or the change.
  Costs costs;
  costs.variance_after = variance_after;
  costs.change = change;
  costs.tells = tells;
  costs.off_after.assign(end - first, {});
  std::vector<double>& as_before = costs.as_before;
  std::vector<double>& as_after = costs.as_after;
  std::vector<double>& as_changing = costs.as_changing;
  as_before.assign(end - first + 1, 0);
  as_after.assign(as_before.size(), 0);
  as_changing.assign(as_before.size(), 0);
  const double first_time = excerpt.time_of_sample(static_cast<double>(first));
  const std::vector<PerPhase> all_before = before.voltages(first_time, 1 / excerpt.rate(), end - first);
  const std::vector<PerPhase> all_after = after.voltages(first_time, 1 / excerpt.rate(), end - first);
  for (std::size_t k = 0; k < end - first; k++) {
    double cost_before = 0;
    double cost_after = 0;
    double cost_changing = 0;
    for (std::size_t phase = 0; phase < phases; phase++) {
      if (!tells[phase]) continue;
      const double value = excerpt.value(phase, first + k);
      if (!std::isfinite(value)) continue;
      const double off_before = value - all_before[k][phase];
      const double off_after = value - all_after[k][phase];
      const double one = off_before * off_before / variance_before[phase] + log_before[phase];
      const double other = off_after * off_after / variance_after[phase] + log_after[phase];
      const double neither = price_of_neither + std::max(log_before[phase], log_after[phase]);
      costs.off_after[k][phase] = off_after * off_after;
      cost_before += one;
      cost_after += other;
      cost_changing += std::min({one, other, neither}) + price_of_changing;
    }
    as_before[k + 1] = as_before[k] + cost_before;
    as_after[k + 1] = as_after[k] + cost_after;
    as_changing[k + 1] = as_changing[k] + cost_changing;
  }

  // Finds the best beginning for each possible end of the change, and the best end for each possible beginning.
  const auto falling = [&](std::size_t k) { return as_before[k] - as_changing[k]; };
  const auto rising = [&](std::size_t k) { return as_changing[k] - as_after[k]; };
  const std::size_t count = as_before.size();
  std::vector<std::size_t> best_until(count, 0);
  std::vector<std::size_t> best_from(count, count - 1);
  for (std::size_t k = 1; k < count; k++)
    best_until[k] = falling(k) < falling(best_until[k - 1]) ? k : best_until[k - 1];
  for (std::size_t k = count - 1; k-- > 0;) best_from[k] = rising(k) < rising(best_from[k + 1]) ? k : best_from[k + 1];
  std::size_t last = 0;
  for (std::size_t k = 1; k < count; k++) {
    if (falling(best_until[k]) + rising(k) < falling(best_until[last]) + rising(last)) last = k;
  }
  const std::size_t start = best_until[last];
  const double least = falling(start) + rising(last);

  // Within a gap of the samples all instants are equally likely, so the middle is the best estimate.
  const auto in_gap = [&](std::size_t low, std::size_t high) {
    for (std::size_t k = low; k < high; k++) {
      bool missing = true;
      for (std::size_t phase = 0; phase < phases; phase++) {
        missing = missing && (!tells[phase] || !std::isfinite(excerpt.value(phase, first + k)));
      }
      if (missing) return true;
    }
    return false;
  };
  const auto spread = [&](std::size_t& best, auto cost) {
    std::size_t low = best;
    std::size_t high = best;
    while (low > 0 && cost(low - 1) <= least + as_likely) low--;
    while (high + 1 < count && cost(high + 1) <= least + as_likely) high++;
    if (!in_gap(low, high)) return static_cast<double>(std::max(best - low, high - best)) + 0.5;
    best = (low + high) / 2;
    return static_cast<double>(std::max(best - low, high - best)) + 1;
  };
  std::size_t begins = start;
  const std::size_t found_last = last;
  const double first_spread = spread(begins, [&](std::size_t k) { return falling(k) + rising(best_from[k]); });
  const double last_spread = spread(last, [&](std::size_t k) { return falling(best_until[k]) + rising(k); });
  // A change lies between the last sample that follows the first sinusoid and the first sample that follows the second
  // one.
  const auto time = [&](std::size_t k) { return excerpt.time_of_sample(static_cast<double>(first + k) - 0.5); };
  Instants instants{time(std::min(begins, last)), time(last), first_spread / excerpt.rate(),
                    last_spread / excerpt.rate(), time(last), last_spread / excerpt.rate()};
  if (!closely) return instants;
  if (excerpt.rate() * cycle < fine_sampling && begins == start && begins <= last) {
    const std::size_t low = begins - std::min(begins, edge_samples);
    std::vector<StepSample> samples;
    for (std::size_t k = low; k < std::min(begins + edge_samples, count - 1); k++) {
      samples.push_back({{}, all_before[k], all_after[k]});
      for (std::size_t phase = 0; phase < phases; phase++) {
        samples.back().voltage[phase] = excerpt.value(phase, first + k);
      }
    }
    const double near = static_cast<double>(begins - low) - 0.5;
    if (const auto step = step_instant(samples, near, variance_before, variance_after, tells)) {
      instants.first_s = excerpt.time_of_sample(static_cast<double>(first + low) + step->at);
      instants.first_plus_minus = step->plus_minus / excerpt.rate();
      instants.last_s = std::max(instants.last_s, instants.first_s);
    }
  }
  // The change may be over earlier than the ringing after it is, unless the gap that it lies in hides this.
  if (last != found_last) return instants;
  const auto [back, back_spread] = returns_at(costs, phases, std::min(start, last), last, excerpt.rate());
  const double earliest = std::min(time(back) - back_spread / excerpt.rate(), time(last));
  const double latest = time(last) + last_spread / excerpt.rate();
  instants.back_s = (earliest + latest) / 2;
  instants.back_plus_minus = (latest - earliest) / 2;
  return instants;
}

}  // namespace

Instants pin_down(const Excerpt& excerpt, const PhasorFit& before, const PhasorFit& after, double from_s, double to_s,
                  bool closely) {
  Instants instants = pinned(excerpt, before, after, from_s, to_s, closely, unmodelled_before);
  if (!closely) return instants;
  const Instants at_first = pinned(excerpt, before, after, from_s, to_s, false, unmodelled_at_first);
  if ((instants.first_s - at_first.first_s) * excerpt.rate() > shown_ahead_samples) {
    // About half of what a filter may show ahead is taken off.
    instants.first_s = at_first.first_s + 1 / excerpt.rate();
    instants.first_plus_minus = at_first.first_plus_minus + 1 / excerpt.rate();
  }
  return instants;
}

}  // namespace measure
