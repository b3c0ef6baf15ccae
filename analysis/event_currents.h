// The currents in the bay of the analysed voltages, and their size before and during each event.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <vector>

#include "analysis/analysed_voltages.h"
#include "measure/measure.h"
#include "readers/record.h"
#include "readers/voltages/bay_currents.h"

namespace analysis {

/// The phase currents and, as the fourth one, the residual current.
inline constexpr std::size_t most_currents = 4;

/// One figure per current, amperes; nothing if no whole cycle without missing samples is there.
using PerCurrent = std::array<std::optional<double>, most_currents>;

/// The largest RMS over one cycle of each current.
struct EventCurrents {
  PerCurrent before_a;  ///< between the previous event, or the beginning of the part, and this event
  PerCurrent during_a;  ///< from the start of the event to its end
};

struct Currents {
  readers::BayCurrents bay;
  std::vector<EventCurrents> events;  ///< one entry for each event found

  /// Returns the number of currents: three, or four with the residual current.
  [[nodiscard]] std::size_t count() const { return bay.set.residual ? most_currents : most_currents - 1; }
  /// Returns a current's index among the record's channels.
  [[nodiscard]] std::size_t channel(std::size_t current) const {
    return current < bay.set.phases.size() ? bay.set.phases[current] : *bay.set.residual;
  }
};

/// Measures the currents of a bay. Their samples must have been read. The cycle is that of the measured frequency; the
/// samples of RMS records are RMS values already.
Currents measured_currents(const readers::Record& record, const AnalysedVoltages& voltages,
                           const measure::Findings& found, const readers::BayCurrents& bay);

}  // namespace analysis
