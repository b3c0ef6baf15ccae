// Giving the library its input.
#pragma once

#include <array>
#include <cstddef>
#include <vector>

namespace command {

/// The samples of three phases, volts.
using Waveform = std::array<std::vector<float>, 3>;

/// From a first sample to, not including, `end`.
struct Stretch {
  std::size_t begin = 0;
  std::size_t end = 0;

  [[nodiscard]] std::size_t length() const { return end - begin; }
};

/// What one run of the library takes at most.
inline constexpr std::size_t longest_run_cycles = 3000;

/// Makes a stretch of the waveform the library's next input. The waveform must outlive the analysis.
void set_input(Waveform& waveform, int samples_per_cycle, const Stretch& stretch);

}  // namespace command
