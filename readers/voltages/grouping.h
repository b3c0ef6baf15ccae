// Groups channels into sets of three voltages or currents by their names.
#pragma once

#include <array>
#include <cstddef>
#include <vector>

#include "readers/voltages/named_channel.h"
#include "readers/voltages/voltage_set.h"

namespace readers {

/// Returns all complete sets of phase-to-neutral voltages in file order; whether they are live is not decided here.
std::vector<VoltageSet> grouped_phase_voltages(const NamedChannels& channels);

/// Does the same for line-to-line voltages.
std::vector<VoltageSet> grouped_line_to_line_voltages(const NamedChannels& channels);

/// Does the same for phase currents, whose names and units are those of currents; channels in the order A, B, C.
std::vector<std::array<std::size_t, 3>> grouped_phase_currents(const NamedChannels& channels);

}  // namespace readers
