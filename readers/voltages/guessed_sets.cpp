#include "readers/voltages/guessed_sets.h"

#include <algorithm>
#include <array>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "readers/text.h"

namespace readers {

namespace {

constexpr std::string_view separators = " _-.:/()[]'#";

/// A channel as the given phase of the group with a common name.
struct Member {
  std::string group;
  std::size_t phase = 0;
};

bool has_unit_of_voltage(const NamedChannel& channel) {
  return channel.has_unit && channel.volts && !channel.computed && !channel.sounds_like_current;
}

bool may_be_phase_voltage(const NamedChannel& channel) {
  const bool voltage = has_unit_of_voltage(channel) || (!channel.has_unit && channel.sounds_like_voltage);
  return voltage && !channel.computed && !channel.field.other && !channel.field.pair && !channel.pair;
}

/// Returns the phase that is repeated in a name, and the name without it.
std::optional<Member> repeated_phase(const NamedChannel& channel) {
  if (!may_be_phase_voltage(channel) || channel.marks.size() < 2) return std::nullopt;
  Member member{channel.name, channel.marks.front().phase};
  for (const PhaseMark& mark : channel.marks) {
    if (mark.phase != member.phase) return std::nullopt;
    member.group[mark.position] = '\x01';
  }
  return member;
}

/// Returns the phase that is the whole name.
std::optional<Member> phase_alone(const NamedChannel& channel) {
  constexpr std::size_t longest = 16;
  if (channel.has_unit || channel.name.size() > longest) return std::nullopt;
  std::string name;
  for (const char c : channel.name) {
    if (separators.find(c) == separators.npos) name += c;
  }
  for (const std::string_view quantity : {"phase", "line", "ph", "l"}) {
    if (!name.starts_with(quantity) || name.size() != quantity.size() + 1) continue;
    const PhaseField field = read_phase_field(name.substr(quantity.size()));
    if (field.phase) return Member{std::string(quantity), *field.phase};
  }
  return std::nullopt;
}

/// Returns the number 1, 2 or 3 at the end of a name; other numbers get a phase of their own, which spoils the group.
std::optional<Member> numbered(const NamedChannel& channel) {
  constexpr std::size_t none_of_three = 3;
  if (!has_unit_of_voltage(channel) || channel.field.other || channel.field.pair) return std::nullopt;
  const std::string_view name = channel.name;
  const std::size_t digits = name.find_last_not_of("0123456789") + 1;
  if (digits == 0 || digits == name.size()) return std::nullopt;
  const std::string_view number = name.substr(digits);
  const bool of_three = number.size() == 1 && number[0] >= '1' && number[0] <= '3';
  return Member{std::string(name.substr(0, digits)),
                of_three ? static_cast<std::size_t>(number[0] - '1') : none_of_three};
}

/// Returns the sets that a rule completes, in file order.
template <typename Rule>
std::vector<VoltageSet> sets_by(const NamedChannels& channels, Rule rule, PhaseSource source) {
  std::map<std::string, std::array<std::vector<std::size_t>, 4>> groups;
  for (const NamedChannel& channel : channels) {
    if (const auto member = rule(channel)) groups[member->group][member->phase].push_back(channel.index);
  }
  std::vector<VoltageSet> sets;
  for (const auto& [name, phases] : groups) {
    if (phases[0].size() != 1 || phases[1].size() != 1 || phases[2].size() != 1 || !phases[3].empty()) continue;
    VoltageSet& set = sets.emplace_back();
    set.channels = {phases[0][0], phases[1][0], phases[2][0]};
    set.source = source;
    set.unit_guessed = !channels[phases[0][0]].has_unit;
  }
  std::sort(sets.begin(), sets.end(),
            [](const VoltageSet& one, const VoltageSet& other) { return one.channels < other.channels; });
  return sets;
}

/// Returns whether a name only counts the channels, as in "column 2" or "CH1".
bool only_counts(const NamedChannel& channel) {
  constexpr std::size_t longest = 32;
  if (channel.name.size() > longest) return false;
  std::string word;
  for (const char c : channel.name) {
    if ((c < '0' || c > '9') && separators.find(c) == separators.npos) word += c;
  }
  return is_one_of(word, {"", "column", "col", "ch", "chan", "channel", "kanal", "analog", "ai", "in", "input"});
}

/// Returns whether a name or a phase field gives a phase, but not this one.
bool contradicts(const NamedChannel& channel, std::size_t phase) {
  if (channel.field.phase) return *channel.field.phase != phase;
  bool any = false;
  for (const PhaseMark& mark : channel.marks) {
    if (mark.after_quantity && mark.phase == phase) return false;
    any = any || mark.after_quantity;
  }
  return any;
}

/// Returns the only three voltages of a record as a set.
std::vector<VoltageSet> only_three(const NamedChannels& channels) {
  std::vector<std::size_t> found;
  const bool no_units =
      std::none_of(channels.begin(), channels.end(), [](const NamedChannel& channel) { return channel.has_unit; });
  for (const NamedChannel& channel : channels) {
    const bool no_voltage =
        channel.computed || channel.sounds_like_current || (channel.field.other && !channel.field.pair);
    const bool voltage = no_units ? channel.sounds_like_voltage || (channels.size() == 3 && only_counts(channel))
                                  : has_unit_of_voltage(channel);
    if (voltage && !no_voltage) found.push_back(channel.index);
  }
  const bool pairs = std::any_of(found.begin(), found.end(), [&](std::size_t channel) {
    return channels[channel].pair || channels[channel].field.pair;
  });
  if (found.size() != 3 || pairs) return {};
  for (std::size_t phase = 0; phase < 3; phase++) {
    if (contradicts(channels[found[phase]], phase)) return {};
  }
  VoltageSet set;
  set.channels = {found[0], found[1], found[2]};
  set.source = PhaseSource::only_three;
  set.unit_guessed = no_units;
  return {set};
}

}  // namespace

std::vector<VoltageSet> guessed_phase_voltages(const NamedChannels& channels) {
  std::vector<VoltageSet> sets = sets_by(channels, repeated_phase, PhaseSource::name);
  if (sets.empty()) sets = sets_by(channels, phase_alone, PhaseSource::name);
  if (sets.empty()) sets = sets_by(channels, numbered, PhaseSource::number);
  if (sets.empty()) sets = only_three(channels);
  return sets;
}

}  // namespace readers
