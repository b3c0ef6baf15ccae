// A voltage dip as people describe it: how deep, how long, in which phases.
#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include "synth/waveform.h"

namespace synth {

/// Phases that dip.
struct Fault {
  int mask = 7;                 ///< 1 = A, 2 = B, 4 = C
  bool between_phases = false;  ///< the two move towards each other, without zero sequence; otherwise each shrinks
};

/// "ABC", "A", "CA", ... for phases that shrink, "B-C" for two that move towards each other. Throws DescriptionError.
Fault parse_fault(const std::string& text);

struct DipDescription {
  double volts = 230;     ///< RMS before the dip
  double frequency = 50;  ///< nominal, hertz
  double deviation = 0;   ///< of the voltage's frequency from it, hertz
  double rate = 0;        ///< samples per second; 0: 128 per nominal cycle
  double length = 0;      ///< seconds; 0: until 0.3 s behind the dip
  double start = 0.3;     ///< of the dip, seconds
  // One entry per step of the dip; a single entry stands for all steps.
  std::string phases = "ABC";             ///< faults as parse_fault takes them, separated by commas
  std::vector<double> durations = {0.2};  ///< seconds
  std::vector<double> depths = {50};      ///< of the lowest phase, per cent of the voltage before
  std::vector<double> jumps = {0};        ///< of the dipped phases, degrees; none between phases
  double fall = 0;           ///< seconds that it takes to fall, in a straight line, ahead of the first step
  double recovery = 0;       ///< and to recover, behind the last one
  double point_on_wave = 0;  ///< of phase A's sine at the start of the dip, degrees
  double noise = 0;          ///< standard deviation, per cent of the voltage before
  std::vector<Harmonic> harmonics;
  unsigned seed = 1;  ///< of the noise
};

/// What cannot be; the text says which option and why.
class DescriptionError : public std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// Each phase against what it is before the dip.
Factors factors_of(const Fault& fault, double depth_percent, double jump_degrees);

/// Throws DescriptionError when lists do not fit each other or the dip cannot be.
Waveform waveform_of(const DipDescription& description);

}  // namespace synth
