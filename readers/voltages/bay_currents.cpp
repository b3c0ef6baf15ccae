#include "readers/voltages/bay_currents.h"

#include <algorithm>
#include <cmath>
#include <set>
#include <string>
#include <string_view>

#include "readers/text.h"
#include "readers/voltages/grouping.h"
#include "readers/voltages/units.h"

namespace readers {

namespace {

constexpr std::string_view separators = " _-.:/()[]'#,";

bool is_letter(char c) {
  return c >= 'a' && c <= 'z';
}

std::vector<std::string> words_of(std::string_view name) {
  std::vector<std::string> words;
  std::size_t at = name.find_first_not_of(separators);
  while (at != name.npos) {
    const std::size_t end = std::min(name.find_first_of(separators, at), name.size());
    words.emplace_back(name.substr(at, end - at));
    at = name.find_first_not_of(separators, end);
  }
  return words;
}

/// Removes words for voltage and current from text without separators between words.
void drop_quantity_words(std::string& text) {
  for (const std::string_view word : {"电压", "电流", "voltage", "current", "spannung", "strom"}) {
    const std::size_t at = text.find(word);
    if (at != text.npos) text.erase(at, word.size());
  }
}

/// Removes the quantity at the end of text, as in "lineul", if a letter does not precede it.
void drop_final_quantity(std::string& text) {
  for (const std::string_view quantity : {"ul", "vl", "il", "u", "v", "i", "l"}) {
    if (!text.ends_with(quantity)) continue;
    const std::size_t at = text.size() - quantity.size();
    if (at > 0 && is_letter(text[at - 1])) continue;
    text.erase(at);
    return;
  }
}

/// Returns what the words at one place of three names have in common apart from the quantity. The part in which they
/// differ is the phase, or a running number.
std::string common_word(const std::array<std::string, 3>& words) {
  const std::string& first = words[0];
  if (words[1] == first && words[2] == first) {
    std::string whole = first;
    drop_quantity_words(whole);
    const bool says_nothing = is_one_of(whole, {"u", "v", "i", "ul", "vl", "il", "l", "ph", "phase", "n", "g", "e",
                                                "напряжение", "ток", "Напряжение", "Ток"});
    return says_nothing ? std::string() : whole;
  }
  const std::size_t shortest = std::min({first.size(), words[1].size(), words[2].size()});
  std::size_t head = 0;
  while (head < shortest && words[1][head] == first[head] && words[2][head] == first[head]) head++;
  // Numbers that differ are running numbers, even if their first digits agree: 10, 11, 12.
  const auto is_digit_at_head = [&](const std::string& word) {
    return head < word.size() && word[head] >= '0' && word[head] <= '9';
  };
  if (std::any_of(words.begin(), words.end(), is_digit_at_head)) {
    while (head > 0 && first[head - 1] >= '0' && first[head - 1] <= '9') head--;
  }
  std::size_t tail = 0;
  const auto from_end = [&](const std::string& word) { return word[word.size() - 1 - tail]; };
  while (head + tail < shortest && from_end(words[1]) == from_end(first) && from_end(words[2]) == from_end(first)) {
    tail++;
  }
  std::string start = first.substr(0, head);
  drop_final_quantity(start);
  drop_quantity_words(start);
  const std::string end = first.substr(first.size() - tail);
  return start + (is_one_of(end, {"n", "g", "e"}) ? std::string() : end);
}

/// The words of three names that say which bay they are of.
using BayName = std::set<std::string>;

BayName bay_name(const NamedChannels& channels, const std::array<std::size_t, 3>& set) {
  std::array<std::vector<std::string>, 3> words;
  for (std::size_t phase = 0; phase < 3; phase++) words[phase] = words_of(channels[set[phase]].name);
  if (words[1].size() != words[0].size() || words[2].size() != words[0].size()) return {};
  BayName name;
  for (std::size_t i = 0; i < words[0].size(); i++) {
    const std::string common = common_word({words[0][i], words[1][i], words[2][i]});
    if (!common.empty()) name.insert(common);
  }
  return name;
}

bool has_all_of(const BayName& name, const BayName& other) {
  return std::includes(name.begin(), name.end(), other.begin(), other.end());
}

/// Returns whether none of the values that were read has the opposite sign of another one, although some are not 0.
bool is_trend(const Record& record, const std::array<std::size_t, 3>& set) {
  bool any = false;
  for (const std::size_t channel : set) {
    const auto& samples = record.channels[channel].samples;
    const bool above = std::any_of(samples.begin(), samples.end(), [](double value) { return value > 0; });
    const bool below = std::any_of(samples.begin(), samples.end(), [](double value) { return value < 0; });
    if (above && below) return false;
    any = any || above || below;
  }
  return any;
}

/// The name of a residual current without the residual itself.
struct ResidualName {
  std::string_view before;
  std::string_view after;
};

/// Reads names such as "3I0", "Line 1 IN" and "IG".
std::optional<ResidualName> residual_name(std::string_view name) {
  for (std::size_t i = 0; i < name.size(); i++) {
    if (name[i] != 'i' || (i > 0 && is_letter(name[i - 1]))) continue;
    const std::size_t start = i > 0 && name[i - 1] == '3' ? i - 1 : i;
    std::size_t at = i + 1;
    if (at < name.size() && name[at] == '_') at++;
    for (const std::string_view residual : {"res", "n", "0", "o", "g", "e"}) {
      if (!name.substr(at).starts_with(residual)) continue;
      const std::size_t end = at + residual.size();
      if (end < name.size() && is_letter(name[end])) continue;
      return ResidualName{name.substr(0, start), name.substr(end)};
    }
  }
  return std::nullopt;
}

/// The residual currents of a record, each of which belongs to one set at most.
class Residuals {
 public:
  Residuals(const NamedChannels& channels, const std::vector<CurrentSet>& sets) : channels_(channels) {
    for (const NamedChannel& channel : channels) {
      const bool in_set = std::any_of(sets.begin(), sets.end(), [&](const CurrentSet& set) {
        return std::find(set.phases.begin(), set.phases.end(), channel.index) != set.phases.end();
      });
      const bool current = channel.amperes && !channel.computed && !channel.field.pair && !in_set;
      const auto name = residual_name(channel.name);
      const bool by_field = channel.has_unit && channel.field.other && !channel.sounds_like_voltage;
      if (current && (name || by_field)) free_.push_back({channel.index, name});
    }
  }

  /// Gives a set the residual current whose name differs in nothing else.
  void give_by_name(CurrentSet& set) {
    const BayName bay = bay_name(channels_, set.phases);
    give(set, [&](const Residual& residual) { return residual.name && bay_of(*residual.name) == bay; });
  }

  /// Gives a set the residual current that follows it in the file.
  void give_next(CurrentSet& set) {
    const std::size_t last = *std::max_element(set.phases.begin(), set.phases.end());
    give(set, [&](const Residual& residual) { return residual.channel == last + 1; });
  }

 private:
  struct Residual {
    std::size_t channel;
    std::optional<ResidualName> name;
  };

  static BayName bay_of(const ResidualName& name) {
    BayName bay;
    for (const std::string_view side : {name.before, name.after}) {
      for (const std::string& word : words_of(side)) {
        const std::string common = common_word({word, word, word});
        if (!common.empty()) bay.insert(common);
      }
    }
    return bay;
  }

  template <typename Fits>
  void give(CurrentSet& set, Fits fits) {
    if (set.residual) return;
    const auto found = std::find_if(free_.begin(), free_.end(), fits);
    if (found == free_.end()) return;
    set.residual = found->channel;
    free_.erase(found);
  }

  const NamedChannels& channels_;
  std::vector<Residual> free_;
};

}  // namespace

std::vector<CurrentSet> find_current_sets(const Record& record) {
  return find_current_sets(record, named_channels(record));
}

std::vector<CurrentSet> find_current_sets(const Record& record, const NamedChannels& channels) {
  std::vector<CurrentSet> sets;
  for (const auto& phases : grouped_phase_currents(channels)) {
    sets.push_back({phases, std::nullopt, is_trend(record, phases)});
  }
  Residuals residuals(channels, sets);
  for (CurrentSet& set : sets) residuals.give_by_name(set);
  for (CurrentSet& set : sets) residuals.give_next(set);
  return sets;
}

Bays::Bays(const Record& record) : channels_(named_channels(record)) {
  for (const CurrentSet& set : find_current_sets(record, channels_)) {
    currents_.push_back({set, bay_name(channels_, set.phases)});
  }
  for (const auto& sets : {grouped_phase_voltages(channels_), grouped_line_to_line_voltages(channels_)}) {
    for (const VoltageSet& set : sets) voltages_.push_back({set.channels, bay_name(channels_, set.channels)});
  }
}

bool Bays::is_of_others(const Name& name, const VoltageSet& voltages) const {
  return !name.empty() && std::any_of(voltages_.begin(), voltages_.end(), [&](const NamedVoltages& other) {
    return other.name == name && other.channels != voltages.channels;
  });
}

std::optional<BayCurrents> Bays::currents_of(const VoltageSet& voltages) const {
  std::vector<const NamedCurrents*> usable;
  for (const NamedCurrents& currents : currents_) {
    if (voltages.rms || !currents.set.trend) usable.push_back(&currents);
  }
  if (voltages.count == 3) {
    const Name bay = bay_name(channels_, voltages.channels);
    std::vector<const NamedCurrents*> equal;
    std::vector<const NamedCurrents*> similar;
    for (const NamedCurrents* currents : usable) {
      const Name& name = currents->name;
      const bool contained = !name.empty() && !bay.empty() && (has_all_of(name, bay) || has_all_of(bay, name));
      if (name == bay) equal.push_back(currents);
      if (contained && !is_of_others(name, voltages)) similar.push_back(currents);
    }
    if (equal.size() > 1) return std::nullopt;
    if (equal.size() == 1) return BayCurrents{equal.front()->set, BaySource::name};
    if (similar.size() == 1) return BayCurrents{similar.front()->set, BaySource::name};
  }
  if (usable.size() != 1 || is_of_others(usable.front()->name, voltages)) return std::nullopt;
  return BayCurrents{usable.front()->set, BaySource::only_one};
}

std::optional<BayCurrents> currents_of_bay(const Record& record, const VoltageSet& voltages) {
  return Bays(record).currents_of(voltages);
}

void want_currents(const Record& record, std::vector<bool>& wanted) {
  for (const CurrentSet& set : find_current_sets(record)) {
    for (const std::size_t phase : set.phases) wanted[phase] = true;
    if (set.residual) wanted[*set.residual] = true;
  }
}

double amperes_per_unit(const Channel& channel) {
  return amperes_per(channel.unit).value_or(1);
}

}  // namespace readers
