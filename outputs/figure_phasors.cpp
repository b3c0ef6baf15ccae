#include "outputs/figure_phasors.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <limits>
#include <numbers>
#include <utility>
#include <vector>

#include "outputs/figure_style.h"

namespace outputs {

namespace style = figure_style;

using measure::Course;
using measure::Segment;

namespace {

constexpr std::size_t most_diagrams = 4;
constexpr double radius = 7;  // of the longest phasor
constexpr double room_for_letters = 2.6;
constexpr double row_height = 2 * (radius + room_for_letters) + 2;

/// Returns the numbers of the segments that are drawn, counted from 0.
std::vector<std::size_t> drawn_segments(const Course& course) {
  std::vector<std::size_t> drawn;
  for (std::size_t i = 0; i < course.segments.size(); i++) {
    if (course.segments[i].measured) drawn.push_back(i);
  }
  const auto length = [&](std::size_t i) {
    const Segment& segment = course.segments[i];
    return segment.end_s ? *segment.end_s - segment.start_s : std::numeric_limits<double>::infinity();
  };
  std::stable_sort(drawn.begin(), drawn.end(), [&](std::size_t a, std::size_t b) { return length(a) > length(b); });
  drawn.resize(std::min(drawn.size(), most_diagrams));
  std::sort(drawn.begin(), drawn.end());
  return drawn;
}

class Diagrams {
 public:
  Diagrams(Drawing& drawing, const analysis::Analysis& analysis, const FigureView& view)
      : drawing_(drawing), analysis_(analysis), view_(view), course_(*view.event->course) {
    const double full = std::abs(course_.before[0]);
    if (full > 0) turn_ = std::conj(course_.before[0]) / full;
  }

  void add_row(double top) {
    const auto segments = drawn_segments(course_);
    double longest = view_.reference_v;
    for (std::size_t phase = 0; phase < phases(); phase++) {
      longest = std::max(longest, std::abs(course_.before[phase]));
      for (const std::size_t i : segments)
        longest = std::max(longest, course_.segments[i].phases[phase].voltage_v.value);
    }
    scale_ = radius / longest;
    const double room = (style::width - 4) / most_diagrams;
    const double first = (style::width - room * static_cast<double>(segments.size() - 1)) / 2;
    for (std::size_t i = 0; i < segments.size(); i++) {
      middle_ = {first + room * static_cast<double>(i), top + radius + room_for_letters};
      add_diagram(course_.segments[segments[i]]);
      add(style::words({middle_.x, top + row_height - 0.4}, fmt::format("segment {}", segments[i] + 1), Anchor::middle,
                       style::small_size));
    }
  }

 private:
  template <typename OneShape>
  void add(OneShape&& shape) {
    drawing_.add(std::forward<OneShape>(shape));
  }

  [[nodiscard]] std::size_t phases() const { return analysis_.voltages.phases; }

  [[nodiscard]] Point place(const measure::Phasor& phasor) const {
    const measure::Phasor end = phasor * turn_ * scale_;
    return {middle_.x + end.real(), middle_.y - end.imag()};
  }

  /// The phasor of a voltage in a segment. A voltage without a phase jump is almost zero; it is drawn at its angle
  /// before.
  [[nodiscard]] measure::Phasor during(const Segment& segment, std::size_t phase) const {
    const auto& figures = segment.phases[phase];
    const double jump = figures.phase_jump_degrees ? figures.phase_jump_degrees->value : 0;
    return std::polar(figures.voltage_v.value, std::arg(course_.before[phase]) + jump * std::numbers::pi / 180);
  }

  void add_diagram(const Segment& segment) {
    add(Ring{"full", middle_, view_.reference_v * scale_, {"#bbbbbb", 0.12}});
    for (std::size_t phase = 0; phase < phases(); phase++) {
      const measure::Phasor before = course_.before[phase];
      add(style::line("phasor before", middle_, place(before), {style::colours[phase], 0.2, {0.5, 0.5}}));
      // Letters in the directions of the phasors before never meet, as those at the ends of the others may.
      if (phases() < measure::most_phases || !(std::abs(before) > 0)) continue;
      const Point letter = place(before / std::abs(before) * (radius + 1.4) / scale_);
      add(style::words({letter.x, letter.y + 0.75}, analysis_.voltages.letter(phase), Anchor::middle, style::small_size,
                       style::colours[phase]));
    }
    for (std::size_t phase = 0; phase < phases(); phase++) {
      if (segment.phases[phase].measured) add_arrow(phase, during(segment, phase));
    }
  }

  void add_arrow(std::size_t phase, const measure::Phasor& phasor) {
    const Point end = place(phasor);
    add(style::line("phasor", middle_, end, {style::colours[phase], 0.4}));
    const double length = std::abs(phasor) * scale_;
    const double head = std::min(1.3, 0.6 * length);
    if (head < 0.5) return;
    const double back = (length - head) / length;
    const Point base = place(phasor * back);
    const Point side = {(end.y - base.y) * 0.35, (base.x - end.x) * 0.35};
    add(Lines{"",
              {{end, {base.x + side.x, base.y + side.y}, {base.x - side.x, base.y - side.y}}},
              {},
              Fill{style::colours[phase]},
              true});
  }

  Drawing& drawing_;
  const analysis::Analysis& analysis_;
  const FigureView& view_;
  const Course& course_;
  measure::Phasor turn_ = 1;
  double scale_ = 1;
  Point middle_;
};

}  // namespace

double height_of_phasors(const Course& course) {
  return drawn_segments(course).empty() ? 0 : row_height;
}

void add_phasors(Drawing& drawing, const analysis::Analysis& analysis, const FigureView& view, double top) {
  Diagrams(drawing, analysis, view).add_row(top);
}

}  // namespace outputs
