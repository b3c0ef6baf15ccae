// How the samples of three channels become volts.
#pragma once

#include <array>

#include "analysis/choice/noted.h"
#include "readers/record.h"
#include "readers/voltages/parts.h"
#include "readers/voltages/voltage_set.h"

namespace analysis {

struct PartVolts {
  std::array<double, 3> per_unit{};    ///< volts that one of a channel's units is; negative for a turned voltage
  std::array<bool, 3> unit_assumed{};  ///< the channel's unit is none of voltage; its values are taken for volts
};

/// Where the units make voltages that no grid has, the values are taken for volts. Throws readers::ReadError for units
/// that are no voltage.
Noted<PartVolts> volts_of(const readers::Record& record, const readers::VoltageSet& set, const readers::Part& part);

/// Says which values are missing within the part.
Notes notes_on_missing(const readers::Record& record, const readers::VoltageSet& set, const readers::Part& part);

}  // namespace analysis
