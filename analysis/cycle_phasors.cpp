#include "analysis/cycle_phasors.h"

#include <numbers>

namespace analysis {

CyclePhasors::CyclePhasors(const Waveform& waveform, int samples_per_cycle) : waveform_(waveform) {
  for (int i = 0; i < samples_per_cycle; i++) {
    const double angle = -2 * std::numbers::pi * i / samples_per_cycle;
    rotation_.push_back(std::polar(std::numbers::sqrt2 / samples_per_cycle, angle));
  }
}

Phasors CyclePhasors::at(std::size_t begin) const {
  Phasors sums{};
  for (std::size_t phase = 0; phase < 3; phase++) {
    std::size_t turn = begin % cycle();
    for (std::size_t i = begin; i < begin + cycle(); i++) {
      sums[phase] += static_cast<double>(waveform_[phase][i]) * rotation_[turn];
      if (++turn == cycle()) turn = 0;
    }
  }
  return sums;
}

}  // namespace analysis
