#include "analysis/analysed_voltages.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <iterator>
#include <limits>
#include <numbers>
#include <optional>
#include <utility>

#include "analysis/refusal.h"
#include "analysis/resampling.h"
#include "readers/text.h"
#include "readers/voltages/channel_choice.h"
#include "readers/voltages/fourier.h"
#include "readers/voltages/named_channel.h"
#include "readers/voltages/set_search.h"

namespace analysis {

namespace {

/// No phase voltage of any grid; where a unit makes one so high, it is wrong.
constexpr double implausible_volts = 2e6;

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

readers::VoltageSet chosen_set(const readers::Record& record, const VoltageChoice& choice, AnalysedVoltages& voltages,
                               std::vector<std::string>& notes) {
  if (!choice.channels.empty()) {
    try {
      auto set = readers::named_voltage_set(record, choice.channels);
      if (choice.line_to_line) set.between_phases = true;
      return set;
    } catch (const readers::ReadError& error) {
      throw UnknownChoice(error.what());
    }
  }
  const auto sets = choice.line_to_line ? readers::find_line_to_line_sets(record) : readers::find_voltage_sets(record);
  const char* kind = choice.line_to_line ? "line-to-line voltages" : "phase voltages";
  if (sets.empty()) {
    const bool others = !choice.line_to_line && !readers::find_line_to_line_sets(record).empty();
    throw readers::ReadError(
        record.file, "", fmt::format("no three {} found among its channels", kind),
        others ? "it has line-to-line voltages: --line-to-line analyses them as such" : "name them with --channels");
  }
  if (choice.set > sets.size()) {
    throw UnknownChoice(fmt::format("{}: there is no set {} of three {}, only {}; dipx info lists what there is",
                                    record.file, choice.set, kind, sets.size()));
  }
  voltages.sets = sets.size();
  voltages.set = std::max<std::size_t>(choice.set, 1);
  const auto& set = sets[voltages.set - 1];
  if (!set.live) {
    throw readers::ReadError(record.file, "",
                             fmt::format("its three {} are dead: {}", kind, cause_of_death(record, set)),
                             "choose others with --set or --channels; dipx info lists what there is");
  }
  if (sets.size() > 1 && choice.set == 0) {
    notes.push_back(
        fmt::format("The record holds {} sets of three {}; this is set {} (--set or --channels chooses another, dipx "
                    "info lists them).",
                    sets.size(), kind, voltages.set));
  }
  return set;
}

void note_how_found(const readers::Record& record, const readers::VoltageSet& set, std::vector<std::string>& notes) {
  const auto name = [&](std::size_t phase) { return record.channels[set.channels[phase]].name; };
  const auto unit = [&](std::size_t phase) { return record.channels[set.channels[phase]].unit; };
  if (set.between_phases) {
    notes.push_back(fmt::format(
        "{}, {}, {} are line-to-line voltages and analysed as they are: phases A, B, C stand for AB, BC, CA, and "
        "categories and zero sequence mean what they do for these.",
        name(0), name(1), name(2)));
  }
  for (std::size_t phase = 0; phase < 3; phase++) {
    const auto& channel = record.channels[set.channels[phase]];
    if (set.between_phases && set.turned[phase]) {
      notes.push_back(fmt::format("{} is taken with the other sign, as the voltage {}.", channel.name,
                                  std::array{"AB", "BC", "CA"}[phase]));
    }
    if (!set.between_phases && set.doubtful[phase]) {
      notes.push_back(fmt::format(
          "The name {} and the phase field {} tell different phases; it is taken for phase {} (--channels tells "
          "otherwise).",
          channel.name, channel.phase, "ABC"[phase]));
    }
  }
  if (set.source == readers::PhaseSource::order) {
    notes.push_back(fmt::format("That {}, {}, {} belong together is guessed from their order in the file.", name(0),
                                name(1), name(2)));
  }
  if (set.unit_guessed && unit(0).empty()) {
    notes.push_back(fmt::format("{}, {}, {} have no unit; by their names they are taken for voltages in V.", name(0),
                                name(1), name(2)));
  } else if (set.unit_guessed) {
    notes.push_back(
        fmt::format("The unit of {}, {}, {} is {}, not one of voltage; by their names they are taken for V.", name(0),
                    name(1), name(2), unit(0)));
  }
}

/// How much of the part's first tenth of a second, a whole number of cycles of 50 and of 60 Hz, is at a frequency.
double power_at(double frequency, const readers::Channel& channel, const readers::Part& part) {
  const auto length = static_cast<std::size_t>(std::lround(part.rate / 10));
  return std::norm(
      readers::fourier_sum(channel.samples, part.begin, length, readers::rotation_of(part.rate / frequency, length)));
}

/// The line frequency that the waveform shows: 50 or 60 Hz, one having at least `clearly` times the other's power; 0
/// when it does not tell.
double shown_frequency(const readers::Record& record, std::size_t channel, double clearly) {
  const auto& samples = record.channels[channel];
  for (const auto& part : readers::parts_of(record)) {
    if (!(part.rate >= 60 * readers::fewest_samples_per_cycle) || static_cast<double>(part.length()) < part.rate / 10)
      continue;
    const double fifty = power_at(50, samples, part);
    const double sixty = power_at(60, samples, part);
    if (fifty > clearly * sixty) return 50;
    return sixty > clearly * fifty ? 60 : 0;
  }
  return 0;
}

double line_frequency_of(const readers::Record& record, std::size_t channel, double given,
                         std::vector<std::string>& notes) {
  if (given > 0) return given;
  if (record.line_frequency > 0) {
    const double shown = shown_frequency(record, channel, 100);
    const bool other = (record.line_frequency == 50 && shown == 60) || (record.line_frequency == 60 && shown == 50);
    if (!other) return record.line_frequency;
    notes.push_back(fmt::format(
        "The file states a line frequency of {:g} Hz, but the waveform's is {:g} Hz, which is used (--frequency tells "
        "otherwise).",
        record.line_frequency, shown));
    return shown;
  }
  if (shown_frequency(record, channel, 4) == 60) {
    notes.emplace_back(
        "The file does not state the line frequency; by the waveform it is 60 Hz (--frequency tells otherwise).");
    return 60;
  }
  notes.emplace_back("The file does not state the line frequency; 50 Hz is assumed (--frequency tells otherwise).");
  return 50;
}

/// Whether the trigger is in the part. At the record's first sample it tells nothing: programs without one write the
/// time of the start for both.
bool holds_trigger(const readers::Part& part, const readers::Record& record) {
  return part.rate > 0 && record.trigger && *record.trigger > 0 && *record.trigger >= part.start &&
         *record.trigger < part.start + static_cast<double>(part.length()) / part.rate;
}

/// RMS of a channel over one cycle each, half a cycle apart; missing values are left aside, and cycles that lack more
/// than a quarter.
std::vector<double> cycle_levels(const readers::Channel& channel, const readers::Part& part, double frequency) {
  std::vector<double> levels;
  const auto cycle = static_cast<std::size_t>(std::lround(part.rate / frequency));
  for (std::size_t begin = part.begin; begin + cycle <= part.end; begin += cycle / 2) {
    double sum = 0;
    std::size_t count = 0;
    for (std::size_t i = begin; i < begin + cycle; i++) {
      const double value = channel.samples[i];
      if (!readers::fits_float(value)) continue;
      sum += value * value;
      count++;
    }
    if (4 * count >= 3 * cycle) levels.push_back(std::sqrt(sum / static_cast<double>(count)));
  }
  return levels;
}

/// Below this a part is taken to hold a dip.
constexpr double low = 0.9;

/// What of the record may be analysed, and how low the voltage is in it.
struct PartView {
  bool will_do = false;  ///< for an analysis, by rate and length
  double cycles = 0;
  bool starts_low = false;  ///< within a dip, so that what was before it is not known
  double lowest = 1;        ///< the lowest RMS of a cycle in any phase over what that phase usually has
};

std::vector<PartView> views_of(const readers::Record& record, const AnalysedVoltages& voltages,
                               const std::vector<readers::Part>& parts) {
  const double frequency = voltages.line_frequency;
  std::vector<PartView> views(parts.size());
  for (std::size_t i = 0; i < parts.size(); i++) {
    const auto& part = parts[i];
    views[i].cycles = part.rate > 0 ? static_cast<double>(part.length()) * frequency / part.rate : 0;
    views[i].will_do = part.rate >= readers::fewest_samples_per_cycle * frequency && views[i].cycles >= 2;
  }
  if (parts.size() < 2) return views;
  std::array<std::vector<std::vector<double>>, 3> levels;
  std::array<double, 3> usual{};
  for (std::size_t phase = 0; phase < 3; phase++) {
    for (std::size_t i = 0; i < parts.size(); i++) {
      auto& those = levels[phase].emplace_back();
      if (!views[i].will_do) continue;
      those = cycle_levels(record.channels[voltages.channels[phase]], parts[i], frequency);
      if (those.empty()) continue;
      auto sorted = those;
      std::sort(sorted.begin(), sorted.end());
      usual[phase] = std::max(usual[phase], sorted[sorted.size() / 2]);
    }
  }
  constexpr double noise = 0.1;
  for (std::size_t phase = 0; phase < 3; phase++) {
    if (!(usual[phase] > noise * *std::max_element(usual.begin(), usual.end()))) continue;
    for (std::size_t i = 0; i < parts.size(); i++) {
      for (const double level : levels[phase][i]) views[i].lowest = std::min(views[i].lowest, level / usual[phase]);
      if (!levels[phase][i].empty() && levels[phase][i][0] < low * usual[phase]) views[i].starts_low = true;
    }
  }
  return views;
}

/// Which part is analysed, and why.
struct ChosenPart {
  std::size_t index = 0;
  const char* why = "";
};

/// The part that the user names, or round the trigger, or the longest that will do; but one with a dip comes before
/// those without, and before those that begin within one.
ChosenPart chosen_part(const readers::Record& record, const std::vector<readers::Part>& parts,
                       const std::vector<PartView>& views, const VoltageChoice& choice) {
  if (parts.empty()) {
    throw readers::ReadError(record.file, "", "the voltages have no values", "choose other channels or another record");
  }
  if (choice.part > parts.size()) {
    throw UnknownChoice(
        fmt::format("{}: there is no part {}, only {}; dipx info lists them", record.file, choice.part, parts.size()));
  }
  if (choice.part > 0) return {choice.part - 1, ""};
  ChosenPart best{0, ", the longest"};
  const auto merit = [&](std::size_t i) { return std::pair(views[i].will_do, views[i].cycles); };
  for (std::size_t i = 1; i < parts.size(); i++) {
    if (merit(i) > merit(best.index)) best.index = i;
  }
  for (std::size_t i = parts.size(); i-- > 0;) {
    if (holds_trigger(parts[i], record) && views[i].will_do) best = {i, ", which holds the trigger"};
  }
  const auto rank = [](const PartView& view) { return view.lowest < low ? view.starts_low ? 1 : 0 : 2; };
  const auto lowest = std::min_element(views.begin(), views.end(), [&](const PartView& a, const PartView& b) {
    return std::pair(rank(a), a.lowest) < std::pair(rank(b), b.lowest);
  });
  if (rank(views[best.index]) <= rank(*lowest)) return best;
  return {static_cast<std::size_t>(lowest - views.begin()), ", which holds a dip"};
}

void note_part(const AnalysedVoltages& voltages, const std::vector<PartView>& views, const char* why,
               std::vector<std::string>& notes) {
  if (voltages.parts < 2) return;
  const auto& part = voltages.part;
  const bool by_user = *why == 0;
  notes.push_back(fmt::format(
      "The record falls into {} parts by sampling rate and gaps; this is part {}{}, from {:.4f} s to {:.4f} s{}.",
      voltages.parts, voltages.part_number, why, part.start,
      part.start + static_cast<double>(part.length()) / part.rate,
      by_user ? "" : " (--part chooses another, dipx info lists them)"));
  if (by_user) return;
  constexpr std::size_t most = 5;
  std::string others;
  std::size_t count = 0;
  for (std::size_t i = 0; i < views.size(); i++) {
    if (i + 1 == voltages.part_number || !(views[i].lowest < low)) continue;
    if (++count > most) continue;
    fmt::format_to(std::back_inserter(others), "{}part {} to {:.1f} %", count == 1 ? "" : ", ", i + 1,
                   100 * views[i].lowest);
  }
  if (count == 0) return;
  if (count > most) fmt::format_to(std::back_inserter(others), " and {} more", count - most);
  notes.push_back(fmt::format("The voltage falls below 90 % of its usual level elsewhere too: {} (--part analyses {}).",
                              others, count == 1 ? "it" : "one of them"));
}

/// Rates that are nearly alike make one part, at their mean.
void note_rates(const readers::Record& record, const readers::Part& part, std::vector<std::string>& notes) {
  constexpr double worth_saying = 1e-4;
  double lowest = part.rate;
  double highest = part.rate;
  std::size_t begin = 0;
  for (const auto& section : record.rates) {
    if (section.end > part.begin && begin < part.end && section.rate > 0) {
      lowest = std::min(lowest, section.rate);
      highest = std::max(highest, section.rate);
    }
    begin = section.end;
  }
  if (highest - lowest <= worth_saying * lowest) return;
  notes.push_back(fmt::format(
      "The sampling rate goes from {:.6g} to {:.6g} samples per second within the part; its mean, {:.6g}, is taken for "
      "all.",
      lowest, highest, part.rate));
}

void note_bridges(const readers::Record& record, std::size_t channel, const readers::BridgedSamples& samples,
                  std::vector<std::string>& notes) {
  if (samples.bridged == 0) return;
  notes.push_back(fmt::format("Of {} {} missing (the first is sample {}, the longest gap {}): bridged by a curve.",
                              record.channels[channel].name,
                              samples.bridged == 1 ? "1 value is" : fmt::format("{} values are", samples.bridged),
                              samples.first + 1, readers::plural(samples.longest_gap, "sample")));
}

/// The phases' values over the part, in volts; returns the largest RMS.
double take_values(const readers::Record& record, const AnalysedVoltages& voltages,
                   const std::array<double, 3>& factors, Waveform& waveform, std::vector<std::string>* notes) {
  double largest = 0;
  for (std::size_t phase = 0; phase < 3; phase++) {
    auto samples = readers::bridged_samples(record, voltages.channels[phase], voltages.part, factors[phase]);
    if (notes != nullptr) note_bridges(record, voltages.channels[phase], samples, *notes);
    waveform[phase] = std::move(samples.values);
    double sum = 0;
    for (const float value : waveform[phase]) sum += static_cast<double>(value) * static_cast<double>(value);
    largest = std::max(largest, std::sqrt(sum / static_cast<double>(waveform[phase].size())));
  }
  return largest;
}

void fill(const readers::Record& record, AnalysedVoltages& voltages, const std::array<bool, 3>& turned,
          Waveform& waveform, std::vector<std::string>& notes) {
  std::array<double, 3> factors{};
  std::array<double, 3> signs{};
  for (std::size_t phase = 0; phase < 3; phase++) {
    const auto unit = readers::volts_per_unit(record, voltages.channels[phase]);
    signs[phase] = voltages.between_phases && turned[phase] ? -1 : 1;
    factors[phase] = unit.factor * signs[phase];
    voltages.unit_assumed[phase] = unit.assumed;
  }
  const double level = take_values(record, voltages, factors, waveform, &notes);
  if (level <= implausible_volts) return;
  const bool scaled = std::any_of(factors.begin(), factors.end(), [](double factor) { return std::abs(factor) > 1; });
  if (!scaled) {
    notes.push_back(fmt::format(
        "The voltages are {:.3g} V, more than any grid has: check the units and scale factors in the file.", level));
    return;
  }
  notes.push_back(fmt::format("The unit {} makes the voltages {:.3g} V, which cannot be; they are taken for V.",
                              record.channels[voltages.channels[0]].unit, level));
  voltages.unit_assumed = {true, true, true};
  const double taken = take_values(record, voltages, signs, waveform, nullptr);
  if (taken > implausible_volts) {
    notes.push_back(fmt::format("Even so they are {:.3g} V: check the units and scale factors in the file.", taken));
  }
}

/// The phases' fundamentals over the first two cycles; nothing where they are too short or mostly something else.
std::optional<std::array<std::complex<double>, 3>> first_phasors(const Waveform& waveform, double samples_per_cycle) {
  constexpr double mostly = 0.8;  // of the energy
  const auto length = static_cast<std::size_t>(std::lround(2 * samples_per_cycle));
  std::array<std::complex<double>, 3> phasors;
  if (waveform[0].size() < length) return std::nullopt;
  const readers::Rotation rotation = readers::rotation_of(samples_per_cycle, length);
  for (std::size_t phase = 0; phase < 3; phase++) {
    phasors[phase] = readers::fourier_sum(waveform[phase], 0, length, rotation);
    double energy = 0;
    for (std::size_t i = 0; i < length; i++) {
      const auto value = static_cast<double>(waveform[phase][i]);
      energy += value * value;
    }
    if (!(2 * std::norm(phasors[phase]) >= mostly * energy * static_cast<double>(length)) || energy == 0) {
      return std::nullopt;
    }
  }
  return phasors;
}

/// Whether three phasors are alike in length and turn as phases A, B, C do.
bool turn_as_abc(std::complex<double> a, std::complex<double> b, std::complex<double> c) {
  constexpr double nearly = 0.95;
  const auto third = std::polar(1.0, 2 * std::numbers::pi / 3);
  const double longest = std::max({std::abs(a), std::abs(b), std::abs(c)});
  return std::abs(a + third * b + third * third * c) >= 3 * nearly * longest;
}

/// Says what the first cycles, when they are sound, show of phases exchanged or connected the other way round.
void note_connection(const readers::Record& record, const AnalysedVoltages& voltages, const Waveform& waveform,
                     double samples_per_cycle, std::vector<std::string>& notes) {
  const auto phasors = first_phasors(waveform, samples_per_cycle);
  if (!phasors) return;
  const auto& [a, b, c] = *phasors;
  const auto name = [&](std::size_t phase) { return record.channels[voltages.channels[phase]].name; };
  if (turn_as_abc(a, c, b)) {
    notes.push_back(fmt::format(
        "In the first cycles the phases follow each other as A, C, B: two of them seem to be exchanged, or the line "
        "turns that way (--channels {},{},{} takes them in the other order).",
        voltages.channels[0] + 1, voltages.channels[2] + 1, voltages.channels[1] + 1));
    return;
  }
  for (std::size_t phase = 0; phase < 3; phase++) {
    auto turned = *phasors;
    turned[phase] = -turned[phase];
    const bool in_order = turn_as_abc(turned[0], turned[1], turned[2]);
    if (!in_order && !turn_as_abc(turned[0], turned[2], turned[1])) continue;
    notes.push_back(fmt::format(
        "In the first cycles {} is opposite to where phase {} belongs{}: it seems to be connected the other way round, "
        "which makes categories, phase jumps and zero sequence wrong (turn its sign in the file).",
        name(phase), "ABC"[phase], in_order ? "" : ", and the phases follow each other as A, C, B"));
    return;
  }
}

void note_skew(const readers::Record& record, const AnalysedVoltages& voltages, std::vector<std::string>& notes) {
  constexpr double least_degrees = 0.5;
  const auto skew = [&](std::size_t phase) { return record.channels[voltages.channels[phase]].skew; };
  const auto [first, last] = std::minmax({skew(0), skew(1), skew(2)});
  const double largest = last - first;
  const double degrees = 360 * voltages.line_frequency * largest;
  if (degrees < least_degrees) return;
  notes.push_back(
      fmt::format("The channels are sampled up to {:.4g} us apart ({:.1f} degrees), which is not corrected.",
                  largest * 1e6, degrees));
}

}  // namespace

std::size_t AnalysedVoltages::record_sample_at(std::size_t sample) const {
  if (!resampled) return part.begin + sample;
  const double behind = (seconds_at(sample) - part.start) * part.rate;
  return part.begin + std::min(static_cast<std::size_t>(std::lround(std::max(behind, 0.0))), part.length());
}

std::vector<bool> channels_to_read(const readers::Record& record, const VoltageChoice& choice) {
  std::vector<bool> wanted(record.channels.size(), false);
  const auto want = [&](const readers::VoltageSet& set) {
    for (const std::size_t channel : set.channels) wanted[channel] = true;
  };
  if (choice.channels.empty()) {
    // All sets, as only their samples tell which are live.
    const auto sets =
        choice.line_to_line ? readers::find_line_to_line_sets(record) : readers::find_voltage_sets(record);
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

AnalysedVoltages pick_voltages(const readers::Record& record, const VoltageChoice& choice, Waveform& waveform,
                               std::vector<std::string>& notes, const StageReport& report_stage) {
  AnalysedVoltages voltages;
  const auto set = chosen_set(record, choice, voltages, notes);
  voltages.channels = set.channels;
  voltages.between_phases = set.between_phases;
  note_how_found(record, set, notes);
  voltages.line_frequency = line_frequency_of(record, set.channels[0], choice.line_frequency, notes);

  const auto parts =
      readers::parts_without_gaps(record, voltages.channels, longest_bridge_cycles / voltages.line_frequency);
  const auto views = views_of(record, voltages, parts);
  const auto chosen = chosen_part(record, parts, views, choice);
  voltages.part = parts[chosen.index];
  voltages.part_number = chosen.index + 1;
  voltages.parts = parts.size();
  note_part(voltages, views, chosen.why, notes);
  note_rates(record, voltages.part, notes);

  const double rate = voltages.part.rate;
  if (!(rate > 0)) {
    throw Refusal(record.file, "neither it nor its time stamps tell the sampling rate", "give it with --rate");
  }
  const double samples = rate / voltages.line_frequency;
  if (samples < readers::fewest_samples_per_cycle * (1 - 1e-9)) {
    throw Refusal(record.file,
                  fmt::format("its {:g} Hz are {:g} samples per cycle of {:g} Hz, too few to tell a cycle's shape",
                              rate, samples, voltages.line_frequency),
                  fmt::format("use a record with at least {:g}", readers::fewest_samples_per_cycle));
  }
  fill(record, voltages, set.turned, waveform, notes);
  note_connection(record, voltages, waveform, samples, notes);
  note_skew(record, voltages, notes);
  voltages.samples_per_cycle = analysed_samples_per_cycle(samples);
  voltages.resampled = needs_resampling(samples, voltages.samples_per_cycle);
  voltages.sampling_rate = rate;
  voltages.start = voltages.part.start;
  if (voltages.resampled) {
    voltages.sampling_rate = voltages.samples_per_cycle * voltages.line_frequency;
    for (std::size_t phase = 0; phase < 3; phase++) {
      report_stage("resampling", static_cast<double>(phase) / 3);
      auto result = resampled(waveform[phase], rate, voltages.sampling_rate, samples);
      waveform[phase] = std::move(result.values);
      voltages.start = voltages.part.start + result.delay;
    }
    notes.push_back(fmt::format("Resampled from {:.6g} to {} samples per cycle for the analysis.", samples,
                                voltages.samples_per_cycle));
  }
  voltages.length = waveform[0].size();
  return voltages;
}

}  // namespace analysis
