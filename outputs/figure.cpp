#include "outputs/figure.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <utility>
#include <vector>

#include "outputs/drawable.h"
#include "outputs/figure_caption.h"
#include "outputs/figure_view.h"
#include "outputs/figures_text.h"
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

// These are the colours of the page's light scheme. Colour-blind readers can distinguish them, and the dashes help on
// paper.
constexpr std::array<const char*, 3> colours = {"#0072b2", "#d9730d", "#3d3d3d"};
const std::array<std::vector<double>, 3> dashes = {{{}, {1.6, 0.6}, {0.4, 0.5}}};
constexpr const char* red = "#b00020";

/// Returns the lowest and the highest of some values; missing ones are left out.
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
    for (const Scale& scale : {time_, wave_, rms_}) {
      drawable(scale.low);
      drawable(scale.high);
    }
  }

  Drawing drawing() {
    const auto lines = caption_of(record_, analysis_, view_);
    drawing_.width = width;
    drawing_.height = list_top + line_height * static_cast<double>(lines.size());
    drawing_.title = record_.file;
    add(Box{"", {0, 0}, drawing_.width, drawing_.height, {}, Fill{"#ffffff"}});
    add_segments();
    add_axes();
    add_legend();
    for (std::size_t phase = 0; phase < phases(); phase++) {
      if (dense()) {
        envelope(phase);
      } else {
        curve(phase, curves_.volts[phase], 1 / unit_, wave_, {}, "wave");
      }
      add_steps(phase);
      curve(phase, curves_.rms[phase], view_.percent(1), rms_, dashes[phase], "rms");
    }
    add_transitions();
    add_event_bounds();
    add_point_on_wave();
    add_levels();
    add_lines(lines);
    return std::move(drawing_);
  }

 private:
  void add(Shape shape) { drawing_.shapes.push_back(std::move(shape)); }

  /// Adds a straight line.
  void add_line(const char* kind, Point from, Point to, Stroke stroke) {
    add(Lines{kind, {{from, to}}, std::move(stroke)});
  }

  [[nodiscard]] std::size_t phases() const { return analysis_.voltages.phases; }

  /// The record's seconds at a sample of the curves.
  [[nodiscard]] double seconds(std::size_t sample) const {
    return analysis_.voltages.record_seconds(static_cast<double>(sample) / analysis_.voltages.part.rate);
  }

  /// Returns the horizontal position in millimetres of a time of the measured waveform, within the frame.
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
    // Swells and rapid changes are a small share of the voltage, so an axis from zero would flatten them.
    const double room = std::max(0.12 * (percent.high - percent.low), 0.5);
    rms_ = {std::max(0.0, percent.low - room), percent.high + room, rms_bottom, rms_top};
  }

  /// Shades each segment and writes its number above it. A gradual segment is also hatched.
  void add_segments() {
    if (course_ == nullptr) return;
    for (std::size_t i = 0; i < course_->segments.size(); i++) {
      const measure::Segment& segment = course_->segments[i];
      const double from = across(segment.start_s);
      const double to = segment.end_s ? across(*segment.end_s) : right;
      area("segment", from, to, Fill{"#f3e6c4"});
      if (segment.gradual) area("gradual", from, to, hatched(0.6));
      Words number = words({(from + to) / 2, wave_top - 0.8}, "", Anchor::middle);
      number.bold_head = fmt::format("{}", i + 1);
      add(std::move(number));
    }
  }

  static Fill hatched(double opacity) { return {"#b08a2e", opacity, true}; }

  static Words words(Point at, std::string text, Anchor anchor = Anchor::begin) {
    return {at, std::move(text), {}, text_size, anchor};
  }

  void area(const char* kind, double from, double to, Fill fill) {
    add(Box{kind, {from, wave_top}, std::max(to - from, 0.1), rms_bottom - wave_top, {}, fill});
  }

  /// Draws a transition. A gradual one is hatched from its beginning to its end. An abrupt one is a line at its
  /// beginning, and a grey strip covers the time until the last phase has changed.
  void add_transitions() {
    if (course_ == nullptr) return;
    for (const measure::Transition& transition : course_->transitions) {
      const double from = across(transition.start_s);
      const double to = across(transition.end_s);
      if (transition.gradual) {
        area("transition gradual", from, to, hatched(1));
        continue;
      }
      if (to > from) area("settling", from, to, Fill{"#1a1a1a", 0.12});
      add_line("transition abrupt", {from, wave_top}, {from, rms_bottom}, {"#1a1a1a", 0.15});
    }
  }

  /// Marks the beginning and the end of the event by its threshold.
  void add_event_bounds() {
    const measure::Event* event = view_.event;
    if (event == nullptr) return;
    if (event->start_known && is_shown(event->start_s)) bound(across(event->start_s));
    if (event->end_s && is_shown(*event->end_s)) bound(across(*event->end_s));
  }

  void bound(double x) { add_line("boundary", {x, rms_top}, {x, rms_bottom}, {"#777777", 0.15, {0.8, 0.5}}); }

  void add_axes() {
    const Ticks volts(wave_.low, wave_.high);
    for (const double tick : volts.values()) grid_line(wave_(tick), volts.text(tick));
    const Ticks percent(rms_.low, rms_.high);
    for (const double tick : percent.values()) grid_line(rms_(tick), percent.text(tick));
    add_time_axis();
    for (const auto& [top, bottom] : {std::pair(wave_top, wave_bottom), {rms_top, rms_bottom}}) {
      add(Box{"", {left, top}, right - left, bottom - top, Stroke{"#1a1a1a", 0.2}});
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
      const double x = time_(tick);
      add_line("tick", {x, rms_bottom}, {x, rms_bottom + 0.9}, {"#1a1a1a", 0.15});
      add(words({x, rms_bottom + 3.4}, time.text(tick), Anchor::middle));
    }
    const std::string name = time.base() == 0 ? "t (s)" : fmt::format("t \u2212 {} s (s)", time.base_text());
    add(words({(left + right) / 2, rms_bottom + 6.6}, name, Anchor::middle));
  }

  void grid_line(double y, const std::string& label) {
    add_line("", {left, y}, {right, y}, {"#dddddd", 0.1});
    add(words({left - 0.8, y + 0.9}, label, Anchor::end));
  }

  void axis_name(double middle, const char* name) {
    Words shown = words({2.6, middle}, name, Anchor::middle);
    shown.turned = true;
    add(std::move(shown));
  }

  void add_levels() {
    for (const auto& level : view_.levels) {
      const double y = rms_(level.percent);
      if (!std::isfinite(y)) continue;
      add_line("threshold", {left, y}, {right, y}, {red, 0.2, {1.2, 0.5}});
      // The words are below the line unless the frame is there.
      const double base = y + 2.4 < rms_bottom ? y + 2 : y - 0.6;
      Words shown = words({right - 0.6, base}, level.words, Anchor::end);
      shown.size = 2;
      shown.colour = red;
      shown.halo = true;
      add(std::move(shown));
    }
  }

  /// Draws a segment's voltage as a level from its beginning to its end. For a gradual segment the lowest voltage is
  /// drawn dashed.
  void add_steps(std::size_t phase) {
    if (course_ == nullptr) return;
    for (const measure::Segment& segment : course_->segments) {
      const double percent = view_.percent(segment.phases[phase].voltage_v.value);
      if (!segment.measured || !std::isfinite(percent)) continue;
      Stroke stroke{colours[phase], 0.9, {}, 0.4};
      if (segment.gradual) stroke.dash = {0.6, 0.6};
      const double end = segment.end_s ? across(*segment.end_s) : right;
      add_line("step", {across(segment.start_s), rms_(percent)}, {end, rms_(percent)}, stroke);
    }
  }

  /// Draws a ring on each phase's waveform at the beginning of the dip.
  void add_point_on_wave() {
    if (course_ == nullptr || !course_->start_s || dense() || !is_shown(course_->start_s->value)) return;
    const double x = across(course_->start_s->value);
    const auto sample =
        static_cast<std::size_t>(std::lround(std::max(0.0, course_->start_s->value) * analysis_.voltages.part.rate));
    for (std::size_t phase = 0; phase < phases(); phase++) {
      if (!course_->point_on_wave_degrees[phase] || sample >= curves_.volts[phase].size()) continue;
      const double y = wave_(static_cast<double>(curves_.volts[phase][sample]) / unit_);
      if (!std::isfinite(y)) continue;
      add(Ring{"point-on-wave", {x, y}, 0.8, {colours[phase], 0.3}});
    }
  }

  void add_legend() {
    double x = left;
    const double room = (right - left) / 3;
    for (std::size_t phase = 0; phase < phases(); phase++) {
      const std::string label = figure_label(record_, analysis_.voltages, phase);
      const std::string channel = shortened(voltage_name(record_, analysis_.voltages, phase), 14);
      const std::string name = label == channel ? label : label + ": " + channel;
      add_line("", {x, 3}, {x + 5, 3}, {colours[phase], 0.4, dashes[phase]});
      Words shown = words({x + 6, 3.9}, name);
      shown.size = size_within(room - 7, name);
      add(std::move(shown));
      x += room;
    }
  }

  /// Draws a curve within the visible stretch, with breaks at missing values. If samples are closer than a printer's
  /// dots, the curve connects the lowest and the highest sample of each step.
  void curve(std::size_t phase, const std::vector<float>& values, double factor, const Scale& scale,
             const std::vector<double>& dash, const char* kind) {
    constexpr double dot = 0.1;
    const auto most = static_cast<std::size_t>((right - left) / dot);
    const std::size_t count = view_.shown.length();
    Lines lines{kind, {}, Stroke{colours[phase], 0.2, dash}};
    bool broken = true;
    const auto point = [&](std::size_t i) {
      if (broken) lines.pieces.emplace_back();
      broken = false;
      lines.pieces.back().push_back({time_(seconds(i)), scale(factor * static_cast<double>(values[i]))});
    };
    const std::size_t step = count <= 2 * most ? 1 : (count + most - 1) / most;
    for (std::size_t i = view_.shown.begin; i < view_.shown.end; i += step) {
      const auto ends = extreme_samples(values, i, std::min(i + step, view_.shown.end));
      if (!ends) {
        broken = true;
        continue;
      }
      point(ends->first);
      if (ends->first != ends->second) point(ends->second);
    }
    add(std::move(lines));
  }

  /// Returns the positions of the lowest and the highest value of a curve in order of time; empty if all values are
  /// missing.
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

  /// Returns whether cycles are so close that a phase's waveform would hide the others.
  [[nodiscard]] bool dense() const {
    constexpr double narrowest_cycle = 1;
    const double cycles = static_cast<double>(view_.shown.length()) / analysis_.voltages.samples_per_cycle();
    return (right - left) < narrowest_cycle * cycles;
  }

  /// One piece of an envelope, both edges from left to right.
  struct Outline {
    std::vector<Point> above;
    std::vector<Point> below;
    void add(double x, double above_y, double below_y) {
      above.push_back({x, above_y});
      below.push_back({x, below_y});
    }
  };

  /// Returns the highest and lowest value of each cycle. There is a break at a cycle in which so many values are
  /// missing that its peaks may be among them.
  void envelope(std::size_t phase) {
    const auto most = static_cast<std::size_t>((right - left) / 0.2);
    const auto& shown = view_.shown;
    const std::size_t step =
        std::max(static_cast<std::size_t>(analysis_.voltages.samples_per_cycle()), shown.length() / most);
    std::vector<Outline> outlines(1);
    for (std::size_t i = shown.begin; i < shown.end; i += step) {
      const std::size_t end = std::min(i + step, shown.end);
      // If the last piece were shorter than the others, its peaks could be missing.
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
    Lines area{"", {}, {}, Fill{colours[phase], 0.12}, true};
    Lines edges{"wave", {}, Stroke{colours[phase], 0.25}};
    for (Outline& outline : outlines) {
      if (outline.above.empty()) continue;
      area.pieces.push_back(outline.above);
      area.pieces.back().insert(area.pieces.back().end(), outline.below.rbegin(), outline.below.rend());
      edges.pieces.push_back(std::move(outline.above));
      edges.pieces.push_back(std::move(outline.below));
    }
    add(std::move(area));
    add(std::move(edges));
  }

  static Extremes extremes_of(const std::vector<float>& values, std::size_t begin, std::size_t end) {
    Extremes extremes;
    for (std::size_t i = begin; i < end; i++) extremes.take(static_cast<double>(values[i]));
    return extremes;
  }

  /// Returns a font size so small that the text fits its space, because the viewer may choose a font with wide letters.
  static double size_within(double room, const std::string& text) {
    constexpr double column = 0.58;  // of the size
    return std::min(text_size, room / (column * static_cast<double>(std::max<std::size_t>(columns_of(text), 1))));
  }

  void add_lines(const std::vector<CaptionLine>& lines) {
    double y = list_top;
    for (const CaptionLine& line : lines) {
      const double size = size_within(width - 4, line.head + line.text);
      Words shown = words({2, y}, line.text);
      shown.bold_head = line.head;
      shown.size = size;
      add(std::move(shown));
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
  Drawing drawing_;
};

}  // namespace

Drawing figure_of(const readers::Record& record, const Analysis& analysis, const Curves& curves, std::size_t event) {
  const auto& events = analysis.found.events;
  return Figure(record, analysis, curves, events.empty() ? nullptr : &events.at(event)).drawing();
}

}  // namespace outputs
