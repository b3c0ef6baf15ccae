#include "readers/voltages/grouping.h"

#include <algorithm>
#include <array>
#include <map>
#include <optional>
#include <string>
#include <utility>

namespace readers {

namespace {

/// Channels that may be part of a set.
using Candidates = std::vector<const NamedChannel*>;

/// One interpretation of a channel: as the given phase of the group whose common name is `rest`.
struct Reading {
  std::size_t channel = 0;
  std::size_t phase = 0;
  std::string rest;
};

constexpr char phase_place = '\x01';  // replaces the phase in a name; names contain no control characters

Reading read_mark(const NamedChannel& channel, const PhaseMark& mark) {
  Reading reading{channel.index, mark.phase, channel.name};
  reading.rest[mark.position] = phase_place;
  return reading;
}

/// Collects the sets that the readings complete, and marks their channels as taken.
class SetCollector {
 public:
  explicit SetCollector(std::size_t channels) : taken_(channels, false) {}

  [[nodiscard]] bool is_taken(std::size_t channel) const { return taken_[channel]; }

  /// Forms sets of channels whose names differ only in the phase. If several sets share a name, the first A belongs to
  /// the first B and C, and so on, provided that there are equally many of each.
  void add_matching(const std::vector<Reading>& readings, PhaseSource source) {
    std::map<std::string, std::array<std::vector<std::size_t>, 3>> groups;
    for (const Reading& reading : readings) {
      if (!is_taken(reading.channel)) groups[reading.rest][reading.phase].push_back(reading.channel);
    }
    std::vector<std::array<std::size_t, 3>> found;
    for (const auto& [rest, phases] : groups) {
      if (phases[0].size() != phases[1].size() || phases[0].size() != phases[2].size()) continue;
      for (std::size_t i = 0; i < phases[0].size(); i++) found.push_back({phases[0][i], phases[1][i], phases[2][i]});
    }
    // If a channel fits into several sets, the one made of its neighbours is the likeliest.
    const auto rank = [](const std::array<std::size_t, 3>& set) {
      const auto [first, last] = std::minmax({set[0], set[1], set[2]});
      return std::pair(last - first, first);
    };
    std::sort(found.begin(), found.end(), [&](const auto& a, const auto& b) { return rank(a) < rank(b); });
    for (const auto& set : found) add(set, source);
  }

  void add(const std::array<std::size_t, 3>& set, PhaseSource source) {
    if (std::any_of(set.begin(), set.end(), [&](std::size_t channel) { return is_taken(channel); })) return;
    for (const std::size_t channel : set) taken_[channel] = true;
    sets_.push_back({});
    sets_.back().channels = set;
    sets_.back().source = source;
  }

  std::vector<VoltageSet> in_file_order() && {
    std::sort(sets_.begin(), sets_.end(), [](const VoltageSet& a, const VoltageSet& b) {
      return *std::min_element(a.channels.begin(), a.channels.end()) <
             *std::min_element(b.channels.begin(), b.channels.end());
    });
    return std::move(sets_);
  }

 private:
  std::vector<bool> taken_;
  std::vector<VoltageSet> sets_;
};

/// Selects channels by unit: only units of voltage; any unit except those of other quantities; or no unit, in which
/// case the name is just a phase.
enum class Units { of_voltage, any, none };

/// Returns the channels that may be phase voltages.
Candidates candidates_in(const NamedChannels& channels, Units units) {
  Candidates candidates;
  for (const NamedChannel& channel : channels) {
    if (channel.field.other || channel.pair || channel.computed) continue;
    if (!channel.volts && (units == Units::of_voltage || channel.of_another_quantity)) continue;
    const bool phase_alone = units == Units::none && !channel.has_unit && channel.name.size() == 1;
    const bool by_unit = channel.has_unit && channel.volts;
    if (by_unit || phase_alone || channel.sounds_like_voltage) candidates.push_back(&channel);
  }
  return candidates;
}

/// Reads phases from the phase fields and removes the part of the name that agrees with them.
std::vector<Reading> readings_by_field(const Candidates& candidates) {
  std::vector<Reading> readings;
  for (const NamedChannel* candidate : candidates) {
    if (!candidate->field.phase) continue;
    readings.push_back({candidate->index, *candidate->field.phase, candidate->name});
    for (const PhaseMark& mark : candidate->marks) {
      if (mark.phase == *candidate->field.phase) readings.push_back(read_mark(*candidate, mark));
    }
  }
  return readings;
}

/// Reads phases from the names and ignores the phase fields, which some programs fill in carelessly.
std::vector<Reading> readings_by_name(const Candidates& candidates, Alphabet alphabet) {
  std::vector<Reading> readings;
  for (const NamedChannel* candidate : candidates) {
    for (const PhaseMark& mark : candidate->marks) {
      if (mark.alphabet == alphabet) readings.push_back(read_mark(*candidate, mark));
    }
  }
  return readings;
}

std::vector<Reading> readings_without_numbers(const Candidates& candidates) {
  std::vector<Reading> readings;
  for (const NamedChannel* candidate : candidates) {
    for (const PhaseMark& mark : candidate->marks) {
      if (mark.alphabet != Alphabet::letters || mark.phase != candidate->field.phase.value_or(mark.phase)) continue;
      readings.push_back(read_mark(*candidate, mark));
      readings.back().rest = without_numbers(readings.back().rest);
    }
  }
  return readings;
}

/// Returns the phase of a channel whose name matches no other channels.
std::optional<std::size_t> lone_phase(const NamedChannel& channel) {
  if (channel.field.phase) return channel.field.phase;
  for (const PhaseMark& mark : channel.marks) {
    if (mark.after_quantity) return mark.phase;
  }
  return std::nullopt;
}

/// Forms sets of channels that follow one another as A, B, C in the file.
void add_consecutive(const Candidates& candidates, SetCollector& collector) {
  std::vector<std::size_t> run;
  for (const NamedChannel* candidate : candidates) {
    const auto phase = lone_phase(*candidate);
    if (!phase || collector.is_taken(candidate->index)) continue;
    if (*phase != run.size()) run.clear();
    if (*phase == run.size()) run.push_back(candidate->index);
    if (run.size() < 3) continue;
    collector.add({run[0], run[1], run[2]}, PhaseSource::order);
    run.clear();
  }
}

/// Reads which voltages are line-to-line voltages, either from their phase fields or from their names.
std::vector<Reading> pair_readings(const NamedChannels& channels, bool by_field) {
  std::vector<Reading> readings;
  for (const NamedChannel& channel : channels) {
    if (!channel.volts || channel.computed) continue;
    if (!channel.has_unit && !channel.pair && !channel.sounds_like_voltage) continue;
    if (by_field ? !channel.field.pair : !channel.pair) continue;
    std::string rest = channel.name;
    if (channel.pair) rest[channel.pair->first] = rest[channel.pair->second] = phase_place;
    readings.push_back({channel.index, by_field ? *channel.field.pair : channel.pair->pair, std::move(rest)});
  }
  return readings;
}

std::vector<VoltageSet> phase_sets(const NamedChannels& channels, Units units) {
  const Candidates candidates = candidates_in(channels, units);
  SetCollector collector(channels.size());
  collector.add_matching(readings_by_field(candidates), PhaseSource::phase_field);
  collector.add_matching(readings_by_name(candidates, Alphabet::letters), PhaseSource::name);
  collector.add_matching(readings_by_name(candidates, Alphabet::other), PhaseSource::name);
  collector.add_matching(readings_without_numbers(candidates), PhaseSource::name);
  add_consecutive(candidates, collector);
  return std::move(collector).in_file_order();
}

/// Marks channels whose name and phase field clearly give different phases, one of which was used to form the set.
void mark_doubtful(const NamedChannels& channels, VoltageSet& set) {
  for (std::size_t phase = 0; phase < 3; phase++) {
    const NamedChannel& channel = channels[set.channels[phase]];
    if (!channel.field.phase) continue;
    bool others = false;
    bool same = false;
    for (const PhaseMark& mark : channel.marks) {
      if (mark.phase == phase) same = true;
      if (mark.phase != phase && mark.after_quantity) others = true;
    }
    set.doubtful[phase] = *channel.field.phase != phase || (others && !same);
  }
}

void mark_turned(const NamedChannels& channels, VoltageSet& set) {
  for (std::size_t phase = 0; phase < 3; phase++) {
    const NamedChannel& channel = channels[set.channels[phase]];
    set.turned[phase] =
        set.source == PhaseSource::phase_field ? channel.field.turned : channel.pair && channel.pair->turned;
  }
}

}  // namespace

std::vector<VoltageSet> grouped_phase_voltages(const NamedChannels& channels) {
  std::vector<VoltageSet> sets = phase_sets(channels, Units::of_voltage);
  if (sets.empty()) {
    sets = phase_sets(channels, Units::any);
    if (sets.empty()) sets = phase_sets(channels, Units::none);
    for (VoltageSet& set : sets) set.unit_guessed = true;
  }
  for (VoltageSet& set : sets) mark_doubtful(channels, set);
  return sets;
}

std::vector<VoltageSet> grouped_line_to_line_voltages(const NamedChannels& channels) {
  SetCollector collector(channels.size());
  collector.add_matching(pair_readings(channels, true), PhaseSource::phase_field);
  collector.add_matching(pair_readings(channels, false), PhaseSource::name);
  std::vector<VoltageSet> sets = std::move(collector).in_file_order();
  for (VoltageSet& set : sets) {
    set.between_phases = true;
    mark_turned(channels, set);
  }
  return sets;
}

}  // namespace readers
