// Divides the course of a waveform into steady runs, gradual runs and the changes between them.
#pragma once

#include <optional>
#include <utility>
#include <vector>

#include "measure/excerpt.h"
#include "measure/partition.h"
#include "measure/phasor_fit.h"

namespace measure {

/// Averages from `begin` to, not including, `end`, and the fundamental that explains them.
struct Stretch {
  std::size_t begin = 0;
  std::size_t end = 0;
  bool linear = false;
  PhasorFit fit;
};

/// A time in which the fundamentals are constant or change gradually in one piece.
struct Run {
  bool gradual = false;
  double begin_s = 0;  ///< end of the change before; of the first run the excerpt's beginning
  double end_s = 0;    ///< beginning of the change after; of the last run the excerpt's end
  bool begins_abruptly = false;
  bool ends_abruptly = false;
  double begin_plus_minus = 0;  ///< uncertainty of these times if the changes are abrupt
  double end_plus_minus = 0;
  /// When the last phase went over to this run; the ringing that may follow is over when it begins.
  double returned_s = 0;
  double returned_plus_minus = 0;
  std::vector<Stretch> stretches;  ///< empty for a ramp that is shorter than a stretch
  /// Of a gradual run that goes from one steady course to another at a constant pace: these courses.
  std::optional<std::pair<PhasorFit, PhasorFit>> ramp;

  [[nodiscard]] double length_s() const { return end_s - begin_s; }
};

/// Turns the pieces of a partition into runs. Fragments too short for a fundamental belong to the changes.
std::vector<Run> runs_of(const Excerpt& excerpt, const std::vector<Piece>& pieces);

}  // namespace measure
