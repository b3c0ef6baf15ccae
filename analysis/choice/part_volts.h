// Converts the samples of three channels to volts.
#pragma once

#include <array>

#include "analysis/choice/noted.h"
#include "readers/record.h"
#include "readers/voltages/parts.h"
#include "readers/voltages/voltage_set.h"

namespace analysis {

struct PartVolts {
  std::array<double, 3> per_unit{};    ///< volts per unit of each channel; negative for a voltage with reversed
                                       ///< polarity
  std::array<bool, 3> unit_assumed{};  ///< the channel's unit is not a unit of voltage, so its values are assumed to be
                                       ///< volts
};

/// If the units lead to voltages that do not occur in any network, the values are assumed to be volts. Throws
/// readers::ReadError for units that are not units of voltage.
Noted<PartVolts> volts_of(const readers::Record& record, const readers::VoltageSet& set, const readers::Part& part);

/// Returns notes on the values that are missing within the part.
Notes notes_on_missing(const readers::Record& record, const readers::VoltageSet& set, const readers::Part& part);

}  // namespace analysis
