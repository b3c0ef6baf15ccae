#include "readers/voltages/grouping.h"

#include <algorithm>
#include <array>
#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>

namespace readers {

namespace {

/// Channels that may be part of a set.
using Candidates = std::vector<const NamedChannel*>;

constexpr char phase_place = '\x01';  // replaces the phase in a name; names contain no control characters

/// A name in which `phase_place` replaces the character at `place`, if there is one. The name itself is not copied,
/// because a name may have as many places as characters.
struct Rest {
  std::string_view name;
  std::size_t place = std::string_view::npos;
  std::size_t hash = 0;

  /// Returns the part before the place, and the part after it.
  [[nodiscard]] std::string_view head() const { return name.substr(0, place); }
  [[nodiscard]] std::string_view tail() const {
    return place < name.size() ? name.substr(place + 1) : std::string_view();
  }

  friend bool operator==(const Rest& a, const Rest& b) {
    return a.hash == b.hash && a.place == b.place && a.name.size() == b.name.size() && a.head() == b.head() &&
           a.tail() == b.tail();
  }
};

/// Returns whether one name comes before another in the order of their bytes.
bool comes_before(const Rest& a, const Rest& b) {
  if (a.place == b.place) return std::pair(a.head(), a.tail()) < std::pair(b.head(), b.tail());
  const std::size_t common = std::min(a.place, b.place);
  const int heads = a.name.substr(0, common).compare(b.name.substr(0, common));
  // Where one of them has its place, the other ends or has a character, which is larger.
  return heads != 0 ? heads < 0 : a.place < b.place ? b.name.size() > common : a.name.size() <= common;
}

struct HashOfRest {
  std::size_t operator()(const Rest& rest) const { return rest.hash; }
};

/// Makes the rests of one name. The hash is a sum over the characters, so that a rest takes no time in proportion to
/// the name.
class Rests {
 public:
  explicit Rests(std::string_view name) : name_(name) {
    std::size_t weight = 1;
    for (const char c : name) {
      hash_ += code(c) * weight;
      weight *= base;
    }
  }

  [[nodiscard]] Rest whole() const { return {name_, std::string_view::npos, hash_}; }

  /// Returns the rest for a place. Places must be asked for in ascending order.
  Rest at(std::size_t place) {
    for (; reached_ < place; reached_++) weight_ *= base;
    return {name_, place, hash_ + (code(phase_place) - code(name_[place])) * weight_};
  }

 private:
  // Its lower half is used where sizes have 32 bits.
  static constexpr auto base = static_cast<std::size_t>(0x9E3779B97F4A7C15);
  static std::size_t code(char c) { return static_cast<unsigned char>(c); }

  std::string_view name_;
  std::size_t hash_ = 0;
  std::size_t reached_ = 0;
  std::size_t weight_ = 1;  ///< of the character at the place that was reached
};

/// One interpretation of a channel: as the given phase of the group whose common name is `rest`.
struct Reading {
  std::size_t channel = 0;
  std::size_t phase = 0;
  Rest rest;
};

/// Collects the sets that the readings complete, and marks their channels as taken.
class SetCollector {
 public:
  explicit SetCollector(std::size_t channels) : taken_(channels, false) {}

  [[nodiscard]] bool is_taken(std::size_t channel) const { return taken_[channel]; }

  /// Forms sets of channels whose names differ only in the phase. If several sets share a name, the first A belongs to
  /// the first B and C, and so on, provided that there are equally many of each.
  void add_matching(const std::vector<Reading>& readings, PhaseSource source) {
    std::unordered_map<Rest, std::array<std::vector<std::size_t>, 3>, HashOfRest> groups;
    for (const Reading& reading : readings) {
      if (!is_taken(reading.channel)) groups[reading.rest][reading.phase].push_back(reading.channel);
    }
    std::vector<Rest> complete;
    for (const auto& [rest, phases] : groups) {
      if (phases[0].size() == phases[1].size() && phases[0].size() == phases[2].size()) complete.push_back(rest);
    }
    std::sort(complete.begin(), complete.end(), comes_before);
    std::vector<std::array<std::size_t, 3>> found;
    for (const Rest& rest : complete) {
      const auto& phases = groups.at(rest);
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
    Rests rests(candidate->name);
    readings.push_back({candidate->index, *candidate->field.phase, rests.whole()});
    for (const PhaseMark& mark : candidate->marks) {
      if (mark.phase == *candidate->field.phase)
        readings.push_back({candidate->index, mark.phase, rests.at(mark.position)});
    }
  }
  return readings;
}

/// Reads phases from the names and ignores the phase fields, which some programs fill in carelessly.
std::vector<Reading> readings_by_name(const Candidates& candidates, Alphabet alphabet) {
  std::vector<Reading> readings;
  for (const NamedChannel* candidate : candidates) {
    Rests rests(candidate->name);
    for (const PhaseMark& mark : candidate->marks) {
      if (mark.alphabet == alphabet) readings.push_back({candidate->index, mark.phase, rests.at(mark.position)});
    }
  }
  return readings;
}

/// The same, with each run of digits in the names replaced by one '0'. The names are kept in `names`.
std::vector<Reading> readings_without_numbers(const Candidates& candidates, std::deque<std::string>& names) {
  std::vector<Reading> readings;
  for (const NamedChannel* candidate : candidates) {
    std::optional<Rests> rests;
    std::size_t read = 0;   // up to this position of the channel's own name,
    std::size_t place = 0;  // which has this position without numbers
    for (const PhaseMark& mark : candidate->marks) {
      if (mark.alphabet != Alphabet::letters || mark.phase != candidate->field.phase.value_or(mark.phase)) continue;
      if (!rests) rests.emplace(names.emplace_back(without_numbers(candidate->name)));
      place += without_numbers(candidate->name.substr(read, mark.position - read)).size();
      read = mark.position;
      readings.push_back({candidate->index, mark.phase, rests->at(place)});
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

/// Reads which voltages are line-to-line voltages, either from their phase fields or from their names. Names without
/// their phases are kept in `names`.
std::vector<Reading> pair_readings(const NamedChannels& channels, bool by_field, std::deque<std::string>& names) {
  std::vector<Reading> readings;
  for (const NamedChannel& channel : channels) {
    if (!channel.volts || channel.computed) continue;
    if (!channel.has_unit && !channel.pair && !channel.sounds_like_voltage) continue;
    if (by_field ? !channel.field.pair : !channel.pair) continue;
    std::string& rest = names.emplace_back(channel.name);
    if (channel.pair) rest[channel.pair->first] = rest[channel.pair->second] = phase_place;
    readings.push_back({channel.index, by_field ? *channel.field.pair : channel.pair->pair, Rests(rest).whole()});
  }
  return readings;
}

std::vector<VoltageSet> phase_sets(std::size_t channels, const Candidates& candidates) {
  SetCollector collector(channels);
  collector.add_matching(readings_by_field(candidates), PhaseSource::phase_field);
  collector.add_matching(readings_by_name(candidates, Alphabet::letters), PhaseSource::name);
  collector.add_matching(readings_by_name(candidates, Alphabet::other), PhaseSource::name);
  std::deque<std::string> names;
  collector.add_matching(readings_without_numbers(candidates, names), PhaseSource::name);
  add_consecutive(candidates, collector);
  return std::move(collector).in_file_order();
}

/// Returns whether a letter after I gives the phase, as in "ia".
bool is_marked_by_letter(const NamedChannel& channel) {
  return std::any_of(channel.marks.begin(), channel.marks.end(),
                     [](const PhaseMark& mark) { return mark.after_quantity && mark.alphabet == Alphabet::letters; });
}

/// Returns the channels that may be phase currents, with the places at which their names may give the phase of a
/// current.
NamedChannels phase_currents_in(const NamedChannels& channels) {
  NamedChannels currents;
  for (const NamedChannel& channel : channels) {
    if (channel.field.other || channel.computed || !channel.amperes) continue;
    NamedChannel current = channel;
    current.marks = current_marks(current.name);
    // Units are often copied from channel to channel, so a voltage may have the unit A.
    const bool named = sounds_like_current(current.name, current.marks);
    if (named || (channel.has_unit && !channel.sounds_like_voltage)) currents.push_back(std::move(current));
  }
  // Beside IA, IB and IC the digits of I1 and I2 are those of sequences.
  if (std::any_of(currents.begin(), currents.end(), is_marked_by_letter)) {
    for (NamedChannel& current : currents) {
      std::erase_if(current.marks, [](const PhaseMark& mark) { return mark.alphabet == Alphabet::other; });
    }
  }
  return currents;
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
  std::vector<VoltageSet> sets = phase_sets(channels.size(), candidates_in(channels, Units::of_voltage));
  if (sets.empty()) {
    sets = phase_sets(channels.size(), candidates_in(channels, Units::any));
    if (sets.empty()) sets = phase_sets(channels.size(), candidates_in(channels, Units::none));
    for (VoltageSet& set : sets) set.unit_guessed = true;
  }
  for (VoltageSet& set : sets) mark_doubtful(channels, set);
  return sets;
}

std::vector<VoltageSet> grouped_line_to_line_voltages(const NamedChannels& channels) {
  SetCollector collector(channels.size());
  std::deque<std::string> names;
  collector.add_matching(pair_readings(channels, true, names), PhaseSource::phase_field);
  collector.add_matching(pair_readings(channels, false, names), PhaseSource::name);
  std::vector<VoltageSet> sets = std::move(collector).in_file_order();
  for (VoltageSet& set : sets) {
    set.between_phases = true;
    mark_turned(channels, set);
  }
  return sets;
}

std::vector<std::array<std::size_t, 3>> grouped_phase_currents(const NamedChannels& channels) {
  const NamedChannels currents = phase_currents_in(channels);
  Candidates candidates;
  for (const NamedChannel& current : currents) candidates.push_back(&current);
  std::vector<std::array<std::size_t, 3>> sets;
  for (const VoltageSet& set : phase_sets(channels.size(), candidates)) sets.push_back(set.channels);
  return sets;
}

}  // namespace readers
