#include "readers/voltages/channel_choice.h"

#include <fmt/format.h>

#include <algorithm>
#include <set>
#include <string_view>
#include <vector>

#include "readers/text.h"
#include "readers/voltages/live_sets.h"
#include "readers/voltages/set_search.h"

namespace readers {

namespace {

[[noreturn]] void refuse_names(const Record& record, const std::string& cause) {
  throw ReadError(record.file, "", cause,
                  "choose one to three of the channels by name or number: " + channel_list(record));
}

/// Returns whether `text` names the channel; in tables the unit may follow the name.
bool is_named(const Channel& channel, std::string_view text) {
  return text == channel.name || (!channel.unit.empty() && (text == channel.name + "_" + channel.unit ||
                                                            text == channel.name + " [" + channel.unit + "]" ||
                                                            text == channel.name + " (" + channel.unit + ")"));
}

std::size_t channel_named(const Record& record, std::string_view text) {
  std::vector<std::size_t> exact;
  std::vector<std::size_t> in_any_case;
  const std::string small = lower_case(text);
  for (std::size_t i = 0; i < record.channels.size(); i++) {
    const Channel& channel = record.channels[i];
    if (is_named(channel, text)) exact.push_back(i);
    if (channel.name.size() == small.size() && lower_case(channel.name) == small) in_any_case.push_back(i);
  }
  const std::vector<std::size_t>& found = exact.empty() ? in_any_case : exact;
  if (found.size() == 1) return found[0];
  if (found.size() > 1) {
    refuse_names(record, fmt::format("{} channels have the name {}", found.size(), cited(text)));
  }
  const auto number = parse_count(text);
  if (number && *number >= 1 && *number <= record.channels.size()) return *number - 1;
  refuse_names(record, "there is no channel " + cited(text));
}

}  // namespace

std::string channel_list(const Record& record) {
  constexpr std::size_t most = 100;
  const std::size_t listed = std::min(record.channels.size(), most);
  std::string list;
  for (std::size_t i = 0; i < listed; i++) {
    const Channel& channel = record.channels[i];
    list += fmt::format("{}{} {}", i > 0 ? ", " : "", i + 1, shortened(channel.name));
    if (!channel.unit.empty()) list += fmt::format(" [{}]", shortened(channel.unit));
  }
  if (listed < record.channels.size()) list += fmt::format(" and {} more", record.channels.size() - listed);
  return list;
}

std::vector<std::size_t> channels_named(const Record& record, const std::string& names) {
  std::vector<std::size_t> channels;
  for (const std::string_view name : split_fields(names, ',')) channels.push_back(channel_named(record, name));
  return channels;
}

VoltageSet named_voltage_set(const Record& record, const std::string& names) {
  const std::vector<std::string_view> parts = split_fields(names, ',');
  if (parts.size() > 3) {
    refuse_names(record, "one to three channels separated by commas are needed, not " + cited(names));
  }
  VoltageSet set;
  set.count = parts.size();
  for (std::size_t i = 0; i < 3; i++) set.channels[i] = channel_named(record, parts[std::min(i, set.count - 1)]);
  set.source = PhaseSource::user;
  const NamedChannels channels = named_channels(record);
  const auto pairs = find_line_to_line_sets(record, channels);
  const auto is_between_phases = [&](std::size_t channel) {
    return std::any_of(pairs.begin(), pairs.end(), [&](const VoltageSet& pair) {
      return std::find(pair.channels.begin(), pair.channels.end(), channel) != pair.channels.end();
    });
  };
  set.between_phases = std::all_of(set.channels.begin(), set.channels.end(), is_between_phases);
  for (std::size_t phase = 0; phase < 3; phase++) {
    for (const VoltageSet& pair : pairs) {
      const auto at = std::find(pair.channels.begin(), pair.channels.end(), set.channels[phase]);
      if (at != pair.channels.end())
        set.turned[phase] = pair.turned[static_cast<std::size_t>(at - pair.channels.begin())];
    }
  }
  const std::set<std::size_t> different(set.channels.begin(), set.channels.end());
  if (different.size() != set.count) refuse_names(record, cited(names) + " names a channel twice");

  std::vector<VoltageSet> sets = find_voltage_sets(record, channels);
  sets.push_back(set);
  mark_live(record, channels, sets);
  return sets.back();
}

}  // namespace readers
