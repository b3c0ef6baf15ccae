#include "analysis/choice/pick_voltages.h"

#include <fmt/format.h>

#include <utility>

#include "analysis/choice/chosen_part.h"
#include "analysis/choice/chosen_set.h"
#include "analysis/choice/connection.h"
#include "analysis/choice/line_frequency.h"
#include "analysis/choice/part_volts.h"
#include "analysis/choice/resampling.h"
#include "analysis/refusal.h"

namespace analysis {

namespace {

/// Samples per cycle of the part. Throws Refusal when they are unknown or too few.
double recorded_samples_per_cycle(const readers::Record& record, double rate, double line_frequency) {
  if (!(rate > 0)) {
    throw Refusal(record.file, "neither it nor its time stamps tell the sampling rate", "give it with --rate");
  }
  const double samples = rate / line_frequency;
  if (samples < readers::fewest_samples_per_cycle * (1 - 1e-9)) {
    throw Refusal(record.file,
                  fmt::format("its {:g} Hz are {:g} samples per cycle of {:g} Hz, too few to tell a cycle's shape",
                              rate, samples, line_frequency),
                  fmt::format("use a record with at least {:g}", readers::fewest_samples_per_cycle));
  }
  return samples;
}

void resample(PickedVoltages& picked, double samples_per_cycle, const StageReport& report_stage) {
  AnalysedVoltages& voltages = picked.voltages;
  voltages.sampling_rate = voltages.samples_per_cycle * voltages.line_frequency;
  for (std::size_t phase = 0; phase < 3; phase++) {
    report_stage("resampling", static_cast<double>(phase) / 3);
    auto result = resampled(picked.waveform[phase], voltages.part.rate, voltages.sampling_rate, samples_per_cycle);
    picked.waveform[phase] = std::move(result.values);
    voltages.start = voltages.part.start + result.delay;
  }
  picked.notes.push_back(fmt::format("Resampled from {:.6g} to {} samples per cycle for the analysis.",
                                     samples_per_cycle, voltages.samples_per_cycle));
}

}  // namespace

PickedVoltages pick_voltages(const readers::Record& record, const VoltageChoice& choice,
                             const StageReport& report_stage) {
  PickedVoltages picked;
  AnalysedVoltages& voltages = picked.voltages;
  const auto note = [&](const Notes& notes) { picked.notes.insert(picked.notes.end(), notes.begin(), notes.end()); };
  const auto noted = [&](auto result) {
    note(result.notes);
    return std::move(result.value);
  };

  const auto [set, set_number, sets] = noted(choose_set(record, choice));
  voltages.channels = set.channels;
  voltages.between_phases = set.between_phases;
  voltages.set = set_number;
  voltages.sets = sets;
  voltages.line_frequency = noted(line_frequency_of(record, set.channels[0], choice.line_frequency));
  const auto chosen = noted(choose_part(record, set.channels, voltages.line_frequency, choice.part));
  voltages.part = chosen.part;
  voltages.part_number = chosen.number;
  voltages.parts = chosen.of;

  const double samples = recorded_samples_per_cycle(record, voltages.part.rate, voltages.line_frequency);
  auto volts = noted(volts_of(record, set, voltages.part));
  picked.waveform = std::move(volts.waveform);
  voltages.unit_assumed = volts.unit_assumed;
  note(notes_on_connection(record, voltages.channels, picked.waveform, samples));
  note(notes_on_skew(record, voltages.channels, voltages.line_frequency));

  voltages.samples_per_cycle = analysed_samples_per_cycle(samples);
  voltages.resampled = needs_resampling(samples, voltages.samples_per_cycle);
  voltages.sampling_rate = voltages.part.rate;
  voltages.start = voltages.part.start;
  if (voltages.resampled) resample(picked, samples, report_stage);
  voltages.length = picked.waveform[0].size();
  return picked;
}

}  // namespace analysis
