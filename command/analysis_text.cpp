#include "command/analysis_text.h"

#include <fmt/format.h>

#include <cmath>
#include <iterator>

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

void append_dip(std::string& text, std::size_t number, const Dip& dip, const readers::Record& record,
                const Analysis& analysis) {
  const auto seconds = [&](std::size_t sample) { return static_cast<double>(sample) / analysis.sampling_rate; };
  auto out = std::back_inserter(text);
  fmt::format_to(out, "\ndip {}   {:.4f} s to ", number, seconds(dip.start));
  if (dip.end) {
    const std::size_t length = *dip.end - dip.start;
    fmt::format_to(out, "{:.4f} s, {:.1f} ms, {:.2f} cycles\n", seconds(*dip.end), seconds(length) * 1e3,
                   static_cast<double>(length) / analysis.samples_per_cycle);
  } else {
    fmt::format_to(out, "the end of the record, {:.1f} ms and on\n", seconds(record.length() - dip.start) * 1e3);
  }
  fmt::format_to(out, "  lowest voltage");
  for (std::size_t phase = 0; phase < 3; phase++) {
    fmt::format_to(out, "{}{} {} ({:.1f} %)", phase == 0 ? "   " : ", ", record.channels[analysis.channels[phase]].name,
                   volts(dip.lowest[phase]), 100 * dip.lowest[phase] / analysis.pre_event_voltage);
  }
  text += '\n';
  if (dip.obstacle != Obstacle::none) {
    fmt::format_to(out, "  not analysed further: {}\n", describe(dip.obstacle).sentence);
  } else if (dip.gradual_fall_doubtful) {
    text += "  less than five cycles lie before it: a gradual fall may be measured wrongly\n";
  }
}

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
  for (std::size_t i = 0; i < analysis.dips.size(); i++) append_dip(text, i + 1, analysis.dips[i], record, analysis);
  return text;
}

}  // namespace command
