#include "assess/curve.h"

#include <algorithm>

namespace assess {

const CurveStep* step_at(const CurveSteps& steps, double seconds) {
  const auto at =
      std::find_if(steps.begin(), steps.end(), [&](const CurveStep& step) { return seconds <= step.seconds; });
  return at == steps.end() ? nullptr : &*at;
}

}  // namespace assess
