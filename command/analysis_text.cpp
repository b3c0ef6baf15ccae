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
  [[nodiscard]] double seconds(std::size_t sample) const {
    return static_cast<double>(sample) / analysis_.sampling_rate;
  }
  [[nodiscard]] std::string level(double value) const {
    return fmt::format("{} ({:.1f} %)", volts(value), 100 * value / analysis_.pre_event_voltage);
  }
  std::back_insert_iterator<std::string> out() { return std::back_inserter(text_); }

  /// A line with a figure for each phase.
  template <typename Figure>
  void line(const char* heading, Figure figure) {
    text_ += heading;
    for (std::size_t phase = 0; phase < 3; phase++) {
      fmt::format_to(out(), "{}{} {}", phase == 0 ? "" : ", ", record_.channels[analysis_.channels[phase]].name,
                     figure(phase));
    }
    text_ += '\n';
  }

  void add_place(std::size_t number, const Dip& dip) {
    fmt::format_to(out(), "\ndip {}   {:.4f} s to ", number, seconds(dip.start));
    if (dip.end) {
      const std::size_t length = *dip.end - dip.start;
      fmt::format_to(out(), "{:.4f} s, {:.1f} ms, {:.2f} cycles\n", seconds(*dip.end), seconds(length) * 1e3,
                     static_cast<double>(length) / analysis_.samples_per_cycle);
    } else {
      fmt::format_to(out(), "the end of the record, {:.1f} ms and on\n", seconds(record_.length() - dip.start) * 1e3);
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
  fmt::format_to(out, "\n  {:.4g} s: {} samples at {:g} Hz, {} per cycle of {:g} Hz\n",
                 static_cast<double>(record.length()) / analysis.sampling_rate, record.length(), analysis.sampling_rate,
                 analysis.samples_per_cycle, analysis.line_frequency);
  fmt::format_to(out, "  voltages {}, {}, {}\n", record.channels[analysis.channels[0]].name,
                 record.channels[analysis.channels[1]].name, record.channels[analysis.channels[2]].name);
  fmt::format_to(out, "  pre-event voltage {}, dip threshold {}\n", volts(analysis.pre_event_voltage),
                 volts(analysis.threshold));
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
