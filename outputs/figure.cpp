#include "outputs/figure.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <utility>
#include <vector>

#include "analysis/quantity_text.h"
#include "outputs/drawable.h"
#include "outputs/figure_caption.h"
#include "outputs/figure_curves.h"
#include "outputs/figure_events.h"
#include "outputs/figure_phasors.h"
#include "outputs/figure_style.h"
#include "outputs/figure_view.h"
#include "outputs/label_places.h"
#include "outputs/ticks.h"
#include "outputs/voltage_names.h"

namespace outputs {

using analysis::Analysis;
using analysis::Curves;

using namespace figure_style;

namespace {

// Heights of the parts of a figure from above, millimetres.
constexpr double legend_height = 6;
constexpr double overview_height = 9;
constexpr double numbers_height = 3;
constexpr double band_height = 1.6;
constexpr double wave_height = 22;
constexpr double rms_height = 27;
constexpr double ticks_height = 4;
constexpr double axis_height = 8;
constexpr double gap = 1.6;
constexpr double line_height = 2.8;

struct Panel {
  double top = 0;
  double bottom = 0;

  [[nodiscard]] double middle() const { return (top + bottom) / 2; }
};

/// The lowest and the highest of some values; missing ones are left out.
struct Extremes {
  double low = std::numeric_limits<double>::infinity();
  double high = -std::numeric_limits<double>::infinity();

  void take(double value) {
    if (!std::isfinite(value)) return;
    low = std::min(low, value);
    high = std::max(high, value);
  }
  [[nodiscard]] bool any() const { return low <= high; }
};

class Figure {
 public:
  Figure(const readers::Record& record, const Analysis& analysis, const Curves& curves,
         const std::optional<std::size_t>& event)
      : record_(record),
        analysis_(analysis),
        curves_(curves),
        view_(view_of(analysis, curves, event)),
        course_(view_.event != nullptr && view_.event->course ? &*view_.event->course : nullptr) {
    time_ = {seconds(view_.shown.begin), seconds(view_.shown.end), left, right};
    across_ = across_of(view_.shown);
    lay_out();
    scale_waveform();
    scale_rms();
    for (const Scale& scale : {time_, wave_, rms_}) {
      drawable(scale.low);
      drawable(scale.high);
    }
  }

  Drawing drawing() {
    const auto lines = caption_of(record_, analysis_, view_, width - 4, small_size);
    drawing_.width = width;
    drawing_.height = caption_top_ + line_height * static_cast<double>(lines.size()) - 1;
    drawing_.title = record_.file;
    add(Box{"", {0, 0}, drawing_.width, drawing_.height, {}, Fill{"#ffffff"}});
    if (!view_.all_events) add_overview();
    add_segments();
    add_axes();
    add_legend();
    add_bars(drawing_, bars_, bars_top_);
    for (std::size_t phase = 0; phase < phases(); phase++) {
      add_wave(phase);
      add_steps(phase);
      add(curve_of(curves_.rms[phase], {view_.shown, across_, rms_, view_.percent(1, phase)}, "rms",
                   {colours[phase], 0.2, dashes[phase]}));
    }
    add_transitions();
    add_event_bounds();
    add_point_on_wave();
    add_levels();
    if (course_ != nullptr && phasors_height_ > 0) add_phasors(drawing_, analysis_, view_, phasors_top_);
    add_lines(lines);
    return std::move(drawing_);
  }

 private:
  template <typename OneShape>
  void add(OneShape&& shape) {
    drawing_.add(std::forward<OneShape>(shape));
  }

  /// Adds a straight line.
  void add_line(const char* kind, Point from, Point to, Stroke stroke) { add(line(kind, from, to, std::move(stroke))); }

  [[nodiscard]] std::size_t phases() const { return analysis_.voltages.phases; }

  [[nodiscard]] std::size_t length() const { return curves_.volts[0].size(); }

  /// The record's seconds at a sample of the curves.
  [[nodiscard]] double seconds(std::size_t sample) const {
    return analysis_.voltages.record_seconds(static_cast<double>(sample) / analysis_.voltages.part.rate);
  }

  static Scale across_of(const analysis::Stretch& shown) {
    return {static_cast<double>(shown.begin), static_cast<double>(shown.end), left, right};
  }

  /// Returns the horizontal position in millimetres of a time of the measured waveform, within the frame.
  [[nodiscard]] double across(double waveform_seconds) const {
    return std::clamp(across_(waveform_seconds * analysis_.voltages.part.rate), left, right);
  }

  [[nodiscard]] bool is_shown(double waveform_seconds) const {
    const double at = across_(waveform_seconds * analysis_.voltages.part.rate);
    return at >= left && at <= right;
  }

  [[nodiscard]] bool has_band() const {
    if (course_ == nullptr) return false;
    return !course_->segments.empty() ||
           std::any_of(course_->transitions.begin(), course_->transitions.end(),
                       [](const measure::Transition& transition) { return transition.gradual; });
  }

  /// Stacks the parts of the figure.
  void lay_out() {
    double y = legend_height;
    const auto take = [&y](double height) {
      const Panel panel = {y, y + height};
      y += height;
      return panel;
    };
    if (!view_.all_events) {
      overview_bars_ = bars_within({0, length()}, all_events());
      overview_bars_top_ = take(lane_height * static_cast<double>(lanes_of(overview_bars_))).top;
      overview_ = take(overview_height);
      take(ticks_height + gap);
    }
    if (has_band()) {
      numbers_base_ = take(numbers_height).top + numbers_height - 1;
      band_ = take(band_height);
      y += 0.6;
    }
    wave_panel_ = take(wave_height);
    y += gap;
    if (analysis_.found.events.size() > 1) {
      bars_ = bars_within(view_.shown, view_.events);
      bars_top_ = take(lane_height * static_cast<double>(lanes_of(bars_))).top;
      y += gap / 2;
    }
    rms_panel_ = take(rms_height);
    y += axis_height;
    phasors_height_ = course_ == nullptr ? 0 : height_of_phasors(*course_);
    phasors_top_ = take(phasors_height_).top;
    caption_top_ = y + line_height;
  }

  [[nodiscard]] std::vector<std::size_t> all_events() const {
    std::vector<std::size_t> events;
    for (std::size_t i = 0; i < analysis_.found.events.size(); i++) events.push_back(i);
    return events;
  }

  [[nodiscard]] std::vector<EventBar> bars_within(const analysis::Stretch& shown,
                                                  const std::vector<std::size_t>& events) const {
    const Scale scale = across_of(shown);
    const auto at = [&](std::size_t sample) { return std::clamp(scale(static_cast<double>(sample)), left, right); };
    std::vector<EventBar> bars;
    for (const std::size_t i : events) {
      const measure::Event& event = analysis_.found.events[i];
      const analysis::Stretch taken = samples_of(event, analysis_, length());
      bars.push_back({i + 1, event.kind, at(taken.begin), at(taken.end)});
    }
    std::stable_sort(bars.begin(), bars.end(), [](const auto& a, const auto& b) { return a.from < b.from; });
    distribute(bars);
    return bars;
  }

  static Extremes extremes(const std::vector<float>& values, const analysis::Stretch& shown) {
    Extremes extremes;
    for (std::size_t i = shown.begin; i < shown.end; i++) extremes.take(static_cast<double>(values[i]));
    return extremes;
  }

  [[nodiscard]] Extremes extremes(const analysis::Waveform& curves, const analysis::Stretch& shown) const {
    Extremes all;
    for (std::size_t phase = 0; phase < phases(); phase++) {
      const Extremes one = extremes(curves[phase], shown);
      all.take(one.low);
      all.take(one.high);
    }
    return all;
  }

  void scale_waveform() {
    const Extremes volts = extremes(curves_.volts, view_.shown);
    double peak = volts.any() ? std::max(std::abs(volts.low), std::abs(volts.high)) : 0;
    if (!(peak > 0)) peak = 1;
    unit_ = peak >= 1e6 ? 1e6 : peak >= 1e3 ? 1e3 : peak >= 1 ? 1 : 1e-3;
    wave_ = {-1.05 * peak / unit_, 1.05 * peak / unit_, wave_panel_.bottom, wave_panel_.top};
  }

  void scale_rms() {
    Extremes percent;
    for (std::size_t phase = 0; phase < phases(); phase++) {
      const Extremes volts = extremes(curves_.rms[phase], view_.shown);
      percent.take(view_.percent(volts.low, phase));
      percent.take(view_.percent(volts.high, phase));
    }
    if (!percent.any()) percent.take(100);
    for (const auto& level : view_.levels) percent.take(level.percent);
    if (view_.from_zero) {
      rms_ = {0, std::max(105.0, 1.03 * percent.high), rms_panel_.bottom, rms_panel_.top};
      return;
    }
    // Swells and rapid changes are a small share of the voltage, so an axis from zero would flatten them.
    const double room = std::max(0.12 * (percent.high - percent.low), 0.5);
    rms_ = {std::max(0.0, percent.low - room), percent.high + room, rms_panel_.bottom, rms_panel_.top};
  }

  /// Draws the RMS of the whole record with all its events; the part in view is framed.
  void add_overview() {
    const analysis::Stretch whole = {0, length()};
    const double highest = std::max(105.0, 1.03 * view_.percent(extremes(curves_.rms, whole).high));
    const Scale percent = {0, drawable(highest), overview_.bottom, overview_.top};
    const Scale scale = across_of(whole);
    const double from = scale(static_cast<double>(view_.shown.begin));
    const double to = scale(static_cast<double>(view_.shown.end));
    add(Box{"window", {from, overview_.top}, std::max(to - from, 0.3), overview_height, {}, Fill{"#d6e6f2"}});
    for (const double tick : {0.0, 100.0}) grid_line(percent(tick), fmt::format("{:g}", tick));
    for (std::size_t phase = 0; phase < phases(); phase++) {
      add(curve_of(curves_.rms[phase], {whole, scale, percent, view_.percent(1)}, "overview",
                   {colours[phase], 0.15, dashes[phase]}));
    }
    frame("frame overview", overview_);
    add_time_ticks({drawable(seconds(0)), drawable(seconds(length())), left, right}, overview_.bottom);
    axis_name(overview_.middle(), "%");
    add_bars(drawing_, overview_bars_, overview_bars_top_);
  }

  /// Draws the segments as a band with their numbers above it, and shades them. The band of a gradual one is hatched.
  void add_segments() {
    if (course_ == nullptr) return;
    for (const measure::Segment& segment : course_->segments) {
      const auto [from, to] = extent_of(segment);
      for (const Panel& panel : {wave_panel_, rms_panel_}) area("shade", panel, from, to, Fill{"#f8f1de"});
      // The white edge parts segments that follow each other without a transition.
      add(Box{"segment",
              {from, band_.top},
              std::max(to - from, 0.1),
              band_height,
              Stroke{"#ffffff", 0.15},
              Fill{"#e3cd95"}});
      if (segment.gradual) area("gradual", band_, from, to, hatched());
    }
    add_segment_numbers();
  }

  [[nodiscard]] std::pair<double, double> extent_of(const measure::Segment& segment) const {
    return {across(segment.start_s), segment.end_s ? across(*segment.end_s) : right};
  }

  /// Writes the numbers of the segments side by side. A line leads from a number that had to move to its segment.
  void add_segment_numbers() {
    constexpr std::size_t most_of_one_digit = 9;
    const double room = course_->segments.size() > most_of_one_digit ? 4 : 3;
    std::vector<double> middles;
    for (const measure::Segment& segment : course_->segments) {
      const auto [from, to] = extent_of(segment);
      middles.push_back((from + to) / 2);
    }
    const auto places = places_apart(middles, room, left, width);
    for (std::size_t i = 0; i < places.size(); i++) {
      if (places[i] + room / 2 > width) return;
      Words number = words({places[i], numbers_base_}, "", Anchor::middle);
      number.bold_head = fmt::format("{}", i + 1);
      add(std::move(number));
      if (std::abs(places[i] - middles[i]) < 0.3) continue;
      add_line("leader", {places[i], numbers_base_ + 0.3}, {middles[i], band_.top}, {grey, 0.1});
    }
  }

  static Fill hatched() { return {"#b08a2e", 1, true}; }

  void area(const char* kind, const Panel& panel, double from, double to, Fill fill) {
    add(Box{kind, {from, panel.top}, std::max(to - from, 0.1), panel.bottom - panel.top, {}, fill});
  }

  /// Draws a transition. A gradual one is hatched in the band, from its beginning to its end. An abrupt one is a line
  /// at its beginning, and a grey strip covers the time until the last phase has changed.
  void add_transitions() {
    if (course_ == nullptr) return;
    for (const measure::Transition& transition : course_->transitions) {
      const double from = across(transition.start_s);
      const double to = across(transition.end_s);
      if (transition.gradual) {
        area("transition gradual", band_, from, to, hatched());
        continue;
      }
      Lines begins{"transition abrupt", {}, Stroke{ink, 0.15}};
      for (const Panel& panel : {wave_panel_, rms_panel_}) {
        if (to > from) area("settling", panel, from, to, Fill{ink, 0.12});
        begins.pieces.push_back({{from, panel.top}, {from, panel.bottom}});
      }
      add(std::move(begins));
    }
  }

  /// Marks the beginning and the end of the event by its threshold.
  void add_event_bounds() {
    const measure::Event* event = view_.event;
    if (event == nullptr) return;
    if (event->start_known && is_shown(event->start_s)) bound(across(event->start_s));
    if (event->end_s && is_shown(*event->end_s)) bound(across(*event->end_s));
  }

  void bound(double x) {
    add_line("boundary", {x, rms_panel_.top}, {x, rms_panel_.bottom}, {"#777777", 0.15, {0.8, 0.5}});
  }

  void add_axes() {
    const Ticks volts(wave_.low, wave_.high);
    for (const double tick : volts.values()) grid_line(wave_(tick), volts.text(tick));
    const Ticks percent(rms_.low, rms_.high);
    for (const double tick : percent.values()) grid_line(rms_(tick), percent.text(tick));
    frame("frame wave", wave_panel_);
    frame("frame rms", rms_panel_);
    const Ticks time = add_time_ticks(time_, rms_panel_.bottom);
    const std::string name = time.base() == 0 ? "t (s)" : fmt::format("t \u2212 {} s (s)", time.base_text());
    add(words({(left + right) / 2, rms_panel_.bottom + 6.6}, name, Anchor::middle));
    axis_name(wave_panel_.middle(), unit_ == 1e6   ? "u (MV)"
                                    : unit_ == 1e3 ? "u (kV)"
                                    : unit_ == 1   ? "u (V)"
                                                   : "u (mV)");
    axis_name(rms_panel_.middle(), "RMS (%)");
  }

  void frame(const char* kind, const Panel& panel) {
    add(Box{kind, {left, panel.top}, right - left, panel.bottom - panel.top, Stroke{ink, 0.2}});
  }

  Ticks add_time_ticks(const Scale& scale, double y) {
    const Ticks time(scale.low, scale.high);
    for (const double tick : time.values()) {
      const double x = scale(tick);
      add_line("tick", {x, y}, {x, y + 0.9}, {ink, 0.15});
      add(words({x, y + 3.4}, time.text(tick), Anchor::middle));
    }
    return time;
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

  /// Draws the thresholds and the residual voltage, whose figures stand beside the frame, kept apart from each other.
  void add_levels() {
    std::vector<Level> levels;
    for (const auto& level : view_.levels) {
      add_level(levels, {"threshold", rms_(level.percent), left, level.label, red, {1.2, 0.5}});
    }
    if (const auto extreme = extreme_percent()) {
      add_level(levels, {"extreme",
                         rms_(*extreme),
                         across(view_.event->start_known ? view_.event->start_s : 0),
                         analysis::percent_text(*extreme, analysis_.options.thresholds),
                         ink,
                         {0.2, 0.4}});
    }
    std::stable_sort(levels.begin(), levels.end(), [](const Level& a, const Level& b) { return a.y < b.y; });
    std::vector<double> wanted;
    for (const Level& level : levels) wanted.push_back(level.y);
    const auto places = places_apart(wanted, small_size * 1.15, rms_panel_.top - 1.2, rms_panel_.bottom + 1.2);
    for (std::size_t i = 0; i < levels.size(); i++) {
      const Level& level = levels[i];
      Words shown = words({right + 1, places[i] + 0.75}, level.label, Anchor::begin, small_size, level.colour);
      shown.size = size_within(width - right - 1.2, level.label, small_size);
      add(std::move(shown));
      if (std::abs(places[i] - level.y) > 0.2)
        add_line("leader", {right, level.y}, {right + 0.9, places[i]}, {grey, 0.1});
    }
  }

  /// A horizontal line in the RMS panel with its figure.
  struct Level {
    const char* kind;
    double y;
    double from;
    std::string label;
    const char* colour;
    std::vector<double> dash;
  };

  void add_level(std::vector<Level>& levels, Level level) {
    if (!std::isfinite(level.y)) return;
    add_line(level.kind, {level.from, level.y}, {right, level.y}, {level.colour, 0.2, level.dash});
    levels.push_back(std::move(level));
  }

  /// The residual voltage of the event, or the highest of a swell, in per cent of the view's reference.
  [[nodiscard]] std::optional<double> extreme_percent() const {
    if (view_.event == nullptr || view_.event->kind == measure::EventKind::rapid_voltage_change) return std::nullopt;
    return view_.percent(view_.event->extreme_v);
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
      const auto [from, to] = extent_of(segment);
      add_line("step", {from, rms_(percent)}, {to, rms_(percent)}, stroke);
    }
  }

  /// Draws the waveform, or its envelope where cycles are so close that a phase would hide the others.
  void add_wave(std::size_t phase) {
    const CurveFrame frame = {view_.shown, across_, wave_, 1 / unit_};
    if (!dense()) {
      add(curve_of(curves_.volts[phase], frame, "wave", {colours[phase], 0.2}));
      return;
    }
    Envelope envelope =
        envelope_of(curves_.volts[phase], frame, analysis_.voltages.samples_per_cycle(), colours[phase]);
    add(std::move(envelope.area));
    add(std::move(envelope.edges));
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
    const double room = (width - left) / 3;
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

  /// Returns whether cycles are so close that a phase's waveform would hide the others.
  [[nodiscard]] bool dense() const {
    constexpr double narrowest_cycle = 1;
    const double cycles = static_cast<double>(view_.shown.length()) / analysis_.voltages.samples_per_cycle();
    return (right - left) < narrowest_cycle * cycles;
  }

  void add_lines(const std::vector<CaptionLine>& lines) {
    double y = caption_top_;
    for (const CaptionLine& line : lines) {
      Words shown = words({2, y}, line.text, Anchor::begin, small_size);
      shown.bold_head = line.head;
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
  Scale across_{};
  Scale wave_{};
  Scale rms_{};
  double unit_ = 1;
  std::vector<EventBar> overview_bars_;
  double overview_bars_top_ = 0;
  Panel overview_;
  double numbers_base_ = 0;
  Panel band_;
  Panel wave_panel_;
  std::vector<EventBar> bars_;
  double bars_top_ = 0;
  Panel rms_panel_;
  double phasors_top_ = 0;
  double phasors_height_ = 0;
  double caption_top_ = 0;
  Drawing drawing_;
};

}  // namespace

Drawing figure_of(const readers::Record& record, const Analysis& analysis, const Curves& curves, std::size_t event) {
  const bool any = !analysis.found.events.empty();
  return Figure(record, analysis, curves, any ? std::optional(event) : std::nullopt).drawing();
}

}  // namespace outputs
