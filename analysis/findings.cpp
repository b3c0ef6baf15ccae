#include "analysis/findings.h"

#include <fmt/format.h>

#include <stdexcept>

#include "analysis/embedded/limits.h"
#include "analysis/quantity_text.h"

namespace analysis {

using embedded::cycles_after_recovery;
using embedded::least_depth_percent;
using embedded::longest_run_cycles;
using embedded::shortest_shallow_cycles;
using embedded::window_margin_cycles;

ObstacleText describe(Obstacle obstacle) {
  switch (obstacle) {
    case Obstacle::none:
      return {"none", "analysed"};
    case Obstacle::not_recovered:
      return {"not_recovered", "the voltage has not recovered by the end of the analysed stretch"};
    case Obstacle::near_start:
      return {"near_start",
              fmt::format("less than {} cycles of record lie before it", count_text(window_margin_cycles))};
    case Obstacle::near_end:
      return {"near_end", fmt::format("less than {} cycles of record lie behind it", count_text(window_margin_cycles))};
    case Obstacle::too_shallow:
      return {"too_shallow", fmt::format("less than {:g} % deep and shorter than {} cycles", least_depth_percent,
                                         count_text(shortest_shallow_cycles))};
    case Obstacle::unstable:
      return {"unstable", "the RMS fluctuates in more than half of the half-cycles round it"};
    case Obstacle::too_long:
      return {"too_long", fmt::format("with {} cycles on either side it is longer than {} cycles",
                                      count_text(cycles_after_recovery), longest_run_cycles)};
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
