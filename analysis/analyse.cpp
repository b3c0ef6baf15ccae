#include "analysis/analyse.h"

#include <fmt/format.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

#include "analysis/choice/pick_voltages.h"
#include "analysis/declared_voltage.h"
#include "analysis/displaced_neutral.h"
#include "analysis/embedded/library_lines.h"
#include "analysis/finding_notes.h"
#include "analysis/load_voltages.h"
#include "analysis/refusal.h"
#include "analysis/worst_event.h"
#include "measure/measure.h"

namespace analysis {

namespace {

/// Throws Refusal if the record holds too little to measure.
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

/// Returns the samples in the form that the embedded library needs: single precision, in volts, with short gaps
/// interpolated.
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
  if (analysis.voltages.rms) {
    throw Refusal(record.file, "the library needs the waveform, but the record holds RMS values",
                  "leave out --library and --report");
  }
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

/// Computes the single-event indices of the dips.
std::vector<std::optional<assess::Indices>> indices_of(const std::vector<measure::Event>& events,
                                                       const measure::Screening& screening) {
  std::vector<std::optional<assess::Indices>> indices;
  for (const measure::Event& event : events) {
    const bool dip = event.kind == measure::EventKind::dip;
    indices.push_back(dip ? assess::indices_of(event, screening.half_cycle_rms(event.extreme_phase)) : std::nullopt);
  }
  return indices;
}

void add_currents(RecordVoltages& voltages, Analysis& analysis) {
  readers::VoltageSet set;
  set.count = analysis.voltages.phases;
  set.channels = analysis.voltages.channels;
  set.rms = analysis.voltages.rms;
  if (const auto bay = voltages.currents_of(set)) {
    analysis.currents = measured_currents(voltages.record(), analysis.voltages, analysis.found, *bay);
    analysis.origins =
        origins_of(voltages.record(), analysis.voltages, analysis.measured.waveform, analysis.found, bay->set);
  }
}

/// Computes what a load sees beyond the transformers. Throws Refusal if the voltages do not show it.
void look_at_load(const readers::Record& record, const AnalysisOptions& options, Analysis& analysis) {
  if (options.through.empty()) return;
  const auto refuse = [&](const char* cause) { throw Refusal(record.file, cause, "leave out --through"); };
  if (analysis.voltages.rms) refuse("voltages beyond a transformer need the waveform, but the record holds RMS values");
  if (analysis.voltages.phases < 3) refuse("voltages beyond a transformer need three voltages, and fewer were chosen");
  options.report_stage("computing the load's voltages", -1);
  analysis.load = std::make_shared<const LoadVoltages>(load_voltages_of(analysis, options.through));
}

/// A set of voltages whose events are known and whose dips have not been measured yet.
struct Scanned {
  Analysis analysis;
  measure::Screening screening;
};

Scanned scan(RecordVoltages& voltages, const AnalysisOptions& options, const SetAndPart& place) {
  const readers::Record& record = voltages.record();
  auto picked = pick_voltages(record, voltages.source(place.set), place.part);
  Analysis analysis;
  analysis.voltages = picked.voltages;
  analysis.measured = std::move(picked.measured);
  analysis.notes = std::move(picked.notes);
  measure::Screening screening = screening_of(record, analysis.measured.waveform);
  analysis.usual_v = screening.usual_rms_v();
  analysis.lowest_rms_v = screening.lowest_rms_v();
  analysis.highest_rms_v = screening.highest_rms_v();
  if (options.nominal > 0) analysis.declared = declared_voltage(record, analysis, screening, options);
  analysis.options = options_for(record, options, analysis);
  return {std::move(analysis), std::move(screening)};
}

/// A set and part that was scanned but is not analysed, because another one has a worse event.
struct Other {
  SetAndPart place;
  Worst worst;
};

/// Lists the sets and parts that have events and are not analysed, in order, for a note.
std::string words_for(std::vector<Other> others, bool parts) {
  constexpr std::size_t most = 5;
  std::sort(others.begin(), others.end(), [](const Other& one, const Other& other) {
    return std::pair(one.place.set, one.place.part) < std::pair(other.place.set, other.place.part);
  });
  std::string text;
  for (std::size_t i = 0; i < std::min(most, others.size()); i++) {
    const auto& [place, worst] = others[i];
    const std::string part = parts ? fmt::format("part {}", place.part) : "";
    const std::string set = place.set > 0 ? fmt::format("set {}", place.set) : "";
    text += fmt::format("{}{}{}{} has {}", i == 0 ? "" : ", ", set, set.empty() || part.empty() ? "" : ", ", part,
                        worst.words());
  }
  if (others.size() > most) text += fmt::format(" and {} more", others.size() - most);
  return text;
}

/// Scans several sets and parts and keeps the one with the worst event.
Scanned scan_worst(RecordVoltages& voltages, const AnalysisOptions& options, const std::vector<SetAndPart>& places) {
  std::optional<Scanned> best;
  SetAndPart place_of_best;
  Worst worst_of_best;
  std::vector<Other> others;
  for (const SetAndPart& place : places) {
    try {
      Scanned scanned = scan(voltages, options, place);
      const Worst worst = worst_of(measure::events_of(scanned.screening, scanned.analysis.options), scanned.analysis);
      const bool better = !best || worst.worse_than(worst_of_best);
      const Other other = better ? Other{place_of_best, worst_of_best} : Other{place, worst};
      if (best && other.worst.any()) others.push_back(other);
      if (!better) continue;
      best.emplace(std::move(scanned));
      place_of_best = place;
      worst_of_best = worst;
    } catch (const Refusal&) {
      // A set or part that cannot be analysed is skipped if another one can be.
      if (&place == &places.back() && !best) throw;
    }
  }
  Notes& notes = best->analysis.notes;
  const bool several_sets = places.front().set != places.back().set;
  const bool several_parts = places.front().part != places.back().part;
  const char* which = worst_of_best.any() ? ", which has the worst event" : "";
  if (several_sets) {
    notes.push_back(fmt::format(
        "The record holds {} sets of voltages; this is set {}{} (--set chooses another, dipx info lists them).",
        best->analysis.voltages.sets, best->analysis.voltages.set, which));
  }
  if (several_parts) {
    notes.push_back(
        fmt::format("All observations were searched; this is part {}{} (--part chooses another, dipx info "
                    "lists them).",
                    place_of_best.part, which));
  }
  if (!others.empty()) {
    notes.push_back(fmt::format("Other {} have events, too: {}.", several_parts ? "parts" : "sets",
                                words_for(others, several_parts)));
  }
  return std::move(*best);
}

/// What is searched for the worst event: all live sets unless one is chosen, and all observations of a record unless a
/// part is chosen. The voltage of an observation says nothing about another one, which may be months away.
std::vector<SetAndPart> places_of(RecordVoltages& voltages, const VoltageChoice& choice) {
  const auto& rates = voltages.record().rates;
  const bool all_sets = choice.set == 0 && voltages.live_sets().size() > 1;
  const bool observations = std::any_of(rates.begin(), rates.end(),
                                        [](const readers::RateSection& section) { return !section.title.empty(); });
  return all_of(voltages, choice, all_sets, observations && choice.part == 0);
}

}  // namespace

Analysis analyse(RecordVoltages& voltages, const AnalysisOptions& options) {
  options.report_stage("finding events", -1);
  const std::vector<SetAndPart> places = places_of(voltages, options.choice);
  Scanned scanned = places.size() > 1 ? scan_worst(voltages, options, places) : scan(voltages, options, places.front());
  Analysis& analysis = scanned.analysis;
  options.report_stage("measuring dips", -1);
  analysis.found = measure::measure(scanned.screening, analysis.options);
  if (neutral_is_displaced(analysis)) analysis.line = line_voltages_of(analysis);
  analysis.indices = indices_of(analysis.found.events, scanned.screening);
  analysis.own_curves = options.own_curves;
  add_currents(voltages, analysis);
  look_at_load(voltages.record(), options, analysis);
  add_finding_notes(voltages.record(), analysis);
  ask_library(voltages.record(), options, analysis);
  return std::move(analysis);
}

Analysis analyse(const readers::Record& record, const AnalysisOptions& options) {
  RecordVoltages voltages(record, options.choice);
  return analyse(voltages, options);
}

std::string name_of(const SetAndPart& place) {
  std::string name;
  if (place.set > 0) name = fmt::format("set {}", place.set);
  if (place.part > 0) name += fmt::format("{}part {}", name.empty() ? "" : ", ", place.part);
  return name;
}

std::vector<SetAndPart> all_of(RecordVoltages& voltages, const VoltageChoice& choice, bool all_sets, bool all_parts) {
  std::vector<std::size_t> sets = {choice.set};
  if (all_sets) sets = voltages.live_sets();
  if (sets.empty()) sets = {0};
  std::vector<SetAndPart> all;
  for (const std::size_t set : sets) {
    const std::size_t parts = all_parts ? voltages.source(set).parts.size() : 0;
    if (parts == 0) {
      // Voltages without any values have no part. They are listed nevertheless, so that they are refused with a reason.
      all.push_back({set, choice.part});
      continue;
    }
    for (std::size_t part = 1; part <= parts; part++) all.push_back({set, part});
  }
  return all;
}

}  // namespace analysis
