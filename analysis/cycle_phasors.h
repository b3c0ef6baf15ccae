// The fundamental of whole cycles.
#pragma once

#include <array>
#include <complex>
#include <cstddef>

#include "analysis/waveform.h"
#include "readers/voltages/fourier.h"

namespace analysis {

/// One for each phase; magnitude RMS.
using Phasors = std::array<std::complex<double>, 3>;

/// Phasors of a waveform against a rotation of one turn per cycle that began at its first sample. The waveform must
/// outlive this.
class CyclePhasors {
 public:
  CyclePhasors(const Waveform& waveform, int samples_per_cycle);

  /// Over the cycle that begins at a sample.
  [[nodiscard]] Phasors at(std::size_t begin) const;

  [[nodiscard]] std::size_t cycle() const { return rotation_.size(); }

 private:
  const Waveform& waveform_;
  readers::Rotation rotation_;  ///< of a cycle, scaled such that a sum is an RMS phasor
};

}  // namespace analysis
