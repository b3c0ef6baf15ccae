#include "measure/levels.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <utility>
#include <vector>

#include "measure/median.h"

namespace measure {

namespace {

/// In the first cycles of the record usually no event has begun yet.
constexpr std::size_t first_cycles = 3;
/// A voltage that is below this share of its value in the first cycles has fallen.
constexpr double sunk = 0.9;
/// A level is low if it is below this share of the level at which the voltage is steady for most of the time.
constexpr double much_lower = 0.8;
/// A line is dead at less than this share of what it carries later in all phases.
constexpr double dead = 0.01;
/// With fewer steady cycles, a voltage may be a transient on a dead line.
constexpr std::size_t fewest_live = 5;

/// Returns a phase's magnitudes in the record's first cycles, in volts RMS.
std::vector<double> first_magnitudes(const CycleTrack& track, std::size_t phase) {
  std::vector<double> levels;
  for (std::size_t k = 0; k < std::min(first_cycles, track.cycles()); k++) {
    const double level = std::abs(track.phasors(k)[phase]);
    if (std::isfinite(level)) levels.push_back(level / std::numbers::sqrt2);
  }
  return levels;
}

/// Returns whether an event begins in the second cycle: some phase leaves its level there, and leaves it further in the
/// third cycle. In a record that begins with a transient, the second cycle is as high as the third one.
bool begins_in_second_cycle(const CycleTrack& track, std::size_t phases) {
  constexpr double changed = 0.05;
  for (std::size_t phase = 0; phase < phases; phase++) {
    const std::vector<double> levels = first_magnitudes(track, phase);
    if (levels.size() < 3) continue;
    const double least = changed * levels[0];
    const double one = levels[1] - levels[0];
    const double other = levels[2] - levels[1];
    if (std::abs(one + other) > 2 * least && std::abs(other) > least && one * other > 0) return true;
  }
  return false;
}

/// The level of each phase at the record's beginning, in volts RMS, and the number of cycles in which it was measured.
struct FirstLevels {
  PerPhase volts{};
  std::size_t cycles = 0;
};

FirstLevels first_levels(const CycleTrack& track, std::size_t phases) {
  const std::size_t cycles = begins_in_second_cycle(track, phases) ? 1 : std::min(first_cycles, track.cycles());
  FirstLevels first{{}, cycles};
  for (std::size_t phase = 0; phase < phases; phase++) {
    std::vector<double> levels = first_magnitudes(track, phase);
    if (levels.empty()) continue;
    first.volts[phase] = cycles == 1 ? levels[0] : median(std::move(levels));
  }
  return first;
}

/// Returns whether three voltages that differ much become nearly equal while the lowest of them rises. A fault that
/// lowers one phase may raise the others, so that some voltages fall when it ends.
bool becomes_balanced(const PerPhase& level, const PerPhase& later, const PhaseFlags& absent, std::size_t phases) {
  constexpr double unequal = 0.93;
  constexpr double nearly_equal = 0.96;
  constexpr double risen = 1.05;
  if (phases < most_phases || std::find(absent.begin(), absent.end(), true) != absent.end()) return false;
  const auto [lowest, highest] = std::minmax_element(level.begin(), level.end());
  const auto [low, high] = std::minmax_element(later.begin(), later.end());
  return *lowest<unequal* * highest&& * low> nearly_equal * *high && *low > risen * *lowest;
}

/// Returns the steady stretch to which the voltages settle, as those of a recorder do whose filters start with the
/// record: from the first cycle on and over three cycles or more all of them fall by equal shares and ever more slowly,
/// and none returns later. A dip takes one cycle between its levels. Returns null if they do not settle so.
const CycleTrack::SteadyStretch* settled_stretch(const CycleTrack& track, const PerPhase& first, std::size_t phases) {
  constexpr std::size_t fewest_settling = 3;
  constexpr double alike = 0.1;
  constexpr double noise = 0.005;
  const auto& stretches = track.steady();
  const auto settled = std::find_if(stretches.begin(), stretches.end(), [](const auto& stretch) {
    constexpr std::size_t fewest_steady = 10;
    return stretch.length() >= fewest_steady;
  });
  if (settled == stretches.end() || settled->begin < fewest_settling) return nullptr;
  double least_share = std::numeric_limits<double>::infinity();
  double most_share = 0;
  for (std::size_t phase = 0; phase < phases; phase++) {
    if (track.absent()[phase]) continue;
    const double level = settled->level[phase];
    const auto volts = [&](std::size_t k) { return std::abs(track.phasors(k)[phase]) / std::numbers::sqrt2; };
    least_share = std::min(least_share, first[phase] / level);
    most_share = std::max(most_share, first[phase] / level);
    double step_before = std::numeric_limits<double>::infinity();
    for (std::size_t k = 0; k < settled->begin; k++) {
      const double step = volts(k) - volts(k + 1);
      if (!(step > -noise * level && step < step_before + noise * level)) return nullptr;
      step_before = step;
    }
    for (std::size_t k = settled->end; k < track.cycles(); k++) {
      if (volts(k) > sunk * first[phase]) return nullptr;
    }
  }
  return least_share > 1 && most_share - least_share <= alike ? &*settled : nullptr;
}

}  // namespace

UsualLevels usual_levels(const CycleTrack& track, std::size_t phases) {
  UsualLevels usual;
  const auto take = [&](const CycleTrack::SteadyStretch& stretch) {
    usual.fundamental_v = stretch.level;
    usual.from_s = track.time_of(stretch.begin) - 0.5 / track.frequency();
    usual.to_s = track.time_of(stretch.end - 1) + 0.5 / track.frequency();
  };
  const FirstLevels first = first_levels(track, phases);
  const auto take_first = [&] {
    usual.fundamental_v = first.volts;
    usual.from_s = 0;
    usual.to_s = static_cast<double>(first.cycles) / track.frequency();
  };
  if (track.steady().empty()) {
    take_first();
    return usual;
  }

  const CycleTrack::SteadyStretch& steady = track.steady().front();
  take(steady);
  const auto lowest_share = [&](const PerPhase& one, const PerPhase& other) {
    double share = std::numeric_limits<double>::infinity();
    for (std::size_t phase = 0; phase < phases; phase++) {
      if (track.absent()[phase]) continue;
      share = std::min(share, one[phase] / std::max(other[phase], 1e-300));
    }
    return share;
  };
  const auto is_dead_beside = [&](const PerPhase& level) {
    for (std::size_t phase = 0; phase < phases; phase++) {
      if (!track.absent()[phase] && steady.level[phase] >= dead * level[phase]) return false;
    }
    return true;
  };
  for (const auto& stretch : track.steady()) {
    if (stretch.length() < fewest_live || !is_dead_beside(stretch.level)) continue;
    take(stretch);
    usual.begins_low = true;
    return usual;
  }
  std::size_t higher_cycles = 0;
  std::size_t other_cycles = 0;
  const CycleTrack::SteadyStretch* higher = nullptr;
  // What the record begins with may be a dip: some phase is much lower than in a later stretch and none is higher, or
  // the phases differ as they do only in faults.
  const auto begins_below = [&](const PerPhase& level, const PerPhase& later) {
    return (lowest_share(level, later) < much_lower && lowest_share(later, level) > sunk) ||
           becomes_balanced(level, later, track.absent(), phases);
  };
  for (const auto& stretch : track.steady()) {
    if (begins_below(steady.level, stretch.level)) {
      higher_cycles += stretch.length();
      // Of a dip of several stages, the later ones may be higher than the first.
      if (higher == nullptr || begins_below(higher->level, stretch.level)) higher = &stretch;
    } else {
      other_cycles += stretch.length();
    }
  }
  if (higher_cycles > other_cycles && (lowest_share(first.volts, higher->level) < much_lower ||
                                       becomes_balanced(first.volts, higher->level, track.absent(), phases))) {
    take(*higher);
    usual.begins_low = true;
    return usual;
  }
  if (const auto* settled = settled_stretch(track, first.volts, phases)) {
    take(*settled);
    return usual;
  }
  // An event that lowers one phase may raise others.
  if (steady.begin > 0 && lowest_share(steady.level, first.volts) < sunk) take_first();
  return usual;
}

}  // namespace measure
