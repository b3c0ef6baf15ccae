// Records whose analysis can be worked out by hand.
#pragma once

#include <algorithm>
#include <cmath>
#include <numbers>
#include <vector>

#include "dipx_dll.h"

namespace tests {

/// Returns samples of one phase of a sine, volts RMS.
inline std::vector<float> sine(double rms, int smp, int samples, double degrees = 0) {
  std::vector<float> wave(static_cast<std::size_t>(samples));
  for (int i = 0; i < samples; i++) {
    const double angle = 2 * std::numbers::pi * i / smp + degrees * std::numbers::pi / 180;
    wave[static_cast<std::size_t>(i)] = static_cast<float>(rms * std::numbers::sqrt2 * std::sin(angle));
  }
  return wave;
}

/// Three phases at a constant voltage, which is the magnitude of a square wave. The one-cycle RMS equals that voltage
/// to the last bit (squares of whole volts and their sums are exact), so crossings and levels need no calculation.
class LevelRecord {
 public:
  LevelRecord(int samples_per_cycle, int samples, float volts)
      : smp(samples_per_cycle), phases{std::vector<float>(static_cast<std::size_t>(samples), volts), {}, {}} {
    phases[1] = phases[2] = phases[0];
  }

  /// Sets phase `phase` to `volts` from sample `from` up to, but not including, `to`.
  LevelRecord& set(int phase, int from, int to, float volts) {
    std::fill(phases[phase].begin() + from, phases[phase].begin() + to, volts);
    return *this;
  }

  [[nodiscard]] int samples() const { return static_cast<int>(phases[0].size()); }

  int smp;
  std::vector<float> phases[3];
};

/// Returns the RMS of a cycle of which `changed` samples are at `after` and the rest at `before`.
inline float mixed_rms(int smp, int changed, float before, float after) {
  const float sum = static_cast<float>(changed) * after * after + static_cast<float>(smp - changed) * before * before;
  return std::sqrt(sum / static_cast<float>(smp));
}

/// Returns the number of samples after a step from `before` down to `after` until the RMS is first below `threshold`.
inline int samples_until_below(int smp, float before, float after, float threshold) {
  int changed = 1;
  while (mixed_rms(smp, changed, before, after) >= threshold) changed++;
  return changed - 1;
}

/// Returns the number of samples after the step back from `during` to `after` until the RMS is at or above `threshold`
/// again.
inline int samples_until_back(int smp, float during, float after, float threshold) {
  int changed = 1;
  while (mixed_rms(smp, changed, during, after) < threshold) changed++;
  return changed - 1;
}

}  // namespace tests
