#include "analysis/choice/chosen_set.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <utility>

#include "analysis/analysed_voltages.h"
#include "readers/text.h"
#include "readers/voltages/bay_currents.h"
#include "readers/voltages/channel_choice.h"
#include "readers/voltages/set_search.h"

namespace analysis {

namespace {

/// Returns the reason for which three voltages carry no usable signal.
std::string cause_of_death(const readers::Record& record, const readers::VoltageSet& set) {
  for (const std::size_t index : set.channels) {
    const auto& channel = record.channels[index];
    const auto is_value = [](double value) { return std::isfinite(value); };
    const auto first = std::find_if(channel.samples.begin(), channel.samples.end(), is_value);
    if (first == channel.samples.end())
      return fmt::format("channel {} has no values", readers::shortened(channel.name));
    if (channel.zero_scale) return fmt::format("the scale factor of channel {} is 0", readers::shortened(channel.name));
    const bool flat =
        std::all_of(first, channel.samples.end(), [&](double value) { return !is_value(value) || value == *first; });
    if (flat) return fmt::format("channel {} is {:g} throughout", readers::shortened(channel.name), *first);
  }
  if (!set.alternates) return "their values do not alternate, so they are a trend of RMS values or a direct voltage";
  return "they are noise below 20 mV or far smaller than others of the record, or do not show the line frequency";
}

readers::VoltageSet named_set(const readers::Record& record, const VoltageChoice& choice) {
  try {
    return readers::named_voltage_set(record, choice.channels);
  } catch (const readers::ReadError& error) {
    throw UnknownChoice(error.what());
  }
}

/// Returns the sets of the requested kind, or those between phases if the record has no others. If no voltages between
/// phases are recorded, these are the sets of phase voltages from which they can be computed. If no three voltages
/// belong together, the only set has the one or two voltages of the record.
std::vector<readers::VoltageSet> sets_of_kind(const readers::Record& record, const VoltageChoice& choice) {
  const auto channels = readers::named_channels(record);
  auto lines = readers::find_line_to_line_sets(record, channels);
  if (choice.line_to_line && !lines.empty()) return lines;
  auto phases = readers::find_voltage_sets(record, channels);
  if (!phases.empty()) return phases;
  if (!lines.empty()) return lines;
  const auto few = readers::find_few_voltages(record, channels);
  if (few && (few->between_phases || !choice.line_to_line)) phases.push_back(*few);
  return phases;
}

/// Describes the voltages of a set with their number: "three phase voltages".
std::string words_for(const readers::VoltageSet& set) {
  if (set.count == 1) return "only voltage";
  if (set.count == 2) return "only two voltages";
  return set.between_phases ? "three line-to-line voltages" : "three phase voltages";
}

/// One of those that the record holds.
ChosenSet found_set(const readers::Record& record, const VoltageChoice& choice,
                    const std::vector<readers::VoltageSet>& sets) {
  if (sets.empty()) {
    throw readers::ReadError(record.file, "",
                             "no three phase voltages found among its channels: " + readers::channel_list(record),
                             "name them with --channels");
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
    throw readers::ReadError(record.file, "",
                             fmt::format("its {} {} {}: {}", words_for(set), set.count == 1 ? "is" : "are",
                                         set.alternates ? "dead" : "no waveform", cause_of_death(record, set)),
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
      notes.push_back(
          fmt::format("{} is taken with the other sign, as the voltage {}.", channel.name, pairs_of_phases[phase]));
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
  if (set.source == readers::PhaseSource::number) {
    notes.push_back(
        fmt::format("That {}, {}, {} are the phases A, B, C is guessed from their numbers (override with "
                    "--channels).",
                    name(0), name(1), name(2)));
  }
  if (set.source == readers::PhaseSource::only_three) {
    notes.push_back(
        fmt::format("That {}, {}, {} are the phases A, B, C is guessed, because the record has no other "
                    "voltages; their order is that of the file (override with --channels).",
                    name(0), name(1), name(2)));
  }
  if (set.unit_guessed && unit(0).empty() && set.source == readers::PhaseSource::only_three) {
    notes.push_back(fmt::format("{}, {}, {} have no unit; V is assumed.", name(0), name(1), name(2)));
  } else if (set.unit_guessed && unit(0).empty()) {
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
  std::vector<bool> wanted = voltages_to_read(record, choice);
  readers::want_currents(record, wanted);
  return wanted;
}

std::vector<bool> voltages_to_read(const readers::Record& record, const VoltageChoice& choice) {
  std::vector<bool> wanted(record.channels.size(), false);
  const auto want = [&](const readers::VoltageSet& set) {
    for (const std::size_t channel : set.channels) wanted[channel] = true;
  };
  if (choice.channels.empty()) {
    // All sets, as only their samples tell which are live.
    const auto found = sets_of_kind(record, choice);
    std::for_each(found.begin(), found.end(), want);
    return wanted;
  }
  try {
    want(readers::named_voltage_set(record, choice.channels));
  } catch (const readers::ReadError&) {
    // Names that fit no channel are refused when the voltages are picked.
  }
  return wanted;
}

std::vector<readers::VoltageSet> sets_for(const readers::Record& record, const VoltageChoice& choice) {
  return choice.channels.empty() ? sets_of_kind(record, choice) : std::vector<readers::VoltageSet>();
}

Noted<ChosenSet> choose_set(const readers::Record& record, const VoltageChoice& choice,
                            const std::vector<readers::VoltageSet>& sets) {
  Noted<ChosenSet> chosen;
  if (choice.channels.empty()) {
    chosen.value = found_set(record, choice, sets);
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
