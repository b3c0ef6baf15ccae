// Describes a voltage dip as people do: its depth, its duration and the phases affected.
#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include "synth/waveform.h"

namespace synth {

/// The phases that dip.
struct Fault {
  int mask = 7;                 ///< 1 = A, 2 = B, 4 = C
  bool between_phases = false;  ///< the two phases approach each other without zero sequence; otherwise each shrinks
};

/// Parses "ABC", "A", "CA", ... for phases that shrink and "B-C" for two that move towards each other. Throws
/// DescriptionError.
Fault parse_fault(const std::string& text);

struct DipDescription {
  double volts = 230;     ///< RMS before the dip
  double frequency = 50;  ///< nominal, hertz
  double deviation = 0;   ///< deviation of the voltage's frequency from nominal, hertz
  double rate = 0;        ///< samples per second; 0: 128 per nominal cycle
  double length = 0;      ///< seconds; 0: until 0.3 s after the dip
  double start = 0.3;     ///< start of the dip, seconds
  // Each list has one entry per step of the dip; a single entry applies to all steps.
  std::string phases = "ABC";             ///< faults as parse_fault takes them, separated by commas
  std::vector<double> durations = {0.2};  ///< seconds
  std::vector<double> depths = {50};      ///< depth of the lowest phase, per cent of the voltage before the dip
  std::vector<double> jumps = {0};        ///< phase jump of the dipped phases, degrees; must be 0 if `between_phases`
  double fall = 0;           ///< duration of the fall before the first step, in seconds; the fall is linear
  double recovery = 0;       ///< duration of the recovery after the last step, in seconds
  double point_on_wave = 0;  ///< angle of phase A's sine at the start of the dip, degrees
  double noise = 0;          ///< standard deviation, per cent of the voltage before the dip
  std::vector<Harmonic> harmonics;
  unsigned seed = 1;  ///< seed of the noise
};

/// Reports an impossible description; the text says which option is wrong and why.
class DescriptionError : public std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// Returns each phase relative to its value before the dip.
Factors factors_of(const Fault& fault, double depth_percent, double jump_degrees);

/// Throws DescriptionError when the lists do not match in length or the dip is impossible.
Waveform waveform_of(const DipDescription& description);

}  // namespace synth
