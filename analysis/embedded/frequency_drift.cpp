#include "analysis/embedded/frequency_drift.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <numbers>

namespace analysis::embedded {

namespace {

constexpr double degrees_per_radian = 180 / std::numbers::pi;
/// Over a shorter segment the angle may well move for other reasons: motors that slow down, a fault that grows.
constexpr std::size_t cycles_to_measure_anew = 50;
constexpr std::size_t fewest_cycles_to_measure = 5;
/// How far a cycle's turn may be off the others' where the network does nothing but turn.
constexpr double most_uneven_degrees = 1;

/// How far the voltages turn from one time to another; the larger ones count for more.
double turn(const Phasors& from, const Phasors& to) {
  std::complex<double> sum;
  for (std::size_t phase = 0; phase < 3; phase++) sum += to[phase] * std::conj(from[phase]);
  return std::arg(sum) * degrees_per_radian;
}

/// Calls `visit` with the position of each whole cycle of a stretch.
template <typename Visit>
void for_cycles(const Stretch& stretch, std::size_t cycle, Visit visit) {
  for (std::size_t at = stretch.begin; at + cycle <= stretch.end; at += cycle) visit(at);
}

/// Degrees per cycle; nothing where the time is too short to tell or does not turn evenly. Turns over ever more cycles,
/// up to half of them all, make it ever finer, each telling by how many full turns the next is to be counted on.
std::optional<double> measured_turn(const CyclePhasors& phasors, const Stretch& steady) {
  std::vector<Phasors> cycles;
  for_cycles(steady, phasors.cycle(), [&](std::size_t at) { cycles.push_back(phasors.at(at)); });
  if (cycles.size() < fewest_cycles_to_measure) return std::nullopt;
  double per_cycle = 0;
  for (std::size_t apart = 1; 2 * apart <= cycles.size(); apart *= 2) {
    const double expected = per_cycle * static_cast<double>(apart);
    double sum = 0;
    for (std::size_t i = apart; i < cycles.size(); i++) {
      sum += std::remainder(turn(cycles[i - apart], cycles[i]) - expected, 360.0);
    }
    per_cycle = (expected + sum / static_cast<double>(cycles.size() - apart)) / static_cast<double>(apart);
  }
  for (std::size_t i = 1; i < cycles.size(); i++) {
    if (!(std::abs(turn(cycles[i - 1], cycles[i]) - per_cycle) < most_uneven_degrees)) return std::nullopt;
  }
  return per_cycle;
}

/// What is left of a segment a cycle off either end, where the voltage may still be on its way.
Stretch inside(const Stretch& segment, std::size_t cycle) {
  if (segment.length() < 3 * cycle) return segment;
  return {segment.begin + cycle, segment.end - cycle};
}

/// Symmetrical components.
struct Components {
  explicit Components(const Phasors& v) {
    const auto third_of_a_turn = std::polar(1.0, 2 * std::numbers::pi / 3);
    positive = (v[0] + third_of_a_turn * v[1] + std::conj(third_of_a_turn) * v[2]) / 3.0;
    negative = (v[0] + std::conj(third_of_a_turn) * v[1] + third_of_a_turn * v[2]) / 3.0;
    zero = (v[0] + v[1] + v[2]) / 3.0;
  }
  std::complex<double> positive;
  std::complex<double> negative;
  std::complex<double> zero;
};

vec_struct in_float(const std::complex<double>& value) {
  return {static_cast<float>(value.real()), static_cast<float>(value.imag())};
}

int category_of(const Phasors& phasors, const Phasors& before, const CategoryRule& rule) {
  const Components now(phasors);
  const auto size = [](const std::complex<double>& phasor) { return static_cast<float>(std::abs(phasor)); };
  const auto low = sagx::low_phases(size(phasors[0]), size(phasors[1]), size(phasors[2]), rule.threshold);
  return sagx::category_of({in_float(Components(before).positive), in_float(now.positive), in_float(now.negative),
                            size(now.negative), size(now.zero)},
                           low, sagx::SequenceThresholds(rule.nominal), rule.all_low);
}

}  // namespace

FrequencyDrift::FrequencyDrift(const CyclePhasors& phasors, const Stretch& before, const std::vector<Segment>& segments)
    : phasors_(phasors), knots_{{before.begin, 0, 0}} {
  const auto turn_before = measured_turn(phasors, before);
  if (!turn_before) return;
  knots_.front().degrees_per_cycle = *turn_before;
  for (const Segment& segment : segments) {
    if (segment.samples.length() < cycles_to_measure_anew * phasors.cycle()) continue;
    const auto degrees_per_cycle = measured_turn(phasors, inside(segment.samples, phasors.cycle()));
    if (!degrees_per_cycle) continue;
    knots_.push_back({segment.samples.begin, degrees_at(segment.samples.begin), *degrees_per_cycle});
  }
  for_cycles(before, phasors.cycle(), [&](std::size_t at) {
    const Phasors cycle = phasors_at(at);
    for (std::size_t phase = 0; phase < 3; phase++) before_[phase] += cycle[phase];
  });
  const auto cycles = static_cast<double>(before.length() / phasors.cycle());
  for (auto& phasor : before_) phasor /= cycles;
}

double FrequencyDrift::degrees_at(std::size_t sample) const {
  const Knot* last = &knots_.front();
  for (const Knot& knot : knots_) {
    if (knot.sample <= sample) last = &knot;
  }
  const double samples = static_cast<double>(sample) - static_cast<double>(last->sample);
  return last->degrees + last->degrees_per_cycle * samples / static_cast<double>(phasors_.cycle());
}

/// Of the cycle that begins at a sample, turned back.
Phasors FrequencyDrift::phasors_at(std::size_t begin) const {
  Phasors phasors = phasors_.at(begin);
  for (auto& phasor : phasors) phasor *= std::polar(1.0, -degrees_at(begin) / degrees_per_radian);
  return phasors;
}

std::optional<double> FrequencyDrift::phase_jump(std::size_t phase, std::size_t sample, const Stretch& segment) const {
  const std::size_t cycle = phasors_.cycle();
  if (segment.length() < cycle) return std::nullopt;
  const std::size_t centred = sample - std::min(cycle / 2, sample);
  const std::size_t begin = std::clamp(centred, segment.begin, segment.end - cycle);
  return std::arg(phasors_at(begin)[phase] * std::conj(before_[phase])) * degrees_per_radian;
}

std::optional<int> FrequencyDrift::category(const Stretch& segment, const CategoryRule& rule) const {
  sagx::CategoryVote vote;
  for_cycles(segment, phasors_.cycle(), [&](std::size_t at) { vote.add(category_of(phasors_at(at), before_, rule)); });
  const int winner = vote.winner();
  return winner == sagx::no_category ? std::nullopt : std::optional(winner);
}

}  // namespace analysis::embedded
