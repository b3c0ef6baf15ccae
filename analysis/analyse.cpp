#include "analysis/analyse.h"

#include <fmt/format.h>

#include <stdexcept>
#include <utility>

#include "analysis/choice/pick_voltages.h"
#include "analysis/declared_voltage.h"
#include "analysis/embedded/library_lines.h"
#include "analysis/finding_notes.h"
#include "analysis/refusal.h"
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

}  // namespace

Analysis analyse(const readers::Record& record, const AnalysisOptions& options) {
  auto picked = pick_voltages(record, options.choice);
  Analysis analysis;
  analysis.voltages = picked.voltages;
  analysis.measured = std::move(picked.measured);
  analysis.notes = std::move(picked.notes);
  options.report_stage("finding events", -1);
  const measure::Screening screening = screening_of(record, analysis.measured.waveform);
  analysis.usual_v = screening.usual_rms_v();
  if (options.nominal > 0) analysis.declared = declared_voltage(record, analysis, screening, options);
  analysis.options = options_for(record, options, analysis);
  options.report_stage("measuring dips", -1);
  analysis.found = measure::measure(screening, analysis.options);
  add_finding_notes(record, analysis);
  ask_library(record, options, analysis);
  return analysis;
}

}  // namespace analysis
