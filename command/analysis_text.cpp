#include "command/analysis_text.h"

#include <fmt/format.h>

#include <cmath>
#include <iterator>

#include "command/dip_category_name.h"

namespace command {

namespace {

/// Four significant digits with the prefix that suits them: "63.36 kV".
std::string volts(double value) {
  const double size = std::abs(value);
  if (size >= 1e6) return fmt::format("{:.4g} MV", value / 1e6);
  if (size >= 1e3) return fmt::format("{:.4g} kV", value / 1e3);
  if (size >= 1 || size == 0) return fmt::format("{:.4g} V", value);
  return fmt::format("{:.4g} mV", value * 1e3);
}

std::string plural(std::size_t count, const char* noun) {
  return fmt::format("{} {}{}", count == 0 ? "no" : std::to_string(count), noun, count == 1 ? "" : "s");
}

/// One dip's lines, with the names of its phases as the record has them.
class DipText {
 public:
  DipText(const readers::Record& record, const Analysis& analysis) : record_(record), analysis_(analysis) {}

  std::string of(std::size_t number, const Dip& dip) {
    text_.clear();
    add_place(number, dip);
    line("  lowest voltage      ", [&](std::size_t phase) { return level(dip.lowest[phase]); });
    if (dip.obstacle != Obstacle::none) {
      fmt::format_to(out(), "  not analysed further: {}\n", describe(dip.obstacle).sentence);
      return text_;
    }
    if (dip.gradual_fall_doubtful) {
      text_ += "  less than five steady cycles lie before it: a gradual fall may be measured wrongly\n";
    }
    if (dip.point_on_wave) {
      line("  point on wave       ",
           [&](std::size_t phase) { return fmt::format("{:.1f}°", (*dip.point_on_wave)[phase]); });
    } else {
      text_ += "  point on wave       not found: no phase stood at 95 % of nominal before the fall\n";
    }
    line("  fastest change      ", [&](std::size_t phase) { return volts(dip.voltage_change[phase]) + "/s"; });
    for (std::size_t i = 0; i < dip.segments.size(); i++) add_segment(i + 1, dip.segments[i]);
    return text_;
  }

 private:
  [[nodiscard]] double seconds(std::size_t sample) const { return analysis_.voltages.seconds_at(sample); }
  [[nodiscard]] double duration(std::size_t samples) const {
    return static_cast<double>(samples) / analysis_.voltages.sampling_rate;
  }
  [[nodiscard]] std::string level(double value) const {
    const auto own = fmt::format("{} ({:.1f} %", volts(value), 100 * value / analysis_.pre_event_voltage);
    if (!analysis_.declared) return own + ")";
    return fmt::format("{}, {:.1f} % of declared)", own, 100 * value / analysis_.declared->level);
  }
  std::back_insert_iterator<std::string> out() { return std::back_inserter(text_); }

  /// A line with a figure for each phase.
  template <typename Figure>
  void line(const char* heading, Figure figure) {
    text_ += heading;
    for (std::size_t phase = 0; phase < 3; phase++) {
      fmt::format_to(out(), "{}{} {}", phase == 0 ? "" : ", ",
                     record_.channels[analysis_.voltages.channels[phase]].name, figure(phase));
    }
    text_ += '\n';
  }

  void add_place(std::size_t number, const Dip& dip) {
    fmt::format_to(out(), "\ndip {}   {:.4f} s to ", number, seconds(dip.start));
    if (dip.end) {
      const std::size_t length = *dip.end - dip.start;
      fmt::format_to(out(), "{:.4f} s, {:.1f} ms, {:.2f} cycles\n", seconds(*dip.end), duration(length) * 1e3,
                     static_cast<double>(length) / analysis_.voltages.samples_per_cycle);
    } else {
      fmt::format_to(out(), "the end of the {}, {:.1f} ms and on\n",
                     analysis_.voltages.parts > 1 ? "record's part" : "record",
                     duration(analysis_.voltages.length - dip.start) * 1e3);
    }
  }

  void add_segment(std::size_t number, const Segment& segment) {
    fmt::format_to(out(), "  segment {}   {:.4f} s to {:.4f} s: {} (code {})\n", number, seconds(segment.samples.begin),
                   seconds(segment.samples.end), dip_category_name(segment.category), segment.category);
    line("    residual voltage  ", [&](std::size_t phase) { return level(segment.residual[phase]); });
    line("    phase jump        ",
         [&](std::size_t phase) { return fmt::format("{:+.1f}°", segment.phase_jump[phase]); });
    const std::string letters = phase_letters(segment.low_mask);
    fmt::format_to(out(), "    {} below the threshold{}, unbalance {:.1f} %\n",
                   plural(static_cast<std::size_t>(segment.low_count), "phase"),
                   letters.empty() ? "" : " (" + letters + ")", segment.unbalance);
  }

  const readers::Record& record_;
  const Analysis& analysis_;
  std::string text_;
};

}  // namespace

std::string text_of(const readers::Record& record, const Analysis& analysis) {
  std::string text;
  auto out = std::back_inserter(text);
  fmt::format_to(out, "{}\n  {}", record.file, record.format);
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
  if (first.side != 0 && first.primary != first.secondary) {
    fmt::format_to(out, " ({} values, transformer {:g}:{:g})", first.side == 'P' ? "primary" : "secondary",
                   first.primary, first.secondary);
  }
  text += '\n';
  fmt::format_to(out, "  pre-event voltage {}, dip threshold {}\n", volts(analysis.pre_event_voltage),
                 volts(analysis.threshold));
  if (analysis.declared) {
    fmt::format_to(out, "  declared {} voltage {}{}: the pre-event voltage is {:.1f} % of it\n",
                   analysis.declared->line ? "line" : "phase", volts(analysis.declared->given),
                   analysis.declared->secondary ? ", divided by the transformer's ratio" : "",
                   100 * analysis.pre_event_voltage / analysis.declared->level);
  }
  if (analysis.level_factor != 1) {
    fmt::format_to(out, "  analysed at {:.6g} times the recorded voltages; all voltages here are the recorded ones\n",
                   analysis.level_factor);
  }
  for (const auto* notes : {&record.notes, &analysis.notes}) {
    for (const auto& note : *notes) fmt::format_to(out, "  note: {}\n", note);
  }
  fmt::format_to(out, "\n{}\n", plural(analysis.dips.size(), "dip"));
  DipText dip_text(record, analysis);
  for (std::size_t i = 0; i < analysis.dips.size(); i++) text += dip_text.of(i + 1, analysis.dips[i]);
  return text;
}

}  // namespace command
