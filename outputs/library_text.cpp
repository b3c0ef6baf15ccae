#include "outputs/library_text.h"

#include <fmt/format.h>

#include <algorithm>
#include <limits>

#include "analysis/quantity_text.h"
#include "outputs/clock_text.h"
#include "outputs/dip_category_name.h"
#include "outputs/figures_text.h"
#include "outputs/phase_table.h"
#include "outputs/voltage_names.h"
#include "readers/text.h"

namespace outputs {

using analysis::Analysis;
using analysis::volts_text;
using analysis::embedded::ResultDip;
using analysis::embedded::ResultSegment;

namespace {

double seconds_of(std::size_t sample, const Analysis& analysis) {
  const auto& voltages = analysis.voltages;
  return voltages.record_seconds(static_cast<double>(sample) / voltages.part.rate);
}

std::string instant_of(std::size_t sample, const Analysis& analysis) {
  return instant_text(seconds_of(sample, analysis));
}

/// The beginning of a dip: "1.2500 s (2014-01-08T12:30:06.250000)".
std::string beginning_of(std::size_t sample, const readers::Record& record, const Analysis& analysis) {
  const std::string clock = clock_text(record, seconds_of(sample, analysis));
  return instant_of(sample, analysis) + (clock.empty() ? "" : " (" + clock + ")");
}

/// The lowest voltage of all segments, and the segments' categories in their order.
std::string segments_words(const ResultDip& dip, const Analysis& analysis, const Colours& colours) {
  if (dip.segments.empty()) return "no segments";
  double lowest = std::numeric_limits<double>::infinity();
  std::string categories;
  for (const auto& segment : dip.segments) {
    for (const double volts : segment.residual_v) lowest = std::min(lowest, volts);
    categories +=
        (categories.empty() ? "" : ", then ") + dip_category_name(segment.category, analysis.voltages.between_phases);
  }
  const std::string size =
      fmt::format("lowest {}, {:.1f} % of nominal", volts_text(lowest), 100 * lowest / analysis.library->nominal_v);
  return colours.low(size) + "; " + categories;
}

std::string line_of(const ResultDip& dip, const readers::Record& record, const Analysis& analysis,
                    const Colours& colours) {
  const std::string place = beginning_of(dip.begin, record, analysis) + " to " + instant_of(dip.end, analysis);
  if (dip.outcome != "analysed") return place + ", not analysed further: " + dip.outcome;
  return place + ", " + analysis::duration_text(dip.duration_s) + ", " + segments_words(dip, analysis, colours);
}

class LibraryText {
 public:
  LibraryText(const readers::Record& record, const Analysis& analysis, const Colours& colours)
      : record_(record),
        analysis_(analysis),
        results_(*analysis.library),
        colours_(colours),
        table_(analysis.voltages.phases, colours) {}

  std::string text() {
    text_ = '\n' + colours_.heading("results of the embedded library") + '\n';
    if (!results_.refusal.empty()) {
      add("The embedded library does not take this record: " + results_.refusal + ".");
      return text_;
    }
    add_preface();
    for (std::size_t i = 0; i < results_.dips.size(); i++) add_dip(i + 1, results_.dips[i]);
    if (results_.unfinished_dip) {
      text_ += '\n' + colours_.heading(fmt::format("dip {}", results_.dips.size() + 1));
      text_ += fmt::format("   {}, continues past the record's end\n", instant(*results_.unfinished_dip));
    }
    return text_;
  }

 private:
  void add(const std::string& words, std::size_t indent = 2) { text_ += wrapped(words, colours_.width(), indent); }

  [[nodiscard]] std::string instant(std::size_t sample) const { return instant_of(sample, analysis_); }
  [[nodiscard]] double percent(double volts) const { return 100 * volts / results_.nominal_v; }

  void add_preface() {
    add("These are what a host of the library gets, by its own rules; dipx analyse without --library measures by "
        "IEC 61000-4-30.");
    if (results_.factor != 1) {
      add(fmt::format("The library got the samples times {:.6g}; the voltages shown are the record's own again.",
                      results_.factor));
    }
    add(fmt::format("nominal voltage {} (RMS of the lowest phase in the first two cycles), dip threshold {}",
                    volts_text(results_.nominal_v), volts_text(results_.threshold_v)));
    const std::size_t dips = results_.dips.size() + (results_.unfinished_dip ? 1 : 0);
    text_ += '\n' + (dips == 0 ? "no dips" : readers::plural(dips, "dip")) + '\n';
  }

  void add_dip(std::size_t number, const ResultDip& dip) {
    text_ += '\n' + colours_.heading(fmt::format("dip {}", number));
    text_ += fmt::format("   {} to {}\n", instant(dip.begin), instant(dip.end));
    const std::string clock = clock_text(record_, seconds_of(dip.begin, analysis_));
    if (!clock.empty()) add("begins at " + clock);
    if (dip.outcome != "analysed") {
      text_ += "  " + colours_.note("not analysed further: " + dip.outcome) + '\n';
      return;
    }
    add(fmt::format("duration {} (at 20 ms per cycle)", analysis::duration_text(dip.duration_s)));
    text_ += table_.names([&](std::size_t phase) { return voltage_name(record_, analysis_.voltages, phase); });
    text_ +=
        table_.line("  point on wave", [&](std::size_t phase) { return angle_text(dip.point_on_wave_degrees[phase]); });
    // The library takes the slope from one sample to the next, at 50 cycles per second.
    const double rate = 50 * analysis_.voltages.samples_per_cycle();
    text_ += table_.line("  fastest change", [&](std::size_t phase) {
      return slope_text(dip.fastest_change_v_per_s[phase], results_.nominal_v, rate);
    });
    for (std::size_t i = 0; i < dip.segments.size(); i++) add_segment(i + 1, dip.segments[i]);
  }

  void add_segment(std::size_t number, const ResultSegment& segment) {
    text_ += "  " + colours_.heading(fmt::format("segment {}", number));
    text_ += fmt::format(" {} to {}: {} ({})\n", instant(segment.begin), instant(segment.end),
                         dip_category_name(segment.category, analysis_.voltages.between_phases), segment.category);
    const auto low = [&](std::size_t phase) { return (segment.phases_below >> phase & 1) != 0; };
    text_ += table_.line(
        "    lowest voltage", [&](std::size_t phase) { return volts_text(segment.residual_v[phase]); }, low);
    text_ += table_.line(
        "      of nominal",
        [&](std::size_t phase) { return fmt::format("{:.1f} %", percent(segment.residual_v[phase])); }, low);
    text_ +=
        table_.line("    phase jump", [&](std::size_t phase) { return turn_text(segment.phase_jump_degrees[phase]); });
    measure::PhaseFlags below{};
    for (std::size_t phase = 0; phase < below.size(); phase++) below[phase] = low(phase);
    add(fmt::format("below the threshold: {}; unbalance {:.1f} %", voltages_text(record_, analysis_.voltages, below),
                    segment.unbalance_percent),
        4);
  }

  const readers::Record& record_;
  const Analysis& analysis_;
  const analysis::embedded::Results& results_;
  const Colours& colours_;
  PhaseTable table_;
  std::string text_;
};

}  // namespace

std::string library_text(const readers::Record& record, const Analysis& analysis, const Colours& colours) {
  return LibraryText(record, analysis, colours).text();
}

std::string library_lines(const readers::Record& record, const Analysis& analysis, const Colours& colours) {
  const auto& results = *analysis.library;
  const std::string file = readers::inert(record.file) + ": ";
  if (!results.refusal.empty()) return file + "the library does not take this record: " + results.refusal + '\n';
  std::string text;
  const auto add = [&](std::size_t number, const std::string& words) {
    text += file + colours.heading(fmt::format("library, dip {}", number)) + "   " + words + '\n';
  };
  for (std::size_t i = 0; i < results.dips.size(); i++) add(i + 1, line_of(results.dips[i], record, analysis, colours));
  if (results.unfinished_dip) {
    add(results.dips.size() + 1,
        beginning_of(*results.unfinished_dip, record, analysis) + ", continues past the record's end");
  }
  return text;
}

}  // namespace outputs
