// Three phase voltages made from what happens to them.
#pragma once

#include <array>
#include <complex>
#include <cstddef>
#include <vector>

#include "readers/record.h"

namespace synth {

using Phasor = std::complex<double>;

/// What each phase (A, B, C) is multiplied by against its undisturbed voltage.
using Factors = std::array<Phasor, 3>;
inline constexpr Factors undisturbed = {1, 1, 1};

/// A phasor by its magnitude and its angle in degrees.
Phasor phasor(double magnitude, double degrees);

/// A stretch of time with factors of its own, which go from `first` to `last` in a straight line.
struct Stage {
  double begin = 0;  ///< seconds from the first sample
  double end = 0;    ///< seconds; the sample that falls on it is no more part of the stage
  Factors first = undisturbed;
  Factors last = first;
};

struct Harmonic {
  int order = 0;     ///< 2 and up
  double share = 0;  ///< of the fundamental
};

struct Waveform {
  double volts = 230;             ///< RMS, phase to neutral
  double frequency = 50;          ///< hertz, of the voltage
  double nominal_frequency = 50;  ///< hertz, what a record states
  double rate = 6400;             ///< samples per second
  std::size_t length = 0;         ///< samples
  double degrees = 0;             ///< angle of phase A's sine at the first sample
  std::vector<Stage> stages;      ///< where they overlap, the last counts
  std::vector<Harmonic> harmonics;
  double noise = 0;   ///< standard deviation of normally distributed noise, volts
  unsigned seed = 1;  ///< of the noise
};

/// The waveform's samples as a record with the channels Ua, Ub and Uc in volts.
readers::Record record_of(const Waveform& waveform);

}  // namespace synth
