#include "analysis/threshold_rules.h"

#include <fmt/format.h>

#include <algorithm>

namespace analysis {

std::string fault_of(const measure::Thresholds& thresholds) {
  if (thresholds.dip >= thresholds.swell) {
    return fmt::format(
        "--dip-threshold {:g} is not below --swell-threshold {:g}; nearly every voltage would be an event",
        thresholds.dip, thresholds.swell);
  }
  if (thresholds.interruption >= thresholds.dip) {
    return fmt::format(
        "--interruption-threshold {:g} is not below --dip-threshold {:g}; an interruption lies within a dip",
        thresholds.interruption, thresholds.dip);
  }
  if (thresholds.dip + thresholds.hysteresis > 100 || thresholds.swell - thresholds.hysteresis < 100) {
    return fmt::format(
        "--hysteresis {:g} reaches past 100 % from a threshold, so that an event would not end at the reference "
        "voltage; use at most {:g}",
        thresholds.hysteresis, std::min(100 - thresholds.dip, thresholds.swell - 100));
  }
  return {};
}

}  // namespace analysis
