#include "outputs/text.h"

#include <fmt/format.h>

#include <iterator>

#include "analysis/event_terms.h"
#include "analysis/quantity_text.h"
#include "outputs/dip_category_name.h"
#include "outputs/figures_text.h"
#include "readers/text.h"

namespace outputs {

using analysis::Analysis;
using analysis::Dip;
using analysis::duration_text;
using analysis::EventTerms;
using analysis::Obstacle;
using analysis::Ride;
using analysis::Segment;
using analysis::tolerance_curves;
using analysis::volts_text;

namespace {

std::string number_of(std::size_t count, const char* noun) {
  return count == 0 ? fmt::format("no {}s", noun) : readers::plural(count, noun);
}

std::string segment_name(const Segment& segment) {
  return fmt::format("{} ({})", dip_category_name(segment.category), segment.category);
}

/// One dip's lines: a heading, then a table with a column for each phase.
class DipText {
 public:
  DipText(const readers::Record& record, const Analysis& analysis, const Colours& colours)
      : record_(record), analysis_(analysis), colours_(colours) {}

  std::string of(std::size_t number, const Dip& dip) {
    text_.clear();
    const auto terms = terms_of(dip, analysis_);
    add_heading(number, dip, terms);
    line("", [&](std::size_t phase) { return colours_.faint(right(shortened(name(phase), 16))); });
    levels("  lowest voltage", dip.lowest);
    if (dip.obstacle == Obstacle::none) {
      add_figures(dip);
    } else {
      note("not analysed further: ", describe(dip.obstacle).sentence);
    }
    add_tolerance(terms);
    return text_;
  }

 private:
  [[nodiscard]] double seconds(std::size_t sample) const { return analysis_.voltages.seconds_at(sample); }
  [[nodiscard]] const std::string& name(std::size_t phase) const {
    return record_.channels[analysis_.voltages.channels[phase]].name;
  }
  std::back_insert_iterator<std::string> out() { return std::back_inserter(text_); }

  static std::string right(const std::string& figure) { return fmt::format("{:>19}", figure); }

  /// A line with a figure for each phase.
  template <typename Figure>
  void line(const char* heading, Figure figure) {
    fmt::format_to(out(), "{:<22}", heading);
    for (std::size_t phase = 0; phase < 3; phase++) text_ += figure(phase);
    text_ += '\n';
  }

  void levels(const char* heading, const std::array<double, 3>& volts) {
    line(heading, [&](std::size_t phase) {
      const std::string text =
          right(fmt::format("{} {:>7.1f} %", volts_text(volts[phase]), analysis_.percent(volts[phase])));
      return volts[phase] < analysis_.threshold ? colours_.low(text) : text;
    });
    if (!analysis_.declared) return;
    line("      of declared", [&](std::size_t phase) {
      return right(fmt::format("{:.1f} %", *analysis_.percent_of_declared(volts[phase])));
    });
  }

  void angles(const char* heading, const std::array<double, 3>& degrees, std::string (*words)(double)) {
    line(heading, [&](std::size_t phase) { return right(words(degrees[phase])); });
  }

  void note(const char* what, const std::string& text) { text_ += "  " + colours_.note(what + text) + '\n'; }

  void add_heading(std::size_t number, const Dip& dip, const EventTerms& terms) {
    text_ += '\n' + colours_.heading(fmt::format("dip {}", number));
    fmt::format_to(out(), "   {:.4f} s to ", seconds(dip.start));
    if (terms.seconds) {
      fmt::format_to(out(), "{:.4f} s, {}, {:.2f} cycles\n", seconds(*dip.end), duration_text(*terms.seconds),
                     static_cast<double>(*dip.end - dip.start) / analysis_.voltages.samples_per_cycle);
    } else {
      fmt::format_to(out(), "the end of the {}, {} and on\n", analysis_.voltages.parts > 1 ? "record's part" : "record",
                     duration_text(terms.least_seconds));
    }
    fmt::format_to(out(), "  {}, residual voltage {} ({:.1f} %) in {}, depth {:.1f} %\n", kind_of(terms),
                   volts_text(terms.residual), terms.residual_percent, name(terms.worst_phase), terms.depth_percent);
  }

  void add_figures(const Dip& dip) {
    if (dip.point_on_wave) {
      angles("  point on wave", *dip.point_on_wave, angle_text);
    } else {
      text_ += "  point on wave       none: no phase stood at 95 % of nominal before the fall\n";
    }
    line("  fastest change", [&](std::size_t phase) { return right(volts_text(dip.voltage_change[phase]) + "/s"); });
    if (dip.gradual_fall_doubtful) {
      note("", "less than five steady cycles lie before it: a gradual fall may be measured wrongly");
    }
    for (std::size_t i = 0; i < dip.segments.size(); i++) add_segment(i + 1, dip.segments[i]);
  }

  void add_segment(std::size_t number, const Segment& segment) {
    fmt::format_to(out(), "  {}  {:.4f} s to {:.4f} s: {}\n", colours_.heading(fmt::format("segment {}", number)),
                   seconds(segment.samples.begin), seconds(segment.samples.end), segment_name(segment));
    levels("    residual voltage", segment.residual);
    angles("    phase jump", segment.phase_jump, turn_text);
    const std::string letters = phase_letters(segment.low_mask);
    fmt::format_to(out(), "    {} below the threshold{}, unbalance {:.1f} %\n",
                   number_of(static_cast<std::size_t>(segment.low_count), "phase"),
                   letters.empty() ? "" : " (" + letters + ")", segment.unbalance);
    if (is_next_to_nothing(segment, analysis_))
      note("  ", "with next to no voltage, its angles and unbalance are noise");
  }

  void add_tolerance(const EventTerms& terms) {
    std::string judged;
    for (const auto& curve : tolerance_curves()) {
      const auto ride = ride_through(curve, terms);
      if (ride != Ride::not_judged) judged += fmt::format("{} {}, ", ride_name(ride), curve.name);
    }
    const std::string cell = en50160_cell(terms);
    if (!cell.empty()) judged += "cell " + cell + " of EN 50160, ";
    if (judged.empty()) return;
    fmt::format_to(out(), "  {} (by the {})\n", judged.substr(0, judged.size() - 2), judged_by(analysis_));
  }

  const readers::Record& record_;
  const Analysis& analysis_;
  const Colours& colours_;
  std::string text_;
};

}  // namespace

std::string text_of(const readers::Record& record, const Analysis& analysis, const Colours& colours) {
  std::string text = colours.heading(readers::inert(record.file)) + '\n';
  auto out = std::back_inserter(text);
  fmt::format_to(out, "  {}", record.format);
  for (const auto& about : {record.station, record.device, record.start_time}) {
    if (!about.empty()) fmt::format_to(out, ", {}", about);
  }
  const auto& voltages = analysis.voltages;
  const auto& part = voltages.part;
  fmt::format_to(out, "\n  {}{:.4g} s: {} samples at {:g} Hz, {} per cycle of {:g} Hz\n",
                 voltages.parts > 1 ? fmt::format("part {} of {}, ", voltages.part_number, voltages.parts) : "",
                 static_cast<double>(part.length()) / part.rate, part.length(), part.rate,
                 voltages.resampled ? fmt::format("resampled to {}", voltages.samples_per_cycle)
                                    : fmt::format("{}", voltages.samples_per_cycle),
                 voltages.line_frequency);
  fmt::format_to(out, "  voltages {}", voltages.between_phases ? "between phases " : "");
  for (std::size_t phase = 0; phase < 3; phase++) {
    fmt::format_to(out, "{}{}", phase == 0 ? "" : ", ", record.channels[voltages.channels[phase]].name);
  }
  const auto& first = record.channels[voltages.channels[0]];
  if (voltages.unit_assumed[0]) text += " (unit taken for V)";
  if (is_of_transformer(first)) fmt::format_to(out, " ({})", side_text(first));
  fmt::format_to(out, "\n  pre-event voltage {}, dip threshold {}\n", volts_text(analysis.pre_event_voltage),
                 volts_text(analysis.threshold));
  if (analysis.declared) {
    fmt::format_to(out, "  declared {} voltage {}{}: the pre-event voltage is {:.1f} % of it\n",
                   analysis.declared->line ? "line" : "phase", volts_text(analysis.declared->given),
                   analysis.declared->secondary ? ", divided by the transformer's ratio" : "",
                   *analysis.percent_of_declared(analysis.pre_event_voltage));
  }
  if (analysis.level_factor != 1) {
    fmt::format_to(out, "  analysed at {:.6g} times the recorded voltages; shown are the recorded ones\n",
                   analysis.level_factor);
  }
  for (const auto* notes : {&record.notes, &analysis.notes}) {
    for (const auto& note : *notes) text += "  " + colours.note("note: " + note) + '\n';
  }
  fmt::format_to(out, "\n{}\n", number_of(analysis.dips.size(), "dip"));
  DipText dip_text(record, analysis, colours);
  for (std::size_t i = 0; i < analysis.dips.size(); i++) text += dip_text.of(i + 1, analysis.dips[i]);
  return text;
}

std::string lines_of(const readers::Record& record, const Analysis& analysis, const Colours& colours) {
  std::string text;
  for (std::size_t i = 0; i < analysis.dips.size(); i++) {
    const Dip& dip = analysis.dips[i];
    const auto terms = terms_of(dip, analysis);
    std::string what;
    for (const Segment& segment : dip.segments) what += (what.empty() ? "" : ", then ") + segment_name(segment);
    if (dip.obstacle != Obstacle::none) what = std::string("not analysed: ") + describe(dip.obstacle).sentence;
    std::string residual = fmt::format("residual {:.1f} %", terms.residual_percent);
    if (analysis.declared) residual += fmt::format(", {:.1f} % of declared", terms.judged_percent);
    if (analysis.voltages.between_phases) residual += " between phases";
    text += fmt::format("{}: {}   {:.4f} s, {}, {}, {}\n", readers::inert(record.file),
                        colours.heading(fmt::format("{} {}", kind_of(terms), i + 1)),
                        analysis.voltages.seconds_at(dip.start),
                        terms.seconds ? duration_text(*terms.seconds) : "not recovered", colours.low(residual),
                        dip.obstacle == Obstacle::none ? what : colours.note(what));
  }
  return text;
}

}  // namespace outputs
