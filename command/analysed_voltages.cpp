#include "command/analysed_voltages.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <numbers>
#include <utility>

#include "command/refusal.h"
#include "command/resampling.h"

namespace command {

namespace {

/// Below this the shape of a cycle cannot be told.
constexpr double fewest_samples_per_cycle = 8;

/// No phase voltage of any grid; where a unit makes one so high, it is wrong.
constexpr double implausible_volts = 2e6;

std::string plural(std::size_t count, const char* noun) {
  return fmt::format("{} {}{}", count, noun, count == 1 ? "" : "s");
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
    throw readers::ReadError(record.file, "", fmt::format("its three {} are dead", kind),
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
  if (set.source == readers::PhaseSource::order) {
    notes.push_back(fmt::format("That {}, {}, {} belong together is guessed from their order in the file.", name(0),
                                name(1), name(2)));
  }
  if (set.unit_guessed) {
    notes.push_back(
        fmt::format("The unit of {}, {}, {} is {}, not one of voltage; by their names they are taken for V.", name(0),
                    name(1), name(2), unit(0)));
  }
}

/// How much of the part's first tenth of a second, a whole number of cycles of 50 and of 60 Hz, is at a frequency.
double power_at(double frequency, const readers::Channel& channel, const readers::Part& part) {
  const auto length = static_cast<std::size_t>(std::lround(part.rate / 10));
  std::complex<double> sum = 0;
  for (std::size_t i = 0; i < length; i++) {
    const double value = channel.samples[part.begin + i];
    const double angle = 2 * std::numbers::pi * frequency * static_cast<double>(i) / part.rate;
    if (std::isfinite(value)) sum += value * std::polar(1.0, angle);
  }
  return std::norm(sum);
}

/// The line frequency that the waveform shows: 50 or 60 Hz, one having at least `clearly` times the other's power; 0
/// when it does not tell.
double shown_frequency(const readers::Record& record, std::size_t channel, double clearly) {
  const auto& samples = record.channels[channel];
  for (const auto& part : readers::parts_of(record)) {
    if (!(part.rate >= 60 * fewest_samples_per_cycle) || static_cast<double>(part.length()) < part.rate / 10) continue;
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

/// Index of the part that is analysed: the one the user names, or round the trigger, or the longest that will do.
std::size_t chosen_part(const readers::Record& record, const std::vector<readers::Part>& parts,
                        const VoltageChoice& choice, double frequency) {
  if (parts.empty()) {
    throw readers::ReadError(record.file, "", "the voltages have no values", "choose other channels or another record");
  }
  if (choice.part > parts.size()) {
    throw UnknownChoice(
        fmt::format("{}: there is no part {}, only {}; dipx info lists them", record.file, choice.part, parts.size()));
  }
  if (choice.part > 0) return choice.part - 1;
  const auto cycles = [&](const readers::Part& part) {
    return part.rate > 0 ? static_cast<double>(part.length()) * frequency / part.rate : 0;
  };
  const auto will_do = [&](const readers::Part& part) {
    return part.rate >= fewest_samples_per_cycle * frequency && cycles(part) >= 2;
  };
  std::size_t best = 0;
  for (std::size_t i = 0; i < parts.size(); i++) {
    if (holds_trigger(parts[i], record) && will_do(parts[i])) return i;
    if (std::pair(will_do(parts[i]), cycles(parts[i])) > std::pair(will_do(parts[best]), cycles(parts[best]))) best = i;
  }
  return best;
}

void note_part(const readers::Record& record, const AnalysedVoltages& voltages, bool by_user,
               std::vector<std::string>& notes) {
  if (voltages.parts < 2) return;
  const auto& part = voltages.part;
  const bool triggered = holds_trigger(part, record);
  notes.push_back(fmt::format(
      "The record falls into {} parts by sampling rate and gaps; this is part {}{}, from {:.4f} s to {:.4f} s{}.",
      voltages.parts, voltages.part_number,
      by_user     ? ""
      : triggered ? ", which holds the trigger"
                  : ", the longest",
      part.start, part.start + static_cast<double>(part.length()) / part.rate,
      by_user ? "" : " (--part chooses another, dipx info lists them)"));
}

void note_bridges(const readers::Record& record, std::size_t channel, const readers::BridgedSamples& samples,
                  std::vector<std::string>& notes) {
  if (samples.bridged == 0) return;
  notes.push_back(fmt::format("Of {} {} missing (the first is sample {}, the longest gap {}): bridged by a curve.",
                              record.channels[channel].name,
                              samples.bridged == 1 ? "1 value is" : fmt::format("{} values are", samples.bridged),
                              samples.first + 1, plural(samples.longest_gap, "sample")));
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

void fill(const readers::Record& record, AnalysedVoltages& voltages, Waveform& waveform,
          std::vector<std::string>& notes) {
  std::array<double, 3> factors{};
  for (std::size_t phase = 0; phase < 3; phase++) {
    const auto unit = readers::volts_per_unit(record, voltages.channels[phase]);
    factors[phase] = unit.factor;
    voltages.unit_assumed[phase] = unit.assumed;
  }
  const double level = take_values(record, voltages, factors, waveform, &notes);
  if (level <= implausible_volts || *std::max_element(factors.begin(), factors.end()) <= 1) return;
  notes.push_back(fmt::format("The unit {} makes the voltages {:.3g} V, which cannot be; they are taken for V.",
                              record.channels[voltages.channels[0]].unit, level));
  voltages.unit_assumed = {true, true, true};
  take_values(record, voltages, {1, 1, 1}, waveform, nullptr);
}

void note_skew(const readers::Record& record, const AnalysedVoltages& voltages, std::vector<std::string>& notes) {
  constexpr double least_degrees = 0.5;
  double largest = 0;
  for (const std::size_t channel : voltages.channels) {
    largest = std::max(largest, std::abs(record.channels[channel].skew));
  }
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
  const std::size_t index = chosen_part(record, parts, choice, voltages.line_frequency);
  voltages.part = parts[index];
  voltages.part_number = index + 1;
  voltages.parts = parts.size();
  note_part(record, voltages, choice.part > 0, notes);

  const double rate = voltages.part.rate;
  if (!(rate > 0)) {
    throw Refusal(record.file, "neither it nor its time stamps tell the sampling rate", "give it with --rate");
  }
  const double samples = rate / voltages.line_frequency;
  if (samples < fewest_samples_per_cycle * (1 - 1e-9)) {
    throw Refusal(record.file,
                  fmt::format("its {:g} Hz are {:g} samples per cycle of {:g} Hz, too few to tell a cycle's shape",
                              rate, samples, voltages.line_frequency),
                  "use a record with at least 8");
  }
  fill(record, voltages, waveform, notes);
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

}  // namespace command
