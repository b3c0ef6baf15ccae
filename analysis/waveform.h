// Samples of three phases, and stretches of them.
#pragma once

#include <array>
#include <cstddef>
#include <vector>

namespace analysis {

/// The samples of three phases, volts.
using Waveform = std::array<std::vector<float>, 3>;

/// From a first sample to, not including, `end`.
struct Stretch {
  std::size_t begin = 0;
  std::size_t end = 0;

  [[nodiscard]] std::size_t length() const { return end - begin; }
};

}  // namespace analysis
