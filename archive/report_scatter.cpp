#include "archive/report_scatter.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <map>

#include "analysis/quantity_text.h"
#include "archive/report_text.h"
#include "assess/known_curves.h"
#include "outputs/markup.h"
#include "outputs/ticks.h"

namespace archive {

namespace {

constexpr double width = 960;
constexpr double height = 480;
constexpr double left = 60;
constexpr double right = width - 110;
constexpr double top = 20;
constexpr double bottom = height - 50;
constexpr double shortest_s = 1e-3;

/// The axes: duration on a logarithmic scale, and voltage.
class Axes {
 public:
  explicit Axes(const std::vector<ReportedEvent>& events) {
    for (const ReportedEvent& event : events) {
      longest_ = std::max(longest_, seconds_of(event));
      highest_ = std::max(highest_, event.terms.percent);
    }
    longest_ = std::pow(10, std::ceil(std::log10(std::min(longest_, 1e6))));
    // Points beyond the axis are drawn at its end; a wrong scale factor must not flatten all others.
    highest_ = 20 * std::ceil(std::min(highest_, 200.0) / 20);
  }

  static double seconds_of(const ReportedEvent& event) {
    return event.terms.seconds.value_or(event.terms.least_seconds);
  }
  [[nodiscard]] double x(double seconds) const {
    const double clamped = std::clamp(seconds, shortest_s, longest_);
    return outputs::Scale{std::log10(shortest_s), std::log10(longest_), left, right}(std::log10(clamped));
  }
  [[nodiscard]] double y(double percent) const {
    return outputs::Scale{0, highest_, bottom, top}(std::clamp(percent, 0.0, highest_));
  }
  [[nodiscard]] double longest() const { return longest_; }
  [[nodiscard]] double highest() const { return highest_; }

 private:
  double longest_ = 100;
  double highest_ = 140;
};

std::string grid_of(const Axes& axes) {
  std::string svg;
  const auto text = [&](double x, double y, const char* anchor, const std::string& words) {
    svg += fmt::format("<text x=\"{:.1f}\" y=\"{:.1f}\" text-anchor=\"{}\">{}</text>\n", x, y, anchor, words);
  };
  for (double seconds = shortest_s; seconds < axes.longest() * 1.5; seconds *= 10) {
    svg += fmt::format("<path class=\"grid\" d=\"M{0:.1f} {1}V{2}\"/>\n", axes.x(seconds), top, bottom);
    text(axes.x(seconds), bottom + 18, "middle",
         seconds < 0.9 ? fmt::format("{:.0f} ms", 1000 * seconds) : fmt::format("{:.0f} s", seconds));
  }
  for (double percent = 0; percent <= axes.highest(); percent += 20) {
    svg += fmt::format("<path class=\"grid\" d=\"M{1} {0:.1f}H{2}\"/>\n", axes.y(percent), left, right);
    text(left - 8, axes.y(percent) + 4, "end", fmt::format("{:.0f} %", percent));
  }
  text((left + right) / 2, height - 10, "middle", "duration");
  return svg + fmt::format("<rect class=\"frame\" x=\"{}\" y=\"{}\" width=\"{}\" height=\"{}\"/>\n", left, top,
                           right - left, bottom - top);
}

std::string curve_of(const assess::Curve& curve, const Axes& axes, const char* kind) {
  double from = std::max(curve.from_seconds, shortest_s);
  std::string path = fmt::format("M{:.1f} {:.1f}", axes.x(from), axes.y(curve.steps.front().percent));
  for (const assess::CurveStep& step : curve.steps) {
    path += fmt::format("V{:.1f}H{:.1f}", axes.y(step.percent), axes.x(step.seconds));
    from = step.seconds;
  }
  // A curve that ends within the figure has its name below its first step, where no other curve is.
  const bool ends = from < axes.longest();
  const double x = ends ? axes.x(curve.from_seconds) : right + 4;
  const double y = ends ? axes.y(curve.steps.front().percent) + 16 : axes.y(curve.steps.back().percent) + 4;
  return fmt::format("<path class=\"curve {}\" d=\"{}\"/>\n<text x=\"{:.1f}\" y=\"{:.1f}\">{}</text>\n", kind, path, x,
                     y, outputs::markup_text(curve.name));
}

std::string point_of(const ReportedEvent& event, const Axes& axes, const std::string& link) {
  const std::string duration = event.terms.seconds ? analysis::duration_text(*event.terms.seconds)
                                                   : "at least " + analysis::duration_text(event.terms.least_seconds);
  const std::string words = fmt::format("{} at {}, {:.1f} %, {}, {}", event.kind, site_name(event.site),
                                        event.terms.percent, duration, event.clock.empty() ? "no date" : event.clock);
  const std::string point = fmt::format(
      "<circle class=\"{}{}\" data-site=\"{}\" cx=\"{:.1f}\" cy=\"{:.1f}\" r=\"3.5\"><title>{}</title></circle>",
      event.terms.seconds ? "" : "open ", event.kind, outputs::markup_text(event.site), axes.x(Axes::seconds_of(event)),
      axes.y(event.terms.percent), outputs::markup_text(words));
  return (link.empty() ? point : fmt::format("<a href=\"{}\">{}</a>", outputs::markup_text(link), point)) + "\n";
}

}  // namespace

std::vector<ReportedEvent> drawn_events(const std::vector<ReportedEvent>& events, std::size_t most) {
  if (events.size() <= most) return events;
  std::map<std::string, std::vector<ReportedEvent>> kinds;
  for (const ReportedEvent& event : events) kinds[event.kind].push_back(event);
  std::vector<ReportedEvent> drawn;
  for (auto& [kind, all] : kinds) {
    std::stable_sort(all.begin(), all.end(), is_worse);
    all.resize(std::min(all.size(), std::max<std::size_t>(1, all.size() * most / events.size())));
    drawn.insert(drawn.end(), all.begin(), all.end());
  }
  return drawn;
}

std::string scatter_svg(const std::vector<ReportedEvent>& events,
                        const std::function<std::string(const ReportedEvent&)>& link) {
  const Axes axes(events);
  std::string svg = fmt::format(
      "<svg viewBox=\"0 0 {} {}\" role=\"img\" aria-label=\"Magnitude and duration of {} events over the curves ITIC and "
      "SEMI F47\">\n",
      width, height, events.size());
  svg += grid_of(axes);
  for (const assess::Curve& curve : assess::known_curves(50)) {
    if (curve.code == "itic" || curve.code == "itic_upper") svg += curve_of(curve, axes, "itic");
    if (curve.code == "semi_f47") svg += curve_of(curve, axes, "semi");
  }
  svg += "<g class=\"points\">\n";
  for (const ReportedEvent& event : events) svg += point_of(event, axes, link(event));
  return svg + "</g>\n</svg>\n";
}

}  // namespace archive
