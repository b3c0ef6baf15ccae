// Measures the line's frequency around an event.
#pragma once

#include <optional>

#include "measure/cycle_track.h"

namespace measure {

/// Result of a regression of the angle over steady cycles.
struct FrequencyRound {
  double hertz = 0;  ///< by the cycles before and after, with one slope
  double plus_minus = 0;
  std::optional<double> before;  ///< by the cycles before alone; none with fewer than three
  std::optional<double> after;
};

/// `end_s`: infinity if the event continues past the record's end. `rotation`: that of the phases, see `Wiring`.
FrequencyRound frequency_round(const CycleTrack& track, const Phasors& rotation, std::size_t phases, double start_s,
                               double end_s);

}  // namespace measure
