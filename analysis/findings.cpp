#include "analysis/findings.h"

#include <stdexcept>

namespace analysis {

ObstacleText describe(Obstacle obstacle) {
  switch (obstacle) {
    case Obstacle::none:
      return {"none", "analysed"};
    case Obstacle::not_recovered:
      return {"not_recovered", "the voltage has not recovered by the end of the analysed stretch"};
    case Obstacle::near_start:
      return {"near_start", "less than four cycles of record lie before it"};
    case Obstacle::near_end:
      return {"near_end", "less than four cycles of record lie behind it"};
    case Obstacle::too_shallow:
      return {"too_shallow", "less than 14 % deep and shorter than five cycles"};
    case Obstacle::unstable:
      return {"unstable", "the RMS fluctuates in more than half of the half-cycles round it"};
    case Obstacle::too_long:
      return {"too_long", "with five cycles on either side it is longer than 3000 cycles"};
    case Obstacle::not_segmented:
      return {"not_segmented", "its segments could not be told apart"};
    case Obstacle::unsteady_before:
      return {"unsteady_before", "the voltage before it is not steady"};
    case Obstacle::not_found_again:
      return {"not_found_again", "against the level just before it, it does not fall below the threshold"};
  }
  throw std::logic_error("an obstacle without a description");
}

}  // namespace analysis
