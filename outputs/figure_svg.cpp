#include "outputs/figure_svg.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>
#include <optional>
#include <utility>
#include <vector>

#include "outputs/figure_caption.h"
#include "outputs/figure_view.h"
#include "outputs/figures_text.h"
#include "outputs/markup.h"
#include "outputs/ticks.h"
#include "outputs/voltage_names.h"

namespace outputs {

using analysis::Analysis;
using analysis::Curves;

namespace {

// Millimetres. A column of a two-column page is 84 mm wide; text at 2.5 mm is 7 point.
constexpr double width = 84;
constexpr double left = 11;
constexpr double right = width - 1.5;
constexpr double wave_top = 8.5;
constexpr double wave_bottom = 32;
constexpr double rms_top = 35;
constexpr double rms_bottom = 62;
constexpr double list_top = 71.5;
constexpr double line_height = 3.3;
constexpr double text_size = 2.5;

// The same as in the page's light scheme; a colour-blind reader can tell them apart, and the dashes help a printer.
constexpr std::array<const char*, 3> colours = {"#0072b2", "#d9730d", "#3d3d3d"};
constexpr std::array<const char*, 3> dashes = {"none", "1.6 0.6", "0.4 0.5"};

/// Lowest and highest of some values, missing ones left out.
struct Extremes {
  double low = std::numeric_limits<double>::infinity();
  double high = -std::numeric_limits<double>::infinity();
  std::size_t missing = 0;

  void take(double value) {
    if (!std::isfinite(value)) {
      missing++;
      return;
    }
    low = std::min(low, value);
    high = std::max(high, value);
  }
  [[nodiscard]] bool any() const { return low <= high; }
};

class Figure {
 public:
  Figure(const readers::Record& record, const Analysis& analysis, const Curves& curves, const measure::Event* event)
      : record_(record),
        analysis_(analysis),
        curves_(curves),
        view_(view_of(analysis, curves, event)),
        course_(event != nullptr && event->course ? &*event->course : nullptr) {
    time_ = {seconds(view_.shown.begin), seconds(view_.shown.end), left, right};
    scale_waveform();
    scale_rms();
  }

  std::string text() {
    const auto lines = caption_of(record_, analysis_, view_);
    const double height = list_top + line_height * static_cast<double>(lines.size());
    add(R"(<svg xmlns="http://www.w3.org/2000/svg" width="{0}mm" height="{1:.1f}mm" viewBox="0 0 {0} {1:.1f}")"
        R"( font-family="Helvetica, Arial, sans-serif" font-size="{2}" fill="#1a1a1a">)"
        "\n",
        width, height, text_size);
    add("<title>{}</title>\n", markup_text(record_.file));
    add("<defs><pattern id=\"gradual\" width=\"1.2\" height=\"1.2\" patternUnits=\"userSpaceOnUse\" "
        "patternTransform=\"rotate(45)\"><path d=\"M0 0V1.2\" stroke=\"#b08a2e\" stroke-width=\"0.3\"/></pattern>"
        "</defs>\n");
    add("<rect width=\"{}\" height=\"{:.1f}\" fill=\"#ffffff\"/>\n", width, height);
    add_segments();
    add_axes();
    add_legend();
    for (std::size_t phase = 0; phase < phases(); phase++) {
      if (dense()) {
        envelope(phase);
      } else {
        curve(phase, curves_.volts[phase], 1 / unit_, wave_, "none", "wave");
      }
      add_steps(phase);
      curve(phase, curves_.rms[phase], view_.percent(1), rms_, dashes[phase], "rms");
    }
    add_transitions();
    add_event_bounds();
    add_point_on_wave();
    add_levels();
    add_lines(lines);
    return text_ + "</svg>\n";
  }

 private:
  template <typename... Arguments>
  void add(fmt::format_string<Arguments...> format, Arguments&&... arguments) {
    fmt::format_to(std::back_inserter(text_), format, std::forward<Arguments>(arguments)...);
  }

  [[nodiscard]] std::size_t phases() const { return analysis_.voltages.phases; }

  /// The record's seconds at a sample of the curves.
  [[nodiscard]] double seconds(std::size_t sample) const {
    return analysis_.voltages.record_seconds(static_cast<double>(sample) / analysis_.voltages.part.rate);
  }

  /// Millimetres across for a time of the measured waveform; within the frame.
  [[nodiscard]] double across(double waveform_seconds) const {
    return std::clamp(time_(analysis_.voltages.record_seconds(waveform_seconds)), left, right);
  }

  [[nodiscard]] bool is_shown(double waveform_seconds) const {
    const double at = time_(analysis_.voltages.record_seconds(waveform_seconds));
    return at >= left && at <= right;
  }

  [[nodiscard]] Extremes extremes(const analysis::Waveform& curves) const {
    Extremes extremes;
    for (std::size_t phase = 0; phase < phases(); phase++) {
      for (std::size_t i = view_.shown.begin; i < view_.shown.end; i++) {
        extremes.take(static_cast<double>(curves[phase][i]));
      }
    }
    return extremes;
  }

  void scale_waveform() {
    const Extremes volts = extremes(curves_.volts);
    double peak = volts.any() ? std::max(std::abs(volts.low), std::abs(volts.high)) : 0;
    if (!(peak > 0)) peak = 1;
    unit_ = peak >= 1e6 ? 1e6 : peak >= 1e3 ? 1e3 : peak >= 1 ? 1 : 1e-3;
    wave_ = {-1.05 * peak / unit_, 1.05 * peak / unit_, wave_bottom, wave_top};
  }

  void scale_rms() {
    Extremes volts = extremes(curves_.rms);
    if (!volts.any()) volts.take(view_.reference_v);
    Extremes percent;
    percent.take(view_.percent(volts.low));
    percent.take(view_.percent(volts.high));
    for (const auto& level : view_.levels) percent.take(level.percent);
    if (view_.from_zero) {
      rms_ = {0, std::max(105.0, 1.03 * percent.high), rms_bottom, rms_top};
      return;
    }
    // Swells and rapid changes are a small share of the voltage, which zero would flatten.
    const double room = std::max(0.12 * (percent.high - percent.low), 0.5);
    rms_ = {std::max(0.0, percent.low - room), percent.high + room, rms_bottom, rms_top};
  }

  /// Shades each segment and puts its number over it. A gradual one is hatched, too.
  void add_segments() {
    if (course_ == nullptr) return;
    for (std::size_t i = 0; i < course_->segments.size(); i++) {
      const measure::Segment& segment = course_->segments[i];
      const double from = across(segment.start_s);
      const double to = segment.end_s ? across(*segment.end_s) : right;
      area("segment", from, to, "#f3e6c4", 1);
      if (segment.gradual) area("gradual", from, to, "url(#gradual)", 0.6);
      add("<text x=\"{:.2f}\" y=\"{}\" text-anchor=\"middle\" font-weight=\"bold\">{}</text>\n", (from + to) / 2,
          wave_top - 0.8, i + 1);
    }
  }

  void area(const char* kind, double from, double to, const char* fill, double opacity) {
    add("<rect class=\"{}\" x=\"{:.2f}\" y=\"{}\" width=\"{:.2f}\" height=\"{}\" fill=\"{}\" fill-opacity=\"{}\"/>\n",
        kind, from, wave_top, std::max(to - from, 0.1), rms_bottom - wave_top, fill, opacity);
  }

  /// A gradual transition is hatched from its beginning to its end. An abrupt one is a line where it begins; what it
  /// takes until the last phase has changed is a grey strip.
  void add_transitions() {
    if (course_ == nullptr) return;
    for (const measure::Transition& transition : course_->transitions) {
      const double from = across(transition.start_s);
      const double to = across(transition.end_s);
      if (transition.gradual) {
        area("transition gradual", from, to, "url(#gradual)", 1);
        continue;
      }
      if (to > from) area("settling", from, to, "#1a1a1a", 0.12);
      add("<path class=\"transition abrupt\" d=\"M{:.2f} {}V{}\" stroke=\"#1a1a1a\" stroke-width=\"0.15\"/>\n", from,
          wave_top, rms_bottom);
    }
  }

  /// Where the event begins and ends by its threshold.
  void add_event_bounds() {
    const measure::Event* event = view_.event;
    if (event == nullptr) return;
    if (event->start_known && is_shown(event->start_s)) bound(across(event->start_s));
    if (event->end_s && is_shown(*event->end_s)) bound(across(*event->end_s));
  }

  void bound(double x) {
    add("<path class=\"boundary\" d=\"M{:.2f} {}V{}\" stroke=\"#777777\" stroke-width=\"0.15\" "
        "stroke-dasharray=\"0.8 0.5\"/>\n",
        x, rms_top, rms_bottom);
  }

  void add_axes() {
    const Ticks volts(wave_.low, wave_.high);
    for (const double tick : volts.values()) grid_line(wave_(tick), volts.text(tick));
    const Ticks percent(rms_.low, rms_.high);
    for (const double tick : percent.values()) grid_line(rms_(tick), percent.text(tick));
    add_time_axis();
    for (const auto& [top, bottom] : {std::pair(wave_top, wave_bottom), {rms_top, rms_bottom}}) {
      add("<rect x=\"{}\" y=\"{}\" width=\"{}\" height=\"{}\" fill=\"none\" stroke=\"#1a1a1a\" "
          "stroke-width=\"0.2\"/>\n",
          left, top, right - left, bottom - top);
    }
    axis_name((wave_top + wave_bottom) / 2, unit_ == 1e6   ? "u (MV)"
                                            : unit_ == 1e3 ? "u (kV)"
                                            : unit_ == 1   ? "u (V)"
                                                           : "u (mV)");
    axis_name((rms_top + rms_bottom) / 2, "RMS (%)");
  }

  void add_time_axis() {
    const Ticks time(time_.low, time_.high);
    for (const double tick : time.values()) {
      add("<path class=\"tick\" d=\"M{0:.2f} {1}v0.9\" stroke=\"#1a1a1a\" stroke-width=\"0.15\"/>\n", time_(tick),
          rms_bottom);
      add("<text x=\"{:.2f}\" y=\"{}\" text-anchor=\"middle\">{}</text>\n", time_(tick), rms_bottom + 3.4,
          time.text(tick));
    }
    const std::string name = time.base() == 0 ? "t (s)" : fmt::format("t \u2212 {} s (s)", time.base_text());
    add("<text x=\"{}\" y=\"{}\" text-anchor=\"middle\">{}</text>\n", (left + right) / 2, rms_bottom + 6.6, name);
  }

  void grid_line(double y, const std::string& label) {
    add("<path d=\"M{} {:.2f}H{}\" stroke=\"#dddddd\" stroke-width=\"0.1\"/>\n", left, y, right);
    add("<text x=\"{}\" y=\"{:.2f}\" text-anchor=\"end\">{}</text>\n", left - 0.8, y + 0.9, label);
  }

  void axis_name(double middle, const char* name) {
    add("<text transform=\"translate(2.6 {:.2f}) rotate(-90)\" text-anchor=\"middle\">{}</text>\n", middle, name);
  }

  void add_levels() {
    for (const auto& level : view_.levels) {
      const double y = rms_(level.percent);
      if (!std::isfinite(y)) continue;
      add("<path class=\"threshold\" d=\"M{} {:.2f}H{}\" stroke=\"#b00020\" stroke-width=\"0.2\" "
          "stroke-dasharray=\"1.2 0.5\"/>\n",
          left, y, right);
      // The words are below the line unless the frame is.
      const double base = y + 2.4 < rms_bottom ? y + 2 : y - 0.6;
      add("<text x=\"{}\" y=\"{:.2f}\" text-anchor=\"end\" font-size=\"2\" fill=\"#b00020\" stroke=\"#ffffff\" "
          "stroke-width=\"0.5\" paint-order=\"stroke\">{}</text>\n",
          right - 0.6, base, level.words);
    }
  }

  /// A segment's voltage as a level from its beginning to its end. A gradual one has none; its lowest is dashed.
  void add_steps(std::size_t phase) {
    if (course_ == nullptr) return;
    for (const measure::Segment& segment : course_->segments) {
      const double percent = view_.percent(segment.phases[phase].voltage_v.value);
      if (!segment.measured || !std::isfinite(percent)) continue;
      add("<path class=\"step\" d=\"M{:.2f} {:.2f}H{:.2f}\" stroke=\"{}\" stroke-width=\"0.9\" stroke-opacity=\"0.4\" "
          "stroke-dasharray=\"{}\"/>\n",
          across(segment.start_s), rms_(percent), segment.end_s ? across(*segment.end_s) : right, colours[phase],
          segment.gradual ? "0.6 0.6" : "none");
    }
  }

  /// A ring on each phase's waveform where the dip begins.
  void add_point_on_wave() {
    if (course_ == nullptr || !course_->start_s || dense() || !is_shown(course_->start_s->value)) return;
    const double x = across(course_->start_s->value);
    const auto sample =
        static_cast<std::size_t>(std::lround(std::max(0.0, course_->start_s->value) * analysis_.voltages.part.rate));
    for (std::size_t phase = 0; phase < phases(); phase++) {
      if (!course_->point_on_wave_degrees[phase] || sample >= curves_.volts[phase].size()) continue;
      const double y = wave_(static_cast<double>(curves_.volts[phase][sample]) / unit_);
      if (!std::isfinite(y)) continue;
      add("<circle class=\"point-on-wave\" cx=\"{:.2f}\" cy=\"{:.2f}\" r=\"0.8\" fill=\"none\" stroke=\"{}\" "
          "stroke-width=\"0.3\"/>\n",
          x, y, colours[phase]);
    }
  }

  void add_legend() {
    double x = left;
    const double room = (right - left) / 3;
    for (std::size_t phase = 0; phase < phases(); phase++) {
      const std::string label = figure_label(record_, analysis_.voltages, phase);
      const std::string channel = shortened(voltage_name(record_, analysis_.voltages, phase), 14);
      const std::string name = label == channel ? label : label + ": " + channel;
      add("<path d=\"M{} 3h5\" stroke=\"{}\" stroke-width=\"0.4\" stroke-dasharray=\"{}\"/>\n", x, colours[phase],
          dashes[phase]);
      add("<text x=\"{}\" y=\"3.9\" font-size=\"{:.2f}\">{}</text>\n", x + 6, size_within(room - 7, name),
          markup_text(name));
      x += room;
    }
  }

  /// A curve within the stretch shown, with breaks where values are missing. Where samples lie closer than a printer's
  /// dots, it runs through the lowest and the highest of those within each step.
  void curve(std::size_t phase, const std::vector<float>& values, double factor, const Scale& scale, const char* dash,
             const char* kind) {
    constexpr double dot = 0.1;
    const auto most = static_cast<std::size_t>((right - left) / dot);
    const std::size_t count = view_.shown.length();
    add("<path class=\"{}\" fill=\"none\" stroke=\"{}\" stroke-width=\"0.2\" stroke-linejoin=\"round\" "
        "stroke-dasharray=\"{}\" d=\"",
        kind, colours[phase], dash);
    char command = 'M';
    const auto point = [&](std::size_t i) {
      add("{}{:.2f} {:.2f}", command, time_(seconds(i)), scale(factor * static_cast<double>(values[i])));
      command = 'L';
    };
    const std::size_t step = count <= 2 * most ? 1 : (count + most - 1) / most;
    for (std::size_t i = view_.shown.begin; i < view_.shown.end; i += step) {
      const auto ends = extreme_samples(values, i, std::min(i + step, view_.shown.end));
      if (!ends) {
        command = 'M';
        continue;
      }
      point(ends->first);
      if (ends->first != ends->second) point(ends->second);
    }
    text_ += "\"/>\n";
  }

  /// Where a curve is lowest and where it is highest, in order of time; nothing where all values are missing.
  static std::optional<std::pair<std::size_t, std::size_t>> extreme_samples(const std::vector<float>& values,
                                                                            std::size_t begin, std::size_t end) {
    std::optional<std::size_t> low;
    std::optional<std::size_t> high;
    for (std::size_t i = begin; i < end; i++) {
      if (!std::isfinite(values[i])) continue;
      if (!low || values[i] < values[*low]) low = i;
      if (!high || values[i] > values[*high]) high = i;
    }
    if (!low) return std::nullopt;
    return std::minmax(*low, *high);
  }

  /// Whether cycles lie so close that a phase's waveform would hide the others.
  [[nodiscard]] bool dense() const {
    constexpr double narrowest_cycle = 1;
    const double cycles = static_cast<double>(view_.shown.length()) / analysis_.voltages.samples_per_cycle();
    return (right - left) < narrowest_cycle * cycles;
  }

  /// One piece of an envelope: from left to right above, and back below.
  struct Outline {
    std::string above;
    std::string below;
    void add(double x, double above_y, double below_y) {
      above += fmt::format("{}{:.2f} {:.2f}", above.empty() ? "" : "L", x, above_y);
      below.insert(0, fmt::format("{:.2f} {:.2f}{}", x, below_y, below.empty() ? "" : "L"));
    }
  };

  /// Highest and lowest value of each cycle, with breaks where a cycle lacks so many values that its peaks may be
  /// among them.
  void envelope(std::size_t phase) {
    const auto most = static_cast<std::size_t>((right - left) / 0.2);
    const auto& shown = view_.shown;
    const std::size_t step =
        std::max(static_cast<std::size_t>(analysis_.voltages.samples_per_cycle()), shown.length() / most);
    std::vector<Outline> outlines(1);
    for (std::size_t i = shown.begin; i < shown.end; i += step) {
      const std::size_t end = std::min(i + step, shown.end);
      // A last piece shorter than the others would lack its peaks.
      const std::size_t begin = end - std::min(step, end - shown.begin);
      const Extremes volts = extremes_of(curves_.volts[phase], begin, end);
      if (!volts.any() || 4 * volts.missing > end - begin) {
        if (!outlines.back().above.empty()) outlines.emplace_back();
        continue;
      }
      const double above = wave_(volts.high / unit_);
      const double below = wave_(volts.low / unit_);
      const double middle = time_((seconds(begin) + seconds(end)) / 2);
      Outline& outline = outlines.back();
      if (outline.above.empty()) outline.add(time_(seconds(begin)), above, below);
      outline.add(middle, above, below);
      if (end == shown.end) outline.add(right, above, below);
    }
    std::string edges;
    for (const Outline& outline : outlines) {
      if (outline.above.empty()) continue;
      add("<path fill=\"{}\" fill-opacity=\"0.12\" d=\"M{}L{}Z\"/>\n", colours[phase], outline.above, outline.below);
      edges += fmt::format("M{}M{}", outline.above, outline.below);
    }
    add("<path class=\"wave\" fill=\"none\" stroke=\"{}\" stroke-width=\"0.25\" d=\"{}\"/>\n", colours[phase], edges);
  }

  static Extremes extremes_of(const std::vector<float>& values, std::size_t begin, std::size_t end) {
    Extremes extremes;
    for (std::size_t i = begin; i < end; i++) extremes.take(static_cast<double>(values[i]));
    return extremes;
  }

  /// A text's size, so small that its width fits the room: the viewer chooses the font, which may be one of wide
  /// letters.
  static double size_within(double room, const std::string& text) {
    constexpr double column = 0.58;  // of the size
    return std::min(text_size, room / (column * static_cast<double>(std::max<std::size_t>(columns_of(text), 1))));
  }

  void add_lines(const std::vector<CaptionLine>& lines) {
    double y = list_top;
    for (const CaptionLine& line : lines) {
      const double size = size_within(width - 4, line.head + line.text);
      add("<text x=\"2\" y=\"{:.2f}\" font-size=\"{:.2f}\"><tspan font-weight=\"bold\">{}</tspan>{}</text>\n", y, size,
          line.head, markup_text(line.text));
      y += line_height;
    }
  }

  const readers::Record& record_;
  const Analysis& analysis_;
  const Curves& curves_;
  FigureView view_;
  const measure::Course* course_;
  Scale time_{};
  Scale wave_{};
  Scale rms_{};
  double unit_ = 1;
  std::string text_;
};

}  // namespace

std::string figure_of(const readers::Record& record, const Analysis& analysis, const Curves& curves,
                      std::size_t event) {
  const auto& events = analysis.found.events;
  return Figure(record, analysis, curves, events.empty() ? nullptr : &events.at(event)).text();
}

}  // namespace outputs
