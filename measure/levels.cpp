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

/// Returns the median of a phase's magnitudes over the record's first cycles, in volts RMS.
double first_level(const CycleTrack& track, std::size_t phase) {
  std::vector<double> levels;
  for (std::size_t k = 0; k < std::min(first_cycles, track.cycles()); k++) {
    const double level = std::abs(track.phasors(k)[phase]);
    if (std::isfinite(level)) levels.push_back(level / std::numbers::sqrt2);
  }
  return levels.empty() ? 0 : median(std::move(levels));
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
  PerPhase first{};
  for (std::size_t phase = 0; phase < phases; phase++) first[phase] = first_level(track, phase);
  if (track.steady().empty()) {
    usual.fundamental_v = first;
    usual.to_s = static_cast<double>(std::min(first_cycles, track.cycles())) / track.frequency();
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
      if (!track.absent()[phase] && steady.level[phase] > dead * level[phase]) return false;
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
  for (const auto& stretch : track.steady()) {
    if (lowest_share(steady.level, stretch.level) < much_lower && lowest_share(stretch.level, steady.level) > sunk) {
      higher_cycles += stretch.length();
      if (higher == nullptr) higher = &stretch;
    } else {
      other_cycles += stretch.length();
    }
  }
  if (higher_cycles > other_cycles && lowest_share(first, higher->level) < much_lower) {
    take(*higher);
    usual.begins_low = true;
    return usual;
  }
  if (const auto* settled = settled_stretch(track, first, phases)) {
    take(*settled);
    return usual;
  }
  for (std::size_t phase = 0; phase < phases; phase++) {
    const bool has_sunk = steady.begin > 0 && usual.fundamental_v[phase] < sunk * first[phase];
    if (!has_sunk) continue;
    usual.fundamental_v[phase] = first[phase];
    usual.from_s = 0;
    usual.to_s = static_cast<double>(std::min(first_cycles, track.cycles())) / track.frequency();
  }
  return usual;
}

}  // namespace measure
