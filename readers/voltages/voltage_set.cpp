#include "readers/voltages/voltage_set.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <limits>
#include <map>
#include <numbers>
#include <optional>
#include <string_view>
#include <utility>

#include "readers/text.h"
#include "readers/voltages/parts.h"

namespace readers {
namespace {

constexpr std::string_view separators = " _-.:/()[]'#";

bool is_letter(char c) {
  return c >= 'a' && c <= 'z';
}  // names are in lower case by then
bool is_digit(char c) {
  return c >= '0' && c <= '9';
}

bool is_finite_single(double value) {
  return std::abs(value) <= static_cast<double>(std::numeric_limits<float>::max());
}

// --- units -----------------------------------------------------------------------------------------------------------

/// Volts in one `unit`; nothing for a unit that is no voltage. No unit counts as volts.
std::optional<double> volts_per(const std::string& unit) {
  const std::string_view text = trimmed(unit);
  const std::string small = lower_case(text);
  if (is_one_of(small, {"", "v", "volt", "volts"})) return 1;
  if (is_one_of(small, {"kv", "kilovolt", "kilovolts"})) return 1e3;
  if (small == "mv") return text[0] == 'm' ? 1e-3 : 1e6;  // milli or mega: here the letter's case is the meaning
  // Russian devices; "В/кВ" is secondary volts and primary kilovolts, and the samples are secondary.
  if (is_one_of(text, {"В", "в", "В/кВ", "В/к", "V/kV"})) return 1;
  if (is_one_of(text, {"кВ", "КВ", "кв"})) return 1e3;
  if (text == "мВ") return 1e-3;
  return std::nullopt;
}

/// Whether a unit is surely that of another quantity. Ampere is not: labels are copied from channel to channel.
bool is_of_another_quantity(const std::string& unit) {
  const std::string small = lower_case(trimmed(unit));
  return is_one_of(
      small, {"ka", "ma",  "hz",  "khz", "%",    "deg",  "degree", "degrees", "\xC2\xB0", "rad", "w",  "kw", "mw",
              "va", "kva", "mva", "var", "kvar", "mvar", "ohm",    "s",       "ms",       "us",  "гц", "Гц", "кА"});
}

// --- phases in names and phase fields --------------------------------------------------------------------------------

/// What a letter or digit says as a phase: 0, 1, 2 for A, B, C; nothing for others.
std::optional<std::size_t> phase_of(char c) {
  switch (c) {
    case 'a':
    case '1':
    case 'r':
    case 'u':
      return 0;
    case 'b':
    case '2':
    case 's':
    case 'v':
      return 1;
    case 'c':
    case '3':
    case 't':
    case 'w':
      return 2;
    default:
      return std::nullopt;
  }
}

/// Whether two signs are of one way to name phases: A B C, 1 2 3, R S T or U V W.
bool of_one_kind(char one, char other) {
  const auto kind = [](char c) { return is_digit(c) ? 0 : c <= 'c' ? 1 : c <= 't' ? 2 : 3; };
  return kind(one) == kind(other);
}

bool is_ground(char c) {
  return c == 'n' || c == 'g' || c == 'e';
}

std::size_t pair_of(std::size_t one, std::size_t other);

/// Whether a voltage from one phase to another has the other sign than that of AB, BC, CA.
bool is_turned(std::size_t from, std::size_t to) {
  return to != (from + 1) % 3;
}

/// What a phase field says.
struct PhaseField {
  std::optional<std::size_t> phase;
  bool other = false;               ///< neutral, zero sequence or two phases
  std::optional<std::size_t> pair;  ///< which two
  bool turned = false;              ///< from the second of them to the first
};

PhaseField read_phase_field(const std::string& field) {
  std::string text;
  for (const char c : lower_case(field)) {
    if (c != 'l' && separators.find(c) == separators.npos) text += c;  // L1, A-N
  }
  if (text.size() == 1) return {phase_of(text[0]), is_ground(text[0]) || text[0] == '0', {}, false};
  if (text.size() == 2 && phase_of(text[0])) {
    if (is_ground(text[1])) return {phase_of(text[0]), false, {}, false};
    if (const auto second = phase_of(text[1]); second && second != phase_of(text[0]) && of_one_kind(text[0], text[1])) {
      return {std::nullopt, true, pair_of(*phase_of(text[0]), *second), is_turned(*phase_of(text[0]), *second)};
    }
  }
  return {};
}

enum class Alphabet { letters, other };  // other: digits, R S T, or U V W

/// A place in a name that may tell the phase.
struct PhaseMark {
  std::size_t position = 0;
  std::size_t phase = 0;
  Alphabet alphabet = Alphabet::letters;
  bool after_quantity = false;  ///< right behind U, V, L or "phase", so that hardly anything else can be meant
};

/// The word that ends, separators left aside, in front of `position`.
std::string_view word_before(std::string_view name, std::size_t position) {
  const std::size_t last = position == 0 ? name.npos : name.find_last_not_of(separators, position - 1);
  if (last == name.npos) return {};
  std::size_t first = last + 1;
  while (first > 0 && is_letter(name[first - 1])) first--;
  return name.substr(first, last + 1 - first);
}

/// Whether a word goes on behind `position` in a way that a phase letter does not: "Van" still is phase A.
bool word_goes_on(std::string_view name, std::size_t position) {
  const auto letter_at = [&](std::size_t i) { return i < name.size() && is_letter(name[i]); };
  if (!letter_at(position + 1)) return false;
  return !is_ground(name[position + 1]) || letter_at(position + 2);
}

bool beside_digit(std::string_view name, std::size_t position) {
  return (position > 0 && is_digit(name[position - 1])) || (position + 1 < name.size() && is_digit(name[position + 1]));
}

/// All places of a name (in lower case) that may tell the phase.
std::vector<PhaseMark> phase_marks(std::string_view name) {
  std::vector<PhaseMark> marks;
  if (const auto phase = name.size() == 1 && is_letter(name[0]) ? phase_of(name[0]) : std::nullopt) {
    return {{0, *phase, name[0] <= 'c' ? Alphabet::letters : Alphabet::other, true}};
  }
  for (std::size_t i = 0; i < name.size(); i++) {
    const auto phase = phase_of(name[i]);
    if (!phase) continue;
    const bool after_quantity = is_one_of(word_before(name, i), {"u", "v", "ul", "vl", "l", "ph", "phase"});
    const bool letter = name[i] <= 'c' && !is_digit(name[i]);
    if (is_digit(name[i]) ? beside_digit(name, i) : word_goes_on(name, i)) continue;
    // Letters mark phases in many ways (Ua, HCSA, "Sig (a)"), digits, R, S, T and U, V, W stand for much else.
    if (!letter && !after_quantity) continue;
    marks.push_back({i, *phase, letter ? Alphabet::letters : Alphabet::other, after_quantity});
  }
  return marks;
}

/// Two phases as the place of their voltage in the order AB, BC, CA.
std::size_t pair_of(std::size_t one, std::size_t other) {
  const auto [low, high] = std::minmax(one, other);
  return low == 0 && high == 2 ? 2 : low;
}

/// Where a name says between which phases the voltage is.
struct PairMark {
  std::size_t first = 0;  ///< positions of the two phases
  std::size_t second = 0;
  std::size_t pair = 0;
  bool turned = false;
};

/// A voltage between two phases: Uab, VL12, "Ua-Ub".
std::optional<PairMark> pair_mark(std::string_view name, const std::vector<PhaseMark>& marks) {
  for (std::size_t i = 0; i + 1 < name.size(); i++) {
    const auto first = phase_of(name[i]);
    const auto second = phase_of(name[i + 1]);
    if (!first || !second || *first == *second || !of_one_kind(name[i], name[i + 1])) continue;
    const char behind = i + 2 < name.size() ? name[i + 2] : ' ';
    const bool ends = is_digit(name[i]) ? !is_digit(behind) : !is_letter(behind);
    if (ends && is_one_of(word_before(name, i), {"u", "v", "ul", "vl"}))
      return PairMark{i, i + 1, pair_of(*first, *second), is_turned(*first, *second)};
  }
  for (const PhaseMark& one : marks) {
    for (const PhaseMark& other : marks) {
      if (one.after_quantity && other.after_quantity && one.alphabet == other.alphabet && one.phase != other.phase) {
        return PairMark{one.position, other.position, pair_of(one.phase, other.phase),
                        is_turned(one.phase, other.phase)};
      }
    }
  }
  return std::nullopt;
}

/// Whether a name without a unit is that of a voltage.
bool sounds_like_voltage(std::string_view name, const std::vector<PhaseMark>& marks) {
  constexpr std::string_view voltage_in_chinese = "\xE7\x94\xB5\xE5\x8E\x8B";
  for (const std::string_view word : {std::string_view("volt"), std::string_view("spannung"),
                                      std::string_view("напряж"), std::string_view("Напряж"), voltage_in_chinese}) {
    if (name.find(word) != name.npos) return true;
  }
  for (std::size_t i = 0; i < name.size(); i++) {  // a word of its own: "U Sig (a)", "V_L1"
    const bool quantity = name[i] == 'u' || name[i] == 'v';
    const bool starts = i == 0 || !is_letter(name[i - 1]);
    if (quantity && starts && (i + 1 == name.size() || !is_letter(name[i + 1]))) return true;
  }
  return std::any_of(marks.begin(), marks.end(), [&](const PhaseMark& mark) {
    return is_one_of(word_before(name, mark.position), {"u", "v", "ul", "vl"});
  });
}

/// Phasor figures that some relays record beside the waveforms.
bool is_computed(std::string_view name) {
  std::size_t start = 0;
  for (std::size_t i = 0; i <= name.size(); i++) {
    if (i < name.size() && is_letter(name[i])) continue;
    if (is_one_of(name.substr(start, i - start), {"mag", "magnitude", "rms", "ang", "angle"})) return true;
    start = i + 1;
  }
  return false;
}

// --- grouping --------------------------------------------------------------------------------------------------------

/// A channel that may be part of a set.
struct Candidate {
  std::size_t channel = 0;
  std::string name;  ///< in lower case
  std::optional<std::size_t> field_phase;
  std::vector<PhaseMark> marks;
};

/// One way to see a channel: as this phase of what goes by the name `rest`.
struct Reading {
  std::size_t channel = 0;
  std::size_t phase = 0;
  std::string rest;
};

constexpr char phase_place = '\x01';  // stands where the phase was; names have no control characters

Reading read_mark(const Candidate& candidate, const PhaseMark& mark) {
  Reading reading{candidate.channel, mark.phase, candidate.name};
  reading.rest[mark.position] = phase_place;
  return reading;
}

/// The text with each run of digits made one '0', so that running numbers in names do not matter.
std::string without_numbers(const std::string& text) {
  std::string result;
  for (const char c : text) {
    if (!is_digit(c)) {
      result += c;
    } else if (result.empty() || result.back() != '0') {
      result += '0';
    }
  }
  return result;
}

/// The sets that readings complete are added to `sets`, their channels marked as taken.
class SetCollector {
 public:
  explicit SetCollector(std::size_t channels) : taken_(channels, false) {}

  [[nodiscard]] bool is_taken(std::size_t channel) const { return taken_[channel]; }

  /// Makes sets of channels that differ in nothing but the phase. Several sets may go by one name: the first A belongs
  /// to the first B and C, and so on, as long as there are equally many.
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
    // Where a channel could go into several, its neighbours are the likelier company.
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

/// Which units channels may have, those of other quantities never; or none, with a name that is a phase and no more.
enum class Units { of_voltage, any, none };

/// Channels that may be phase voltages.
std::vector<Candidate> candidates_in(const Record& record, Units units) {
  std::vector<Candidate> candidates;
  for (std::size_t i = 0; i < record.channels.size(); i++) {
    const Channel& channel = record.channels[i];
    const PhaseField field = read_phase_field(channel.phase);
    const bool of_voltage = volts_per(channel.unit).has_value();
    if (field.other || (!of_voltage && (units == Units::of_voltage || is_of_another_quantity(channel.unit)))) continue;
    Candidate candidate{i, lower_case(channel.name), field.phase, {}};
    candidate.marks = phase_marks(candidate.name);
    const bool by_name = channel.unit.empty() || !of_voltage;
    const bool phase_alone = units == Units::none && channel.unit.empty() && candidate.name.size() == 1;
    if (by_name && !phase_alone && !sounds_like_voltage(candidate.name, candidate.marks)) continue;
    if (pair_mark(candidate.name, candidate.marks) || is_computed(candidate.name)) continue;
    candidates.push_back(std::move(candidate));
  }
  return candidates;
}

/// As the phase fields say, whatever in the name agrees with them taken out.
std::vector<Reading> readings_by_field(const std::vector<Candidate>& candidates) {
  std::vector<Reading> readings;
  for (const Candidate& candidate : candidates) {
    if (!candidate.field_phase) continue;
    readings.push_back({candidate.channel, *candidate.field_phase, candidate.name});
    for (const PhaseMark& mark : candidate.marks) {
      if (mark.phase == *candidate.field_phase) readings.push_back(read_mark(candidate, mark));
    }
  }
  return readings;
}

/// As the names say, whatever the phase fields do: some programs fill them without care.
std::vector<Reading> readings_by_name(const std::vector<Candidate>& candidates, Alphabet alphabet) {
  std::vector<Reading> readings;
  for (const Candidate& candidate : candidates) {
    for (const PhaseMark& mark : candidate.marks) {
      if (mark.alphabet == alphabet) readings.push_back(read_mark(candidate, mark));
    }
  }
  return readings;
}

std::vector<Reading> readings_without_numbers(const std::vector<Candidate>& candidates) {
  std::vector<Reading> readings;
  for (const Candidate& candidate : candidates) {
    for (const PhaseMark& mark : candidate.marks) {
      if (mark.alphabet != Alphabet::letters || mark.phase != candidate.field_phase.value_or(mark.phase)) continue;
      readings.push_back(read_mark(candidate, mark));
      readings.back().rest = without_numbers(readings.back().rest);
    }
  }
  return readings;
}

/// The phase of a channel whose name has no partners.
std::optional<std::size_t> lone_phase(const Candidate& candidate) {
  if (candidate.field_phase) return candidate.field_phase;
  for (const PhaseMark& mark : candidate.marks) {
    if (mark.after_quantity) return mark.phase;
  }
  return std::nullopt;
}

/// Makes sets of channels that follow each other as A, B, C in the file.
void add_consecutive(const std::vector<Candidate>& candidates, SetCollector& collector) {
  std::vector<std::size_t> run;
  for (const Candidate& candidate : candidates) {
    const auto phase = lone_phase(candidate);
    if (!phase || collector.is_taken(candidate.channel)) continue;
    if (*phase != run.size()) run.clear();
    if (*phase == run.size()) run.push_back(candidate.channel);
    if (run.size() < 3) continue;
    collector.add({run[0], run[1], run[2]}, PhaseSource::order);
    run.clear();
  }
}

// --- live sets -------------------------------------------------------------------------------------------------------

/// Root mean square of the values that are there, in volts, or in its own unit when that is none.
double rms_volts(const Channel& channel) {
  double sum = 0;
  std::size_t count = 0;
  for (const double value : channel.samples) {
    if (!std::isfinite(value)) continue;
    sum += value * value;
    count++;
  }
  return count == 0 ? 0 : volts_per(channel.unit).value_or(1) * std::sqrt(sum / static_cast<double>(count));
}

/// Whether the values that are there do not change.
bool is_flat(const Channel& channel) {
  std::size_t count = 0;
  double first = 0;
  for (const double value : channel.samples) {
    if (!std::isfinite(value)) continue;
    if (count++ == 0) first = value;
    if (value != first) return false;
  }
  return count > 2;  // of one or two values there is no telling
}

/// How much of a channel's energy is at the line's frequency: of one-cycle stretches all over the record; nothing where
/// there is no such stretch. Leaves room for lines that are off their frequency and for distortion.
std::optional<double> share_at_line_frequency(const Record& record, std::size_t channel, double frequency) {
  constexpr double fewest = 8;  // samples per cycle
  constexpr std::size_t most_cycles = 100;
  const std::vector<double>& samples = record.channels[channel].samples;
  double shown = 0;
  double total = 0;
  bool any = false;
  for (const Part& part : parts_of(record)) {
    if (!(part.rate >= fewest * frequency) || part.end > samples.size()) continue;
    const auto length = static_cast<std::size_t>(std::lround(part.rate / frequency));
    const std::size_t step = std::max(length, part.length() / most_cycles);
    const std::complex<double> turn = std::polar(1.0, -2 * std::numbers::pi * frequency / part.rate);
    for (std::size_t begin = part.begin; begin + length <= part.end; begin += step) {
      std::complex<double> sum = 0;
      std::complex<double> angle = 1;
      for (std::size_t i = begin; i < begin + length; i++, angle *= turn) {
        if (!is_finite_single(samples[i])) continue;
        sum += samples[i] * angle;
        total += samples[i] * samples[i];
      }
      shown += 2 * std::norm(sum) / static_cast<double>(length);
      any = true;
    }
  }
  if (!any || total == 0) return std::nullopt;
  return shown / total;
}

bool shows_line_frequency(const Record& record, const VoltageSet& set) {
  constexpr double least_share = 0.2;
  bool measured = false;
  for (const double frequency : {50.0, 60.0}) {
    for (const std::size_t channel : set.channels) {
      const auto share = share_at_line_frequency(record, channel, frequency);
      if (!share) continue;
      if (*share >= least_share) return true;
      measured = true;
    }
  }
  return !measured;  // what cannot be told is no fault
}

bool is_named_as_current(const Channel& channel) {
  const std::string name = lower_case(channel.name);
  const std::vector<PhaseMark> marks = phase_marks(name);
  return std::any_of(marks.begin(), marks.end(), [&](const PhaseMark& mark) {
    return is_one_of(word_before(name, mark.position), {"i", "il"});
  });
}

/// Takes the life of sets that do not pass a test where others do.
template <typename Test>
void prefer(std::vector<VoltageSet>& sets, Test passes) {
  std::vector<bool> passed;
  for (const VoltageSet& set : sets) passed.push_back(set.live && passes(set));
  if (std::find(passed.begin(), passed.end(), true) == passed.end()) return;
  for (std::size_t i = 0; i < sets.size(); i++) sets[i].live = passed[i];
}

/// A set is live when none of its phases is flat throughout and the largest is no mere noise beside the record's
/// largest. One phase may well be low: that is what a long dip looks like.
void mark_live(const Record& record, std::vector<VoltageSet>& sets) {
  constexpr double noise = 0.01;
  std::vector<std::pair<double, double>> smallest_and_largest;
  double largest = 0;
  for (const VoltageSet& set : sets) {
    const auto rms = [&](std::size_t phase) {
      const Channel& channel = record.channels[set.channels[phase]];
      return is_flat(channel) ? 0 : rms_volts(channel);
    };
    smallest_and_largest.push_back(std::minmax({rms(0), rms(1), rms(2)}));
    largest = std::max(largest, smallest_and_largest.back().second);
  }
  for (std::size_t i = 0; i < sets.size(); i++) {
    const auto [low, high] = smallest_and_largest[i];
    sets[i].live = low > 0 && high >= noise * largest;
  }
  if (sets.size() < 2) return;
  prefer(sets, [&](const VoltageSet& set) { return shows_line_frequency(record, set); });
  prefer(sets, [&](const VoltageSet& set) {
    return std::none_of(set.channels.begin(), set.channels.end(),
                        [&](std::size_t channel) { return is_named_as_current(record.channels[channel]); });
  });
}

void live_first(const Record& record, std::vector<VoltageSet>& sets) {
  mark_live(record, sets);
  std::stable_partition(sets.begin(), sets.end(), [](const VoltageSet& set) { return set.live; });
}

std::vector<VoltageSet> phase_sets(const Record& record, Units units) {
  const std::vector<Candidate> candidates = candidates_in(record, units);
  SetCollector collector(record.channels.size());
  collector.add_matching(readings_by_field(candidates), PhaseSource::phase_field);
  collector.add_matching(readings_by_name(candidates, Alphabet::letters), PhaseSource::name);
  collector.add_matching(readings_by_name(candidates, Alphabet::other), PhaseSource::name);
  collector.add_matching(readings_without_numbers(candidates), PhaseSource::name);
  add_consecutive(candidates, collector);
  return std::move(collector).in_file_order();
}

/// Voltages between phases, by their phase field or else by their name.
std::vector<Reading> pair_readings(const Record& record, bool by_field) {
  std::vector<Reading> readings;
  for (std::size_t i = 0; i < record.channels.size(); i++) {
    const Channel& channel = record.channels[i];
    if (!volts_per(channel.unit)) continue;
    std::string name = lower_case(channel.name);
    const std::vector<PhaseMark> marks = phase_marks(name);
    const auto mark = pair_mark(name, marks);
    if (is_computed(name) || (channel.unit.empty() && !mark && !sounds_like_voltage(name, marks))) continue;
    const PhaseField field = read_phase_field(channel.phase);
    if (by_field ? !field.pair : !mark) continue;
    if (mark) name[mark->first] = name[mark->second] = phase_place;
    readings.push_back({i, by_field ? *field.pair : mark->pair, name});
  }
  return readings;
}

/// Where the name plainly tells another phase than the phase field, one of which the set is made by.
void mark_doubtful(const Record& record, VoltageSet& set) {
  for (std::size_t phase = 0; phase < 3; phase++) {
    const Channel& channel = record.channels[set.channels[phase]];
    const auto field = read_phase_field(channel.phase).phase;
    if (!field) continue;
    bool others = false;
    bool same = false;
    for (const PhaseMark& mark : phase_marks(lower_case(channel.name))) {
      if (mark.phase == phase) same = true;
      if (mark.phase != phase && mark.after_quantity) others = true;
    }
    set.doubtful[phase] = *field != phase || (others && !same);
  }
}

void mark_turned(const Record& record, VoltageSet& set) {
  for (std::size_t phase = 0; phase < 3; phase++) {
    const Channel& channel = record.channels[set.channels[phase]];
    const std::string name = lower_case(channel.name);
    const auto mark = pair_mark(name, phase_marks(name));
    set.turned[phase] =
        set.source == PhaseSource::phase_field ? read_phase_field(channel.phase).turned : mark && mark->turned;
  }
}

// --- sets and samples by name ----------------------------------------------------------------------------------------

std::string channel_list(const Record& record) {
  std::string list;
  for (std::size_t i = 0; i < record.channels.size(); i++) {
    const Channel& channel = record.channels[i];
    if (i > 0) list += ", ";
    list += std::to_string(i + 1) + " " + channel.name;
    if (!channel.unit.empty()) list += " [" + channel.unit + "]";
  }
  return list;
}

[[noreturn]] void refuse_names(const Record& record, const std::string& cause) {
  throw ReadError(record.file, "", cause, "choose three of the channels by name or number: " + channel_list(record));
}

/// Whether `text` names the channel; tables may spell its unit behind the name.
bool is_named(const Channel& channel, std::string_view text) {
  return text == channel.name || (!channel.unit.empty() && (text == channel.name + "_" + channel.unit ||
                                                            text == channel.name + " [" + channel.unit + "]" ||
                                                            text == channel.name + " (" + channel.unit + ")"));
}

std::size_t channel_named(const Record& record, std::string_view text) {
  std::vector<std::size_t> exact;
  std::vector<std::size_t> in_any_case;
  for (std::size_t i = 0; i < record.channels.size(); i++) {
    const Channel& channel = record.channels[i];
    if (is_named(channel, text)) exact.push_back(i);
    if (lower_case(channel.name) == lower_case(text)) in_any_case.push_back(i);
  }
  const std::vector<std::size_t>& found = exact.empty() ? in_any_case : exact;
  if (found.size() == 1) return found[0];
  if (found.size() > 1) {
    refuse_names(record, std::to_string(found.size()) + " channels go by the name " + cited(text));
  }
  const auto number = parse_count(text);
  if (number && *number >= 1 && *number <= record.channels.size()) return *number - 1;
  refuse_names(record, "there is no channel " + cited(text));
}

/// Says which samples of `bad` are meant, up to three stretches of them.
std::string stretches_text(const std::vector<bool>& bad) {
  constexpr std::size_t most = 3;
  std::string text;
  std::size_t stretches = 0;
  for (std::size_t i = 0; i < bad.size(); i++) {
    if (!bad[i]) continue;
    std::size_t last = i;
    while (last + 1 < bad.size() && bad[last + 1]) last++;
    if (++stretches <= most) {
      text += (text.empty() ? "" : ", ") + std::to_string(i + 1);
      if (last > i) text += " to " + std::to_string(last + 1);
    }
    i = last;
  }
  if (stretches > most) text += " and " + std::to_string(stretches - most) + " more stretches";
  return text;
}

}  // namespace

std::vector<VoltageSet> find_voltage_sets(const Record& record) {
  std::vector<VoltageSet> sets = phase_sets(record, Units::of_voltage);
  if (sets.empty()) {
    sets = phase_sets(record, Units::any);
    if (sets.empty()) sets = phase_sets(record, Units::none);
    for (VoltageSet& set : sets) set.unit_guessed = true;
  }
  for (VoltageSet& set : sets) mark_doubtful(record, set);
  live_first(record, sets);
  return sets;
}

std::vector<VoltageSet> find_line_to_line_sets(const Record& record) {
  SetCollector collector(record.channels.size());
  collector.add_matching(pair_readings(record, true), PhaseSource::phase_field);
  collector.add_matching(pair_readings(record, false), PhaseSource::name);
  std::vector<VoltageSet> sets = std::move(collector).in_file_order();
  for (VoltageSet& set : sets) {
    set.between_phases = true;
    mark_turned(record, set);
  }
  live_first(record, sets);
  return sets;
}

VoltsPerUnit volts_per_unit(const Record& record, std::size_t channel) {
  const Channel& source = record.channels.at(channel);
  if (const auto factor = volts_per(source.unit)) return {*factor, trimmed(source.unit).empty()};
  const std::string name = lower_case(source.name);
  if (!is_of_another_quantity(source.unit) && sounds_like_voltage(name, phase_marks(name))) return {1, true};
  throw ReadError(record.file, "channel " + cited(source.name), "the unit " + cited(source.unit) + " is no voltage",
                  "choose channels in V, kV, mV or MV");
}

VoltageSet named_voltage_set(const Record& record, const std::string& names) {
  const std::vector<std::string_view> parts = split_fields(names, ',');
  if (parts.size() != 3) {
    refuse_names(record, "three channels separated by commas are needed, not " + cited(names));
  }
  VoltageSet set;
  for (std::size_t i = 0; i < 3; i++) set.channels[i] = channel_named(record, parts[i]);
  set.source = PhaseSource::user;
  const auto pairs = find_line_to_line_sets(record);
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
  const auto& [a, b, c] = set.channels;
  if (a == b || b == c || a == c) refuse_names(record, cited(names) + " names a channel twice");

  std::vector<VoltageSet> sets = find_voltage_sets(record);
  sets.push_back(set);
  mark_live(record, sets);
  return sets.back();
}

std::vector<float> volts(const Record& record, std::size_t channel) {
  const Channel& source = record.channels.at(channel);
  const std::string place = "channel " + cited(source.name);
  const double factor = volts_per_unit(record, channel).factor;

  std::vector<float> values;
  values.reserve(source.samples.size());
  std::vector<bool> bad(source.samples.size(), false);
  for (std::size_t i = 0; i < source.samples.size(); i++) {
    const double value = source.samples[i] * factor;
    bad[i] = !(std::abs(value) <= static_cast<double>(std::numeric_limits<float>::max()));
    values.push_back(bad[i] ? 0.0F : static_cast<float>(value));
  }
  if (const auto count = std::count(bad.begin(), bad.end(), true); count > 0) {
    throw ReadError(record.file, place,
                    "missing or not finite: " + std::to_string(count) + " of " + std::to_string(bad.size()) +
                        " values (" + (count == 1 ? "sample " : "samples ") + stretches_text(bad) + ")",
                    "choose another channel, or a record without the gap");
  }
  return values;
}

}  // namespace readers
