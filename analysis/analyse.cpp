// How the command uses the library on one record: at a level that the library takes for what it is, first for the
// boundaries of the whole record, then for each dip in a stretch of its own.
#include "analysis/analyse.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <numbers>
#include <utility>

#include "analysis/choice/pick_voltages.h"
#include "analysis/curves.h"
#include "analysis/cycle_phasors.h"
#include "analysis/declared_voltage.h"
#include "analysis/embedded/dip_search.h"
#include "analysis/embedded/library.h"
#include "analysis/embedded/library_lines.h"
#include "analysis/embedded/lone_dip.h"
#include "analysis/joined_dips.h"
#include "analysis/missed_levels.h"
#include "analysis/phase_angle.h"
#include "analysis/quantity_text.h"
#include "analysis/refusal.h"

namespace analysis {

namespace {

using embedded::DipSearch;
using embedded::FoundDip;
using embedded::SearchEnd;

/// What a record outside the plausible levels is brought to: the phase voltage of a 100 V transformer secondary.
constexpr double standard_level = 100 / std::numbers::sqrt3;

/// What brings the record to a plausible level; 1 when it has one.
double level_factor(const readers::Record& record, const Waveform& volts, int samples_per_cycle) {
  const auto level = embedded::level_at_start(volts, samples_per_cycle);
  if (!level || embedded::takes_level(*level)) return 1;
  if (!(*level > 0)) {
    throw Refusal(record.file, "a phase has no voltage in its first two cycles",
                  "choose other channels with --channels, or a record that begins before the dip");
  }
  return standard_level / *level;
}

/// The first cycles are not what the analysis takes for an undisturbed voltage: because a dip is on, or for good.
[[noreturn]] void refuse_start(const readers::Record& record, const Analysis& analysis) {
  constexpr float most_movement = 0.02F;
  constexpr std::size_t cycles_looked_at = 4;
  const auto& voltages = analysis.voltages;
  const std::string part =
      voltages.parts > 1 ? fmt::format("part {} of {}: ", voltages.part_number, voltages.parts) : "";
  const std::string other_part = voltages.parts > 1 ? ", or choose another part with --part" : "";
  const Waveform rms = curves_of(analysis).rms;
  const auto cycle = static_cast<std::size_t>(voltages.samples_per_cycle);
  const std::size_t end = std::min(cycles_looked_at * cycle, rms[0].size());
  bool steady = true;
  std::string levels;
  for (const auto& phase : rms) {
    const auto [low, high] = std::minmax_element(phase.begin() + static_cast<std::ptrdiff_t>(cycle - 1),
                                                 phase.begin() + static_cast<std::ptrdiff_t>(end));
    steady = steady && *high - *low <= most_movement * *high;
    levels += (levels.empty() ? "" : ", ") + volts_text(static_cast<double>(*high));
  }
  if (steady) {
    throw Refusal(record.file,
                  fmt::format("{}its phases stand at {} from the start, and the analysis takes more than 10 % between "
                              "them for a dip that is on already",
                              part, levels),
                  "choose other voltages with --set, --channels or --line-to-line" + other_part);
  }
  throw Refusal(record.file,
                part + "its first two cycles are not steady (a phase is more than 10 % off the lowest phase's level)",
                "use a record that begins at least two cycles before the dip" + other_part);
}

/// The fundamental of the first cycle of the stretch that was analysed for a dip, or, where there is none, of the cycle
/// that lies where it would begin.
std::array<PhasePhasor, 3> fundamental_before(const Dip& dip, const Analysis& analysis) {
  const int samples_per_cycle = analysis.voltages.samples_per_cycle;
  const auto cycle = static_cast<std::size_t>(samples_per_cycle);
  const std::size_t lead = embedded::cycles_before_fall * cycle;
  const std::size_t begin = dip.stretch.end > 0 ? dip.stretch.begin : dip.start - std::min(lead, dip.start);
  const Phasors cycle_phasors = CyclePhasors(analysis.waveform, samples_per_cycle).at(begin);
  std::array<PhasePhasor, 3> phasors{};
  for (std::size_t phase = 0; phase < 3; phase++) {
    const double turn = std::arg(cycle_phasors[phase]) - std::arg(cycle_phasors[0]);
    phasors[phase] = {std::abs(cycle_phasors[phase]) / analysis.level_factor,
                      within_half_a_turn(turn * 180 / std::numbers::pi)};
  }
  return phasors;
}

std::vector<Dip> dips_of(const DipSearch& search, double factor) {
  std::vector<Dip> dips;
  for (const FoundDip& found : search.dips) {
    Dip dip;
    dip.start = found.start;
    dip.end = found.end;
    for (std::size_t phase = 0; phase < 3; phase++) dip.lowest[phase] = found.lowest[phase] / factor;
    dip.lowest_of_highest = found.lowest_of_highest / factor;
    dips.push_back(dip);
  }
  return dips;
}

std::string note_on_frequency(std::size_t number, const Dip& dip) {
  if (dip.obstacle == Obstacle::none) {
    return fmt::format(
        "Dip {}: the line runs at {:.3f} Hz; how that turns the angles is taken out of its phase jumps and categories.",
        number, *dip.frequency);
  }
  return fmt::format(
      "Dip {0}: the line runs at {1:.3f} Hz, which may be why the dip is not analysed: --frequency {1:.3f} has the "
      "record analysed at that.",
      number, *dip.frequency);
}

/// Analyses each recovered dip in a stretch of its own, between its neighbours.
void analyse_each(Analysis& analysis, const StageReport& report_stage) {
  auto& dips = analysis.dips;
  const std::size_t length = analysis.waveform[0].size();
  for (std::size_t i = 0; i < dips.size(); i++) {
    report_stage("analysing dips", static_cast<double>(i) / static_cast<double>(dips.size()));
    if (!dips[i].end) {
      dips[i].obstacle = Obstacle::not_recovered;
      continue;
    }
    const Stretch between{i == 0 ? 0 : *dips[i - 1].end, i + 1 == dips.size() ? length : dips[i + 1].start};
    embedded::analyse_alone(dips[i], analysis, between);
    if (dips[i].frequency) analysis.notes.push_back(note_on_frequency(i + 1, dips[i]));
  }
  for (Dip& dip : dips) dip.before = fundamental_before(dip, analysis);
}

}  // namespace

Analysis analyse(const readers::Record& record, const AnalysisOptions& options) {
  auto picked = pick_voltages(record, options.choice, options.report_stage);
  Analysis analysis;
  analysis.voltages = picked.voltages;
  analysis.waveform = std::move(picked.waveform);
  analysis.notes = std::move(picked.notes);
  Waveform& waveform = analysis.waveform;
  const int samples_per_cycle = analysis.voltages.samples_per_cycle;

  const embedded::LibraryLines lines(options.trace);
  analysis.level_factor = level_factor(record, waveform, samples_per_cycle);
  if (analysis.level_factor != 1) {
    for (auto& phase : waveform) {
      for (float& sample : phase) sample = static_cast<float>(sample * analysis.level_factor);
    }
  }

  const auto longest_run = options.longest_run * static_cast<std::size_t>(samples_per_cycle);
  const DipSearch search = embedded::search_dips(waveform, samples_per_cycle, longest_run, options.report_stage);
  if (search.end == SearchEnd::too_short) {
    throw Refusal(record.file, "it is shorter than two cycles", "use a longer record");
  }
  if (search.end == SearchEnd::disturbed_start) refuse_start(record, analysis);
  analysis.pre_event_voltage = search.nominal / analysis.level_factor;
  analysis.threshold = search.threshold / analysis.level_factor;
  analysis.dips = dips_of(search, analysis.level_factor);
  if (search.runs > 1) {
    analysis.notes.push_back(
        fmt::format("Searched in {} stretches that overlap, as one run of the library takes {} cycles and {} dips.",
                    search.runs, embedded::longest_run_cycles, embedded::most_dips_of_a_run));
  }
  if (options.nominal > 0) analysis.declared = declared_voltage(record, analysis, options.nominal);
  analyse_each(analysis, options.report_stage);
  if (!analysis.dips.empty()) {
    const Waveform rms = curves_of(analysis).rms;
    note_joined_dips(analysis, rms);
    note_missed_levels(analysis, rms);
  }
  if (options.report) {
    if (waveform[0].size() > embedded::longest_run_cycles * static_cast<std::size_t>(samples_per_cycle)) {
      throw Refusal(record.file,
                    fmt::format("the library's own report takes {} cycles at most, and the record holds more",
                                embedded::longest_run_cycles),
                    "leave out --report");
    }
    options.report_stage("making the library's report", -1);
    analysis.report = embedded::report_of(waveform, samples_per_cycle);
  }
  return analysis;
}

}  // namespace analysis
