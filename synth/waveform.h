// Generates three phase voltages from a description of their changes.
#pragma once

#include <array>
#include <complex>
#include <cstddef>
#include <vector>

#include "readers/record.h"

namespace synth {

using Phasor = std::complex<double>;

/// The factors by which the phases A, B and C are multiplied relative to their undisturbed voltages.
using Factors = std::array<Phasor, 3>;
inline constexpr Factors undisturbed = {1, 1, 1};

/// Returns the phasor of the given magnitude and angle in degrees.
Phasor phasor(double magnitude, double degrees);

/// A time interval with its own factors, which change linearly from `first` to `last`.
struct Stage {
  double begin = 0;  ///< seconds from the first sample
  double end = 0;    ///< seconds; a sample exactly at this time is no longer part of the stage
  Factors first = undisturbed;
  Factors last = first;
};

struct Harmonic {
  int order = 0;     ///< 2 and up
  double share = 0;  ///< share of the fundamental
};

struct Waveform {
  double volts = 230;             ///< RMS, phase to neutral
  double frequency = 50;          ///< frequency of the voltage, hertz
  double nominal_frequency = 50;  ///< frequency that a record states, hertz
  double rate = 6400;             ///< samples per second
  std::size_t length = 0;         ///< samples
  double degrees = 0;             ///< angle of phase A's sine at the first sample
  std::vector<Stage> stages;      ///< where stages overlap, the last one applies
  std::vector<Harmonic> harmonics;
  double noise = 0;   ///< standard deviation of normally distributed noise, volts
  unsigned seed = 1;  ///< seed of the noise
};

/// Returns the waveform's samples as a record with the channels Ua, Ub and Uc in volts.
readers::Record record_of(const Waveform& waveform);

}  // namespace synth
