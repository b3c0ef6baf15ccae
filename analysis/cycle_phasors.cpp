#include "analysis/cycle_phasors.h"

#include <numbers>

namespace analysis {

CyclePhasors::CyclePhasors(const Waveform& waveform, int samples_per_cycle)
    : waveform_(waveform),
      rotation_(readers::rotation_of(samples_per_cycle, static_cast<std::size_t>(samples_per_cycle),
                                     std::numbers::sqrt2 / samples_per_cycle)) {}

Phasors CyclePhasors::at(std::size_t begin) const {
  Phasors phasors{};
  for (std::size_t phase = 0; phase < 3; phase++) {
    phasors[phase] = readers::fourier_sum(waveform_[phase], begin, cycle(), rotation_, begin % cycle());
  }
  return phasors;
}

}  // namespace analysis
