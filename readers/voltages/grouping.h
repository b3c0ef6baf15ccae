// Groups channels into sets of three voltages by what they are called.
#pragma once

#include <vector>

#include "readers/voltages/named_channel.h"
#include "readers/voltages/voltage_set.h"

namespace readers {

/// All complete sets of phase-to-neutral voltages, in file order; whether they are live is left open.
std::vector<VoltageSet> grouped_phase_voltages(const NamedChannels& channels);

/// The same for voltages between phases.
std::vector<VoltageSet> grouped_line_to_line_voltages(const NamedChannels& channels);

}  // namespace readers
