// Decides which of several sets of voltages has the worst event.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "analysis/findings.h"

namespace analysis {

/// The worst event of a set.
struct Worst {
  std::optional<double> residual_percent;  ///< of the deepest dip, per cent of its reference
  double seconds = 0;                      ///< recorded duration of that dip
  std::optional<double> highest_percent;   ///< of the highest swell

  [[nodiscard]] bool any() const { return residual_percent || highest_percent; }
  /// A lower residual voltage is worse, then a longer dip; if there are no dips, a higher swell is worse.
  [[nodiscard]] bool worse_than(const Worst& other) const;
  /// "a dip to 31.2 %".
  [[nodiscard]] std::string words() const;
};

Worst worst_of(const std::vector<measure::Event>& events, const Analysis& analysis);

}  // namespace analysis
