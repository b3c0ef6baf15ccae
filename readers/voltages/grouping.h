// Groups channels into sets of three voltages by their names.
#pragma once

#include <vector>

#include "readers/voltages/named_channel.h"
#include "readers/voltages/voltage_set.h"

namespace readers {

/// Returns all complete sets of phase-to-neutral voltages in file order; whether they are live is not decided here.
std::vector<VoltageSet> grouped_phase_voltages(const NamedChannels& channels);

/// Does the same for line-to-line voltages.
std::vector<VoltageSet> grouped_line_to_line_voltages(const NamedChannels& channels);

}  // namespace readers
