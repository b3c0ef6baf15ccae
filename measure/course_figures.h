// Computes the figures of a dip's course when its transitions and segments are known.
#pragma once

#include <optional>
#include <vector>

#include "measure/course_items.h"
#include "measure/dip_waveform.h"
#include "measure/findings.h"

namespace measure {

/// A course in units of its excerpt.
struct FoundCourse {
  LevelSource source = LevelSource::before;
  Phasors before{};
  PerPhase before_error{};
  double before_s = 0;  ///< approximate time at which the level before was measured
  bool angles_known = true;
  double flicker = 0;  ///< standard deviation of a one-cycle magnitude, as a share of the level
  double start_s = 0;  ///< beginning of the course, even if the dip's start is not known
  std::optional<double> end_s;
  std::optional<Figure> start;  ///< start and end with their uncertainty
  std::optional<Figure> end;
  PhaseFlags dead{};     ///< phases without voltage before
  PhaseFlags changed{};  ///< the phases of a dip without segments
  bool gradual_start = false;
  bool gradual_end = false;
  std::vector<Item> items;
};

Course figures_of(const DipWaveform& wave, const FoundCourse& found);

}  // namespace measure
