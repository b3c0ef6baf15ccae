// The samples of three channels over a part of the record, in volts.
#pragma once

#include <array>

#include "analysis/choice/noted.h"
#include "analysis/waveform.h"
#include "readers/record.h"
#include "readers/voltages/parts.h"
#include "readers/voltages/voltage_set.h"

namespace analysis {

struct PartVolts {
  Waveform waveform;
  std::array<bool, 3> unit_assumed{};  ///< the channel's unit is none of voltage; its values are taken for volts
};

/// Gaps are bridged, and voltages that are named the other way round are turned. Where the units make voltages that no
/// grid has, the values are taken for volts. Throws readers::ReadError for units that are no voltage.
Noted<PartVolts> volts_of(const readers::Record& record, const readers::VoltageSet& set, const readers::Part& part);

}  // namespace analysis
