#include "analysis/choice/pick_voltages.h"

#include <fmt/format.h>

#include <cmath>
#include <span>
#include <string>
#include <utility>

#include "analysis/choice/chosen_part.h"
#include "analysis/choice/part_volts.h"
#include "analysis/choice/start_up.h"
#include "analysis/choice/voltages_between_phases.h"
#include "analysis/quantity_text.h"
#include "analysis/refusal.h"
#include "readers/voltages/live_sets.h"

namespace analysis {

namespace {

// Parts are chosen by the rate that the measuring takes.
static_assert(readers::fewest_samples_per_cycle == measure::fewest_samples_per_cycle);
static_assert(readers::fewest_rms_per_second == measure::fewest_rms_per_second);

/// Throws Refusal when the part's rate is unknown or too low.
void check_rate(const readers::Record& record, double rate, double line_frequency) {
  if (!(rate > 0)) {
    throw Refusal(record.file, "neither it nor its time stamps give the sampling rate", "give it with --rate");
  }
  const double samples = rate / line_frequency;
  if (samples < readers::fewest_samples_per_cycle * (1 - 1e-9)) {
    throw Refusal(record.file,
                  fmt::format("its {:g} Hz are {:g} samples per cycle of {:g} Hz, too few to show a cycle's shape",
                              rate, samples, line_frequency),
                  fmt::format("use a record with at least {:g}", readers::fewest_samples_per_cycle));
  }
}

/// Throws Refusal if a part of a record holds only the noise of a dead line. A record of one part was examined when its
/// sets were found.
void check_noise(const readers::Record& record, const readers::VoltageSet& set, const AnalysedVoltages& voltages,
                 const PartVolts& volts) {
  if (voltages.parts < 2 || volts.unit_assumed[0]) return;
  const auto noise = readers::noise_in(record, set, voltages.part, volts.per_unit);
  if (!noise) return;
  throw Refusal(record.file,
                fmt::format("its voltages are noise of {} in part {}", volts_text(*noise), voltages.part_number),
                "choose another part with --part; dipx info lists them");
}

/// Throws Refusal for what RMS values do not give.
void check_rms(const readers::Record& record, bool voltages_between_phases) {
  if (!voltages_between_phases) return;
  throw Refusal(record.file, "it holds RMS values, from which the voltages between phases cannot be computed",
                "leave out --line-to-line");
}

/// Says what cannot be known of RMS values.
std::string rms_note(const AnalysedVoltages& voltages) {
  const double step_s = 1 / voltages.part.rate;
  const double half_cycle_s = 0.5 / voltages.line_frequency;
  std::string note = fmt::format(
      "The record holds RMS values, one in {:g} ms, so there are events by the standard but no types, segments, phase "
      "jumps and points on wave; times are those of the values.",
      std::round(1e6 * step_s) / 1e3);
  if (step_s > 1.01 * half_cycle_s) note += " Dips shorter than that are missed or appear less deep.";
  return note;
}

measure::Waveform waveform_of(const readers::Record& record, const readers::VoltageSet& set, const readers::Part& part,
                              const PartVolts& volts, double line_frequency) {
  measure::Waveform waveform;
  waveform.rate = part.rate;
  waveform.holds_rms = set.rms;
  waveform.line_frequency = line_frequency;
  for (std::size_t phase = 0; phase < set.count; phase++) {
    const readers::Channel& channel = record.channels[set.channels[phase]];
    const std::span<const double> samples(channel.samples);
    waveform.phases.push_back({samples.subspan(part.begin, part.length()), volts.per_unit[phase], channel.skew});
  }
  return waveform;
}

/// Begins the part after the start-up of the recorder, if there is one.
Notes leave_out_start_up(PickedVoltages& picked) {
  measure::Waveform& waveform = picked.measured.waveform;
  const std::size_t samples = start_up_of(waveform);
  if (samples == 0) return {};
  readers::Part& part = picked.voltages.part;
  const double begin_s = part.start;
  part.begin += samples;
  part.start += static_cast<double>(samples) / part.rate;
  for (measure::Phase& phase : waveform.phases) phase.samples = phase.samples.subspan(samples);
  return {fmt::format(
      "The voltages rise from nothing in the first {:.4f} s, as they do while the filter of a recorder starts up, so "
      "they are analysed from {:.4f} s on (override with --from {:g}).",
      part.start - begin_s, part.start, begin_s)};
}

}  // namespace

PickedVoltages pick_voltages(const readers::Record& record, const VoltageSource& source, std::size_t part) {
  PickedVoltages picked;
  picked.notes = source.notes;
  AnalysedVoltages& voltages = picked.voltages;
  const auto note = [&](const Notes& notes) { picked.notes.insert(picked.notes.end(), notes.begin(), notes.end()); };
  const auto noted = [&](auto result) {
    note(result.notes);
    return std::move(result.value);
  };

  const auto& [set, set_number, sets, compute] = source.chosen;
  voltages.channels = set.channels;
  voltages.phases = set.count;
  voltages.between_phases = set.between_phases || compute;
  voltages.computed = compute;
  voltages.set = set_number;
  voltages.sets = sets;
  voltages.line_frequency = source.line_frequency;
  const auto chosen = noted(choose_part(record, set.channels, source.parts, source.line_frequency, part));
  voltages.part = chosen.part;
  voltages.part_number = chosen.number;
  voltages.parts = chosen.of;
  voltages.rms = set.rms;
  if (set.rms) {
    check_rms(record, compute);
    picked.notes.push_back(rms_note(voltages));
  } else {
    check_rate(record, voltages.part.rate, voltages.line_frequency);
  }

  const PartVolts volts = noted(volts_of(record, set, voltages.part));
  voltages.unit_assumed = volts.unit_assumed;
  if (!set.rms) check_noise(record, set, voltages, volts);
  note(notes_on_missing(record, set, voltages.part));
  picked.measured.waveform = waveform_of(record, set, voltages.part, volts, voltages.line_frequency);
  if (!record.stretch) note(leave_out_start_up(picked));
  if (compute) make_line_voltages(picked.measured);
  if (set.between_phases && set.count == 2) {
    close_triangle(picked.measured);
    voltages.phases = 3;
    picked.notes.push_back("The third voltage between phases was computed from the other two.");
  }
  return picked;
}

}  // namespace analysis
