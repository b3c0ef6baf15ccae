#include "analysis/choice/chosen_set.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>

#include "readers/voltages/channel_choice.h"
#include "readers/voltages/set_search.h"

namespace analysis {

namespace {

/// Why three voltages are dead.
std::string cause_of_death(const readers::Record& record, const readers::VoltageSet& set) {
  for (const std::size_t index : set.channels) {
    const auto& channel = record.channels[index];
    const auto is_value = [](double value) { return std::isfinite(value); };
    const auto first = std::find_if(channel.samples.begin(), channel.samples.end(), is_value);
    if (first == channel.samples.end()) return fmt::format("channel {} has no values", channel.name);
    if (channel.zero_scale) return fmt::format("the scale factor of channel {} is 0", channel.name);
    const bool flat =
        std::all_of(first, channel.samples.end(), [&](double value) { return !is_value(value) || value == *first; });
    if (flat) return fmt::format("channel {} is {:g} throughout", channel.name, *first);
  }
  return "they are far smaller than others of the record, or do not alternate";
}

readers::VoltageSet named_set(const readers::Record& record, const VoltageChoice& choice) {
  try {
    return readers::named_voltage_set(record, choice.channels);
  } catch (const readers::ReadError& error) {
    throw UnknownChoice(error.what());
  }
}

/// The sets of the wanted kind. Where no voltages between phases are recorded, these are the sets of phase voltages
/// that they can be computed from; where no three voltages belong together, it is the only one or two that there are.
std::vector<readers::VoltageSet> sets_of_kind(const readers::Record& record, const VoltageChoice& choice) {
  auto lines = readers::find_line_to_line_sets(record);
  if (choice.line_to_line && !lines.empty()) return lines;
  auto phases = readers::find_voltage_sets(record);
  if (!phases.empty() || !lines.empty()) return phases;
  const auto few = readers::find_few_voltages(record);
  if (few && (few->between_phases || !choice.line_to_line)) phases.push_back(*few);
  return phases;
}

/// "three phase voltages": the voltages of a set, with their number.
std::string words_for(const readers::VoltageSet& set) {
  if (set.count == 1) return "only voltage";
  if (set.count == 2) return "only two voltages";
  return set.between_phases ? "three line-to-line voltages" : "three phase voltages";
}

/// One of those that the record holds.
ChosenSet found_set(const readers::Record& record, const VoltageChoice& choice) {
  const auto sets = sets_of_kind(record, choice);
  if (sets.empty()) {
    const bool others = !choice.line_to_line && !readers::find_line_to_line_sets(record).empty();
    throw readers::ReadError(
        record.file, "", "no three phase voltages found among its channels",
        others ? "it has line-to-line voltages: --line-to-line analyses them as such" : "name them with --channels");
  }
  if (choice.set > sets.size()) {
    throw UnknownChoice(
        sets[0].count < 3 ? fmt::format("{}: there is no set {} of voltages; leave out --set", record.file, choice.set)
                          : fmt::format("{}: there is no set {} of {}, only {}; dipx info lists what there is",
                                        record.file, choice.set, words_for(sets[0]), sets.size()));
  }
  const std::size_t number = std::max<std::size_t>(choice.set, 1);
  const auto& set = sets[number - 1];
  if (!set.live) {
    throw readers::ReadError(
        record.file, "",
        fmt::format("its {} {} dead: {}", words_for(set), set.count == 1 ? "is" : "are", cause_of_death(record, set)),
        "choose others with --set or --channels; dipx info lists what there is");
  }
  return {set, number, sets.size(), choice.line_to_line && !set.between_phases};
}

void note_few(const readers::Record& record, const readers::VoltageSet& set, Notes& notes) {
  const auto name = [&](std::size_t phase) { return record.channels[set.channels[phase]].name; };
  notes.push_back(set.count == 1 ? fmt::format("{} is the only voltage of the record and is analysed alone.", name(0))
                                 : fmt::format("{} and {} are the only voltages of the record.", name(0), name(1)));
}

void note_how_found(const readers::Record& record, const readers::VoltageSet& set, Notes& notes) {
  const auto name = [&](std::size_t phase) { return record.channels[set.channels[phase]].name; };
  const auto unit = [&](std::size_t phase) { return record.channels[set.channels[phase]].unit; };
  if (set.between_phases && set.count == 3) {
    notes.push_back(
        fmt::format("{}, {}, {} are line-to-line voltages and are analysed as they are.", name(0), name(1), name(2)));
  }
  for (std::size_t phase = 0; phase < set.count; phase++) {
    const auto& channel = record.channels[set.channels[phase]];
    if (set.between_phases && set.turned[phase]) {
      notes.push_back(fmt::format("{} is taken with the other sign, as the voltage {}.", channel.name,
                                  std::array{"AB", "BC", "CA"}[phase]));
    }
    if (!set.between_phases && set.doubtful[phase]) {
      notes.push_back(
          fmt::format("The name {} and the phase field {} indicate different phases; it is used as phase {} (override "
                      "with --channels).",
                      channel.name, channel.phase, "ABC"[phase]));
    }
  }
  if (set.source == readers::PhaseSource::order) {
    notes.push_back(fmt::format("That {}, {}, {} belong together is guessed from their order in the file.", name(0),
                                name(1), name(2)));
  }
  if (set.unit_guessed && unit(0).empty()) {
    notes.push_back(fmt::format("{}, {}, {} have no unit; their names are those of voltages, so V is assumed.", name(0),
                                name(1), name(2)));
  } else if (set.unit_guessed) {
    notes.push_back(fmt::format(
        "The unit of {}, {}, {} is {}, which is not a unit of voltage; their names are those of voltages, so V is assumed.",
        name(0), name(1), name(2), unit(0)));
  }
}

}  // namespace

std::vector<bool> channels_to_read(const readers::Record& record, const VoltageChoice& choice) {
  std::vector<bool> wanted(record.channels.size(), false);
  const auto want = [&](const readers::VoltageSet& set) {
    for (const std::size_t channel : set.channels) wanted[channel] = true;
  };
  if (choice.channels.empty()) {
    // All sets, as only their samples tell which are live.
    const auto sets = sets_of_kind(record, choice);
    std::for_each(sets.begin(), sets.end(), want);
    return wanted;
  }
  try {
    want(readers::named_voltage_set(record, choice.channels));
  } catch (const readers::ReadError&) {
    // Names that fit no channel are refused when the voltages are picked.
  }
  return wanted;
}

std::vector<std::size_t> live_sets(const readers::Record& record, const VoltageChoice& choice) {
  std::vector<std::size_t> numbers;
  if (!choice.channels.empty()) return numbers;
  const auto sets = sets_of_kind(record, choice);
  for (std::size_t i = 0; i < sets.size(); i++) {
    if (sets[i].live) numbers.push_back(i + 1);
  }
  return numbers;
}

Noted<ChosenSet> choose_set(const readers::Record& record, const VoltageChoice& choice) {
  Noted<ChosenSet> chosen;
  if (choice.channels.empty()) {
    chosen.value = found_set(record, choice);
    if (chosen.value.set.count < 3) note_few(record, chosen.value.set, chosen.notes);
  } else {
    chosen.value.set = named_set(record, choice);
    chosen.value.compute = choice.line_to_line && chosen.value.set.count == 3 && !chosen.value.set.between_phases;
    if (choice.line_to_line && chosen.value.set.count < 3) chosen.value.set.between_phases = true;
  }
  if (chosen.value.compute) {
    chosen.notes.push_back("The voltages between phases were computed from the phase voltages.");
  }
  note_how_found(record, chosen.value.set, chosen.notes);
  return chosen;
}

}  // namespace analysis
