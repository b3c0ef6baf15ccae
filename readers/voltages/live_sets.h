// Which sets of voltages are worth analysing, by their samples.
#pragma once

#include <vector>

#include "readers/record.h"
#include "readers/voltages/named_channel.h"
#include "readers/voltages/voltage_set.h"

namespace readers {

/// A set is live when none of its phases is flat throughout and the largest is no mere noise beside the record's
/// largest. One phase may well be low: that is what a long dip looks like.
void mark_live(const Record& record, const NamedChannels& channels, std::vector<VoltageSet>& sets);

/// The same, and puts live sets before the others.
void put_live_first(const Record& record, const NamedChannels& channels, std::vector<VoltageSet>& sets);

}  // namespace readers
