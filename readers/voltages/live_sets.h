// Decides from the samples which sets of voltages are worth analysing.
#pragma once

#include <array>
#include <optional>
#include <vector>

#include "readers/record.h"
#include "readers/voltages/named_channel.h"
#include "readers/voltages/parts.h"
#include "readers/voltages/voltage_set.h"

namespace readers {

/// Marks a set as live when none of its phases is constant throughout (RMS values of some phases may be), its values
/// alternate, and its largest voltage is plausible and more than noise compared with the record's largest. A single
/// phase may well be low, because that is what a long dip looks like.
void mark_live(const Record& record, const NamedChannels& channels, std::vector<VoltageSet>& sets);

/// Does the same and moves live sets to the front.
void put_live_first(const Record& record, const NamedChannels& channels, std::vector<VoltageSet>& sets);

/// Returns the largest RMS of a set's voltages in a part of the record, in volts, if they are only noise there; nothing
/// if they are more than that.
std::optional<double> noise_in(const Record& record, const VoltageSet& set, const Part& part,
                               const std::array<double, 3>& volts_per_unit);

}  // namespace readers
