// The voltages between phases of a record whose neutral is displaced.
#pragma once

#include <cstddef>
#include <vector>

#include "measure/findings.h"

namespace analysis {

/// What the voltages between phases AB, BC and CA show while an earth fault displaces the neutral. In a network that is
/// not solidly earthed one phase then falls and the two others rise, and loads between phases are not affected.
struct LineVoltages {
  std::vector<measure::Event> events;  ///< by the options of the analysis, without courses
  measure::PerPhase reference_v{};     ///< of AB, BC and CA, volts
  measure::PerPhase lowest_v{};        ///< lowest Urms(1/2) of each, volts

  /// Returns the lowest voltage of one pair of phases, or of all, in per cent of its reference.
  [[nodiscard]] double lowest_percent(std::size_t pair) const { return 100 * lowest_v[pair] / reference_v[pair]; }
  [[nodiscard]] double lowest_percent() const;
};

}  // namespace analysis
