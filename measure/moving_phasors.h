// Computes the fundamental over one cycle that moves along an excerpt.
#pragma once

#include <optional>

#include "measure/excerpt.h"
#include "measure/window_phasor.h"

namespace measure {

/// Least squares of a fundamental and a constant over windows of one cycle.
class MovingPhasors {
 public:
  explicit MovingPhasors(const Excerpt& excerpt);

  /// Averages in a window.
  [[nodiscard]] std::size_t window() const { return fundamental_.size(); }
  /// Returns the phasors of the window that begins at an average; empty if samples are missing or the excerpt ends.
  [[nodiscard]] std::optional<Phasors> at(std::size_t begin) const;
  /// Time of the middle of that window.
  [[nodiscard]] double time_of(std::size_t begin) const;

 private:
  const Excerpt& excerpt_;
  WindowPhasor fundamental_;
};

}  // namespace measure
