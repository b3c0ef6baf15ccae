// Finds the three phase voltages of a record whose channel names do not give them as those of most records do.
#pragma once

#include <vector>

#include "readers/voltages/named_channel.h"
#include "readers/voltages/voltage_set.h"

namespace readers {

/// Returns sets for a record in which no sets were found by phase letters; whether they are live is not decided here.
/// The first of these rules that finds sets is used:
/// - names that repeat the phase and differ in nothing else ("U (a) a", "U (b) b", "U (c) c");
/// - names without a unit that are only a phase ("L1", "Phase b");
/// - names that differ only in a last digit 1, 2 or 3, if there is no fourth ("S1) N1");
/// - the record's only three voltages, or its only three channels if none has a unit and their names only count
///   them ("column 2", "CH1"), in their order in the file, unless a name or phase field gives one of them another
///   phase.
std::vector<VoltageSet> guessed_phase_voltages(const NamedChannels& channels);

}  // namespace readers
