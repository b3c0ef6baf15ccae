// Finds the three phase voltages among a record's channels, by phase letter and unit.
#pragma once

#include <vector>

#include "readers/record.h"
#include "readers/voltages/named_channel.h"
#include "readers/voltages/voltage_set.h"

namespace readers {

/// Returns all complete sets of phase-to-neutral voltages, live ones first, otherwise in file order; empty when the
/// record has none. Channels belong together if their names differ only in the phase; the remaining ones form sets if
/// they follow one another as A, B, C. Line-to-line, neutral and zero-sequence voltages and computed phasor quantities
/// are left out. If no channel has a unit of voltage, channels that are named as voltages are used; if there are none
/// of those either, channels without a unit whose names are just a phase are used.
std::vector<VoltageSet> find_voltage_sets(const Record& record);
std::vector<VoltageSet> find_voltage_sets(const Record& record, const NamedChannels& channels);

/// Returns all complete sets of line-to-line voltages (Uab, Ubc, Uca; V12, V23, V31; ...), in the same order.
std::vector<VoltageSet> find_line_to_line_sets(const Record& record);
std::vector<VoltageSet> find_line_to_line_sets(const Record& record, const NamedChannels& channels);

}  // namespace readers
