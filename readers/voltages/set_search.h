// Finds the three phase voltages among a record's channels, by phase letter and unit.
#pragma once

#include <vector>

#include "readers/record.h"
#include "readers/voltages/named_channel.h"
#include "readers/voltages/voltage_set.h"

namespace readers {

/// All complete sets of phase-to-neutral voltages, live ones first, otherwise in file order. Empty when the record has
/// none. Channels belong together that are named alike but for the phase; those left then make sets where they follow
/// each other as A, B, C. Voltages between phases, neutral and zero-sequence voltages and computed phasor figures are
/// left out. Where no channel has a unit of voltage, those count that are named as voltages are, and where there are
/// none either, those without a unit whose names are phases and nothing else.
std::vector<VoltageSet> find_voltage_sets(const Record& record);
std::vector<VoltageSet> find_voltage_sets(const Record& record, const NamedChannels& channels);

/// All complete sets of voltages between phases (Uab, Ubc, Uca; V12, V23, V31; ...), in the same order.
std::vector<VoltageSet> find_line_to_line_sets(const Record& record);
std::vector<VoltageSet> find_line_to_line_sets(const Record& record, const NamedChannels& channels);

}  // namespace readers
