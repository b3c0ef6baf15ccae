// Finds the three phase voltages among a record's channels, by phase letter and unit.
#pragma once

#include <optional>
#include <vector>

#include "readers/record.h"
#include "readers/voltages/named_channel.h"
#include "readers/voltages/voltage_set.h"

namespace readers {

/// Returns all complete sets of phase-to-neutral voltages, live ones first, otherwise in file order; empty when the
/// record has none. Channels belong together if their names differ only in the phase; the remaining ones form sets if
/// they follow one another as A, B, C. Line-to-line, neutral and zero-sequence voltages and computed phasor quantities
/// are left out. If no channel has a unit of voltage, channels that are named as voltages are used; if there are none
/// of those either, channels without a unit whose names are just a phase are used. In a record without any such set,
/// sets are guessed (guessed_sets.h).
std::vector<VoltageSet> find_voltage_sets(const Record& record);
std::vector<VoltageSet> find_voltage_sets(const Record& record, const NamedChannels& channels);

/// Returns all complete sets of line-to-line voltages (Uab, Ubc, Uca; V12, V23, V31; ...), in the same order.
std::vector<VoltageSet> find_line_to_line_sets(const Record& record);
std::vector<VoltageSet> find_line_to_line_sets(const Record& record, const NamedChannels& channels);

/// Returns the only one or two voltages of a record, in file order; nothing if it has none or more than two. A voltage
/// has a unit of voltage, or no unit and a name that is one of voltages; neutral voltages, computed quantities and what
/// is named as a current are none. They count as line-to-line voltages where the names say so of one, or of the first
/// two of three (AB and BC, in this order), so that the third can be computed.
std::optional<VoltageSet> find_few_voltages(const Record& record);
std::optional<VoltageSet> find_few_voltages(const Record& record, const NamedChannels& channels);

}  // namespace readers
