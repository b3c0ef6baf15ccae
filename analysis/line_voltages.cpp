#include "analysis/line_voltages.h"

#include <algorithm>
#include <cstddef>
#include <limits>

namespace analysis {

double LineVoltages::lowest_percent() const {
  double lowest = std::numeric_limits<double>::infinity();
  for (std::size_t pair = 0; pair < 3; pair++) lowest = std::min(lowest, lowest_percent(pair));
  return lowest;
}

}  // namespace analysis
