// Waveforms whose voltages are known at every instant.
#pragma once

#include <cmath>
#include <complex>
#include <cstddef>
#include <limits>
#include <numbers>
#include <random>
#include <utility>
#include <vector>

#include "measure/findings.h"
#include "measure/waveform.h"

namespace tests {

inline constexpr double pi = std::numbers::pi;

/// A phasor of so many volts RMS at an angle in degrees, against a cosine that begins at the first sample.
inline measure::Phasor phasor(double rms, double degrees) {
  return std::polar(rms, degrees * pi / 180);
}

/// Three equal voltages that follow each other as A, B, C.
inline measure::Phasors balanced(double rms, double degrees = 0) {
  return {phasor(rms, degrees), phasor(rms, degrees - 120), phasor(rms, degrees + 120)};
}

inline double degrees_of(const measure::Phasor& phasor) {
  return std::arg(phasor) * 180 / pi;
}

/// The voltage of a phasor at a time.
inline double turning(const measure::Phasor& rms, double hertz, double seconds) {
  return std::numbers::sqrt2 * std::real(rms * std::polar(1.0, 2 * pi * hertz * seconds));
}

/// Samples, and the waveform that refers to them.
class MadeWaveform {
 public:
  MadeWaveform(double rate, double seconds, double line_frequency, std::size_t phases)
      : samples_(phases, std::vector<double>(static_cast<std::size_t>(std::lround(rate * seconds)))) {
    waveform_.rate = rate;
    waveform_.line_frequency = line_frequency;
    for (const auto& samples : samples_) waveform_.phases.push_back({samples});
  }
  MadeWaveform(MadeWaveform&&) = default;  // the samples stay where they are

  /// Adds a voltage, which is a function of the time in seconds, to a phase.
  template <typename Voltage>
  MadeWaveform& add(std::size_t phase, Voltage voltage) {
    for (std::size_t i = 0; i < samples_[phase].size(); i++) {
      samples_[phase][i] += voltage(static_cast<double>(i) / waveform_.rate);
    }
    return *this;
  }

  /// Adds white noise, evenly spread between -peak and peak volts, to all phases; it is the same on every machine.
  MadeWaveform& add_noise(double peak) {
    std::mt19937 random(1);
    constexpr double half = 2147483648.0;
    for (auto& samples : samples_) {
      for (double& sample : samples) sample += peak * (static_cast<double>(random()) / half - 1);
    }
    return *this;
  }

  /// Makes the samples of a phase missing from a time up to another.
  MadeWaveform& lose(std::size_t phase, double from_s, double to_s) {
    for (std::size_t i = 0; i < samples_[phase].size(); i++) {
      const double seconds = static_cast<double>(i) / waveform_.rate;
      if (seconds >= from_s && seconds < to_s) samples_[phase][i] = std::numeric_limits<double>::quiet_NaN();
    }
    return *this;
  }

  [[nodiscard]] const measure::Waveform& waveform() const { return waveform_; }
  [[nodiscard]] double sample(std::size_t phase, std::size_t index) const { return samples_[phase][index]; }

 private:
  std::vector<std::vector<double>> samples_;
  measure::Waveform waveform_;
};

/// The voltages from a time until the next stage begins.
struct Stage {
  double from_s = 0;
  measure::Phasors rms{};
};

/// Describes how a waveform is sampled, and its frequency.
struct Sampling {
  double rate = 6400;
  double hertz = 50;
  std::size_t phases = 3;
};

/// Makes voltages that change at once when a stage begins.
inline MadeWaveform staged(const std::vector<Stage>& stages, double seconds, const Sampling& sampling = {}) {
  MadeWaveform made(sampling.rate, seconds, sampling.hertz < 55 ? 50 : 60, sampling.phases);
  for (std::size_t phase = 0; phase < sampling.phases; phase++) {
    made.add(phase, [&](double t) {
      std::size_t stage = 0;
      while (stage + 1 < stages.size() && t >= stages[stage + 1].from_s) stage++;
      return turning(stages[stage].rms[phase], sampling.hertz, t);
    });
  }
  return made;
}

/// Voltages that go from one state to another at a constant pace between two times.
inline MadeWaveform ramped(const measure::Phasors& before, const measure::Phasors& after, double from_s, double to_s,
                           double seconds, const Sampling& sampling = {}) {
  MadeWaveform made(sampling.rate, seconds, sampling.hertz < 55 ? 50 : 60, sampling.phases);
  for (std::size_t phase = 0; phase < sampling.phases; phase++) {
    made.add(phase, [&](double t) {
      const double share = t <= from_s ? 0 : t >= to_s ? 1 : (t - from_s) / (to_s - from_s);
      return turning(before[phase] + share * (after[phase] - before[phase]), sampling.hertz, t);
    });
  }
  return made;
}

}  // namespace tests
