#include "analysis/choice/pick_voltages.h"

#include <fmt/format.h>

#include <span>
#include <utility>

#include "analysis/choice/chosen_part.h"
#include "analysis/choice/chosen_set.h"
#include "analysis/choice/line_frequency.h"
#include "analysis/choice/part_volts.h"
#include "analysis/refusal.h"

namespace analysis {

namespace {

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

measure::Waveform waveform_of(const readers::Record& record, const readers::VoltageSet& set, const readers::Part& part,
                              const PartVolts& volts, double line_frequency) {
  measure::Waveform waveform;
  waveform.rate = part.rate;
  waveform.line_frequency = line_frequency;
  for (std::size_t phase = 0; phase < set.count; phase++) {
    const readers::Channel& channel = record.channels[set.channels[phase]];
    const std::span<const double> samples(channel.samples);
    waveform.phases.push_back({samples.subspan(part.begin, part.length()), volts.per_unit[phase], channel.skew});
  }
  return waveform;
}

/// Replaces phase voltages by the voltages between them.
void make_line_voltages(MeasuredWaveform& measured) {
  const measure::Waveform phases = measured.waveform;
  for (std::size_t pair = 0; pair < 3; pair++) {
    const std::size_t other = (pair + 1) % 3;
    auto& volts = measured.computed[pair];
    volts.resize(phases.length());
    for (std::size_t i = 0; i < volts.size(); i++) volts[i] = phases.volts(pair, i) - phases.volts(other, i);
    measured.waveform.phases[pair] = {volts, 1, (phases.phases[pair].skew + phases.phases[other].skew) / 2};
  }
}

/// Where two voltages between phases are recorded, the third closes the triangle.
void close_triangle(MeasuredWaveform& measured) {
  const measure::Waveform two = measured.waveform;
  auto& volts = measured.computed[2];
  volts.resize(two.length());
  for (std::size_t i = 0; i < volts.size(); i++) volts[i] = -two.volts(0, i) - two.volts(1, i);
  measured.waveform.phases.push_back({volts, 1, (two.phases[0].skew + two.phases[1].skew) / 2});
}

}  // namespace

PickedVoltages pick_voltages(const readers::Record& record, const VoltageChoice& choice) {
  PickedVoltages picked;
  AnalysedVoltages& voltages = picked.voltages;
  const auto note = [&](const Notes& notes) { picked.notes.insert(picked.notes.end(), notes.begin(), notes.end()); };
  const auto noted = [&](auto result) {
    note(result.notes);
    return std::move(result.value);
  };

  const auto [set, set_number, sets, compute] = noted(choose_set(record, choice));
  voltages.channels = set.channels;
  voltages.phases = set.count;
  voltages.between_phases = set.between_phases || compute;
  voltages.computed = compute;
  voltages.set = set_number;
  voltages.sets = sets;
  voltages.line_frequency = noted(line_frequency_of(record, set.channels[0], choice.line_frequency));
  const auto chosen = noted(choose_part(record, set.channels, voltages.line_frequency, choice.part));
  voltages.part = chosen.part;
  voltages.part_number = chosen.number;
  voltages.parts = chosen.of;
  check_rate(record, voltages.part.rate, voltages.line_frequency);

  const PartVolts volts = noted(volts_of(record, set, voltages.part));
  voltages.unit_assumed = volts.unit_assumed;
  note(notes_on_missing(record, set, voltages.part));
  picked.measured.waveform = waveform_of(record, set, voltages.part, volts, voltages.line_frequency);
  if (compute) make_line_voltages(picked.measured);
  if (set.between_phases && set.count == 2) {
    close_triangle(picked.measured);
    voltages.phases = 3;
    picked.notes.push_back("The third voltage between phases was computed from the other two.");
  }
  return picked;
}

}  // namespace analysis
