#include "analysis/declared_voltage.h"

#include <fmt/format.h>

#include <cmath>
#include <numbers>

namespace analysis {

DeclaredVoltage declared_voltage(const readers::Record& record, Analysis& analysis, double given) {
  const double level = analysis.pre_event_voltage;
  const auto& channel = record.channels[analysis.voltages.channels[0]];
  const double ratio = channel.side == 'S' && channel.secondary > 0 && channel.primary > channel.secondary
                           ? channel.primary / channel.secondary
                           : 1;
  DeclaredVoltage best;
  double least_off = 0;
  for (const double over : {1.0, ratio}) {
    for (const bool line : {analysis.voltages.between_phases, !analysis.voltages.between_phases}) {
      // Between line and phase voltage lies the root of three, this way or that.
      const double other = line ? 1 / std::numbers::sqrt3 : std::numbers::sqrt3;
      const double meant = given / over * (line == analysis.voltages.between_phases ? 1 : other);
      const double off = std::abs(std::log(level / meant));
      if (best.level > 0 && off >= least_off) continue;
      best = {given, line, over != 1, meant};
      least_off = off;
    }
  }
  const double share = level / best.level;
  if (share < 0.7 || share > 1.4) {
    analysis.notes.push_back(
        fmt::format("The pre-event voltage is {:.4g} % of the declared one: check --nominal{}.", 100 * share,
                    channel.side == 'S' ? ", and whether it is meant for the transformers' secondary side" : ""));
  }
  return best;
}

}  // namespace analysis
