#include "analysis/analyse.h"

#include <fmt/format.h>

#include <algorithm>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

#include "analysis/choice/chosen_part.h"
#include "analysis/choice/chosen_set.h"
#include "analysis/choice/line_frequency.h"
#include "analysis/choice/pick_voltages.h"
#include "analysis/declared_voltage.h"
#include "analysis/embedded/library_lines.h"
#include "analysis/finding_notes.h"
#include "analysis/refusal.h"
#include "analysis/worst_event.h"
#include "measure/measure.h"
#include "readers/voltages/parts.h"

namespace analysis {

namespace {

/// Throws Refusal when the record holds too little to measure.
measure::Screening screening_of(const readers::Record& record, const measure::Waveform& waveform) {
  try {
    return measure::Screening(waveform);
  } catch (const measure::TooLittle& lack) {
    throw Refusal(record.file, fmt::format("it holds {}", lack.what()),
                  "use a longer record, or choose other channels");
  }
}

measure::Options options_for(const readers::Record& record, const AnalysisOptions& asked, const Analysis& analysis) {
  measure::Options options;
  options.thresholds = asked.thresholds;
  options.between_phases = analysis.voltages.between_phases;
  options.declared_v = analysis.declared ? analysis.declared->level : 0;
  options.reference =
      asked.reference.value_or(analysis.declared ? measure::Reference::declared : measure::Reference::pre_event);
  if (options.reference == measure::Reference::declared && !analysis.declared) {
    throw Refusal(record.file, "--reference declared needs a declared voltage", "give it with --nominal");
  }
  return options;
}

/// The samples as the library takes them: single precision, volts, and short gaps bridged.
Waveform library_waveform(const Analysis& analysis) {
  Waveform waveform;
  const measure::Waveform& measured = analysis.measured.waveform;
  for (std::size_t phase = 0; phase < measured.phases.size(); phase++) {
    const measure::Phase& source = measured.phases[phase];
    waveform[phase] = readers::bridged(source.samples, source.volts_per_unit).values;
  }
  return waveform;
}

void ask_library(const readers::Record& record, const AnalysisOptions& options, Analysis& analysis) {
  if (!options.library && !options.report) return;
  const embedded::LibraryLines lines(options.trace);
  const double samples_per_cycle = analysis.voltages.samples_per_cycle();
  const bool three = analysis.voltages.phases == 3;
  options.report_stage("running the library", -1);
  if (options.library) {
    if (three) {
      analysis.library = embedded::results_of(library_waveform(analysis), samples_per_cycle);
    } else {
      analysis.library.emplace().refusal = "it takes three voltages, and fewer were chosen";
    }
  }
  if (!options.report) return;
  try {
    if (!three) throw std::invalid_argument("it takes three voltages, and fewer were chosen");
    analysis.report = embedded::report_of(library_waveform(analysis), samples_per_cycle);
  } catch (const std::invalid_argument& refusal) {
    throw Refusal(record.file, fmt::format("the library cannot make its report: {}", refusal.what()),
                  "leave out --report");
  }
}

/// A set of voltages whose events are known, and whose dips are still to be measured.
struct Scanned {
  Analysis analysis;
  measure::Screening screening;
};

Scanned scan(const readers::Record& record, const AnalysisOptions& options, std::size_t set) {
  VoltageChoice choice = options.choice;
  choice.set = set;
  auto picked = pick_voltages(record, choice);
  Analysis analysis;
  analysis.voltages = picked.voltages;
  analysis.measured = std::move(picked.measured);
  analysis.notes = std::move(picked.notes);
  measure::Screening screening = screening_of(record, analysis.measured.waveform);
  analysis.usual_v = screening.usual_rms_v();
  if (options.nominal > 0) analysis.declared = declared_voltage(record, analysis, screening, options);
  analysis.options = options_for(record, options, analysis);
  return {std::move(analysis), std::move(screening)};
}

/// The sets with events that are not analysed, for a note.
std::string other_sets(const std::vector<std::pair<std::size_t, Worst>>& others) {
  std::string text;
  for (const auto& [set, worst] : others) {
    text += fmt::format("{}set {} has {}", text.empty() ? "" : ", ", set, worst.words());
  }
  return text;
}

/// Scans all live sets and keeps the one with the worst event.
Scanned scan_worst(const readers::Record& record, const AnalysisOptions& options,
                   const std::vector<std::size_t>& sets) {
  std::optional<Scanned> best;
  Worst worst_of_best;
  std::vector<std::pair<std::size_t, Worst>> others;
  for (const std::size_t set : sets) {
    try {
      Scanned scanned = scan(record, options, set);
      const Worst worst = worst_of(measure::events_of(scanned.screening, scanned.analysis.options), scanned.analysis);
      const bool better = !best || worst.worse_than(worst_of_best);
      const Worst& other = better ? worst_of_best : worst;
      const std::size_t other_set = better ? (best ? best->analysis.voltages.set : 0) : set;
      if (other_set > 0 && other.any()) others.emplace_back(other_set, other);
      if (!better) continue;
      best.emplace(std::move(scanned));
      worst_of_best = worst;
    } catch (const Refusal&) {
      // A set that cannot be analysed is passed over as long as another one can.
      if (set == sets.back() && !best) throw;
    }
  }
  const std::size_t chosen = best->analysis.voltages.set;
  best->analysis.notes.push_back(fmt::format(
      "The record holds {} sets of voltages; this is set {}{} (--set chooses another, dipx info lists them).",
      best->analysis.voltages.sets, chosen, worst_of_best.any() ? ", which has the worst event" : ""));
  if (!others.empty()) {
    std::sort(others.begin(), others.end(), [](const auto& one, const auto& other) { return one.first < other.first; });
    best->analysis.notes.push_back(fmt::format("Other sets have events, too: {}.", other_sets(others)));
  }
  return std::move(*best);
}

}  // namespace

Analysis analyse(const readers::Record& record, const AnalysisOptions& options) {
  options.report_stage("finding events", -1);
  const std::vector<std::size_t> sets =
      options.choice.set == 0 ? live_sets(record, options.choice) : std::vector<std::size_t>();
  Scanned scanned = sets.size() > 1 ? scan_worst(record, options, sets) : scan(record, options, options.choice.set);
  Analysis& analysis = scanned.analysis;
  options.report_stage("measuring dips", -1);
  analysis.found = measure::measure(scanned.screening, analysis.options);
  add_finding_notes(record, analysis);
  ask_library(record, options, analysis);
  return std::move(analysis);
}

std::vector<SetAndPart> all_of(const readers::Record& record, const VoltageChoice& choice, bool all_sets,
                               bool all_parts) {
  std::vector<std::size_t> sets = {choice.set};
  if (all_sets) sets = live_sets(record, choice);
  if (sets.empty()) sets = {0};
  std::vector<SetAndPart> all;
  for (const std::size_t set : sets) {
    if (!all_parts) {
      all.push_back({set, choice.part});
      continue;
    }
    VoltageChoice one = choice;
    one.set = set;
    const auto chosen = choose_set(record, one).value.set;
    const double frequency = line_frequency_of(record, chosen.channels[0], choice.line_frequency).value;
    const std::size_t parts = count_parts(record, chosen.channels, frequency);
    for (std::size_t part = 1; part <= parts; part++) all.push_back({set, part});
  }
  return all;
}

}  // namespace analysis
