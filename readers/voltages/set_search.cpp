#include "readers/voltages/set_search.h"

#include <algorithm>

#include "readers/voltages/grouping.h"
#include "readers/voltages/guessed_sets.h"
#include "readers/voltages/live_sets.h"

namespace readers {

namespace {

bool is_voltage(const NamedChannel& channel) {
  const bool neutral = channel.field.other && !channel.field.pair;
  if (neutral || channel.computed || channel.sounds_like_current || !channel.volts) return false;
  return channel.has_unit || channel.pair || channel.sounds_like_voltage;
}

/// Whether a channel is named as the voltage between the phases that come at this place: AB, BC, CA.
bool is_pair(const NamedChannel& channel, std::size_t place) {
  return channel.field.pair ? *channel.field.pair == place : channel.pair && channel.pair->pair == place;
}

/// Marks voltages that are named as line-to-line voltages, and those of them that are named the other way round.
void mark_pairs(const std::vector<const NamedChannel*>& voltages, VoltageSet& set) {
  const NamedChannel& first = *voltages[0];
  const bool only_one = set.count == 1 && (first.field.pair || first.pair);
  set.between_phases = only_one || (set.count == 2 && is_pair(first, 0) && is_pair(*voltages[1], 1));
  for (std::size_t phase = 0; phase < set.count; phase++) {
    const NamedChannel& channel = *voltages[phase];
    set.turned[phase] = channel.field.pair ? channel.field.turned : channel.pair && channel.pair->turned;
  }
}

}  // namespace

std::vector<VoltageSet> find_voltage_sets(const Record& record) {
  return find_voltage_sets(record, named_channels(record));
}

std::vector<VoltageSet> find_voltage_sets(const Record& record, const NamedChannels& channels) {
  std::vector<VoltageSet> sets = grouped_phase_voltages(channels);
  if (sets.empty() && grouped_line_to_line_voltages(channels).empty()) sets = guessed_phase_voltages(channels);
  put_live_first(record, channels, sets);
  return sets;
}

std::vector<VoltageSet> find_line_to_line_sets(const Record& record) {
  return find_line_to_line_sets(record, named_channels(record));
}

std::vector<VoltageSet> find_line_to_line_sets(const Record& record, const NamedChannels& channels) {
  std::vector<VoltageSet> sets = grouped_line_to_line_voltages(channels);
  put_live_first(record, channels, sets);
  return sets;
}

std::optional<VoltageSet> find_few_voltages(const Record& record) {
  return find_few_voltages(record, named_channels(record));
}

std::optional<VoltageSet> find_few_voltages(const Record& record, const NamedChannels& channels) {
  std::vector<const NamedChannel*> voltages;
  for (const NamedChannel& channel : channels) {
    if (is_voltage(channel)) voltages.push_back(&channel);
  }
  if (voltages.empty() || voltages.size() > 2) return std::nullopt;
  std::vector<VoltageSet> sets(1);
  VoltageSet& set = sets[0];
  set.count = voltages.size();
  for (std::size_t i = 0; i < 3; i++) set.channels[i] = voltages[std::min(i, set.count - 1)]->index;
  mark_pairs(voltages, set);
  mark_live(record, channels, sets);
  return set;
}

}  // namespace readers
