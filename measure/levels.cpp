#include "measure/levels.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <vector>

namespace measure {

namespace {

/// The record's beginning, where nothing has happened yet as a rule.
constexpr std::size_t first_cycles = 3;
/// A voltage below this share of what it was in the first cycles has sunk.
constexpr double sunk = 0.9;
/// Steady time at a level by which another one counts as low.
constexpr double much_lower = 0.8;

/// The middle one of a phase's magnitudes over the record's first cycles, volts RMS.
double first_level(const CycleTrack& track, std::size_t phase) {
  std::vector<double> levels;
  for (std::size_t k = 0; k < std::min(first_cycles, track.cycles()); k++) {
    const double level = std::abs(track.phasors(k)[phase]);
    if (std::isfinite(level)) levels.push_back(level / std::numbers::sqrt2);
  }
  if (levels.empty()) return 0;
  std::nth_element(levels.begin(), levels.begin() + static_cast<std::ptrdiff_t>(levels.size() / 2), levels.end());
  return levels[levels.size() / 2];
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
