// The line's frequency round an event.
#pragma once

#include <optional>

#include "measure/cycle_track.h"

namespace measure {

/// By regression of an angle over steady cycles.
struct FrequencyRound {
  double hertz = 0;  ///< by the cycles before and after, with one slope
  double plus_minus = 0;
  std::optional<double> before;  ///< by the cycles before alone; none with fewer than three
  std::optional<double> after;
};

/// `end_s`: infinite where the event goes on at the record's end. `rotation`: of the phases, see `Wiring`.
FrequencyRound frequency_round(const CycleTrack& track, const Phasors& rotation, std::size_t phases, double start_s,
                               double end_s);

}  // namespace measure
