#include "outputs/figure_events.h"

#include <fmt/format.h>

#include <algorithm>
#include <limits>
#include <string>
#include <utility>

#include "analysis/event_terms.h"
#include "outputs/figure_style.h"

namespace outputs {

namespace style = figure_style;

namespace {

constexpr double gap = 0.5;

std::string number_of(const EventBar& bar) {
  return fmt::format("{}", bar.number);
}

std::string label_of(const EventBar& bar) {
  return fmt::format("{} {}", bar.number, analysis::kind_words(bar.kind));
}

bool fits(const std::string& label, const EventBar& bar) {
  return style::room_of(label, style::small_size) + 2 * gap <= bar.to - bar.from;
}

/// Returns whether the number of a bar that is too short for it is to the left of the bar, because there is no room to
/// the right.
bool number_is_left(const EventBar& bar) {
  return bar.to + gap + style::room_of(number_of(bar), style::small_size) > style::right;
}

double begin_of(const EventBar& bar) {
  if (!bar.labelled || fits(number_of(bar), bar) || !number_is_left(bar)) return bar.from;
  return bar.from - gap - style::room_of(number_of(bar), style::small_size);
}

double end_of(const EventBar& bar) {
  if (!bar.labelled || fits(number_of(bar), bar) || number_is_left(bar)) return bar.to;
  return bar.to + gap + style::room_of(number_of(bar), style::small_size);
}

void add_label(Drawing& drawing, const EventBar& bar, double base) {
  const std::string number = number_of(bar);
  const std::string label = fits(label_of(bar), bar) ? label_of(bar) : number;
  if (fits(label, bar)) {
    drawing.add(style::words({(bar.from + bar.to) / 2, base}, label, Anchor::middle, style::small_size, "#ffffff"));
  } else if (number_is_left(bar)) {
    drawing.add(style::words({bar.from - gap, base}, number, Anchor::end, style::small_size));
  } else {
    drawing.add(style::words({bar.to + gap, base}, number, Anchor::begin, style::small_size));
  }
}

}  // namespace

const char* colour_of(measure::EventKind kind) {
  switch (kind) {
    case measure::EventKind::dip:
      return "#9a5b00";
    case measure::EventKind::swell:
      return "#6a3d9a";
    case measure::EventKind::interruption:
      return style::red;
    case measure::EventKind::rapid_voltage_change:
      break;
  }
  return "#00695c";
}

void distribute(std::vector<EventBar>& bars) {
  constexpr std::size_t most_lanes = 4;
  std::vector<double> ends;  // of what each lane holds
  for (EventBar& bar : bars) {
    const auto free = std::find_if(ends.begin(), ends.end(), [&](double end) { return end + gap <= begin_of(bar); });
    bar.lane = static_cast<std::size_t>(free - ends.begin());
    if (free == ends.end() && ends.size() == most_lanes) {
      bar.labelled = false;
      bar.lane = static_cast<std::size_t>(std::min_element(ends.begin(), ends.end()) - ends.begin());
    }
    if (bar.lane == ends.size()) ends.push_back(-std::numeric_limits<double>::infinity());
    ends[bar.lane] = std::max(ends[bar.lane], end_of(bar));
  }
}

std::size_t lanes_of(const std::vector<EventBar>& bars) {
  std::size_t lanes = 0;
  for (const EventBar& bar : bars) lanes = std::max(lanes, bar.lane + 1);
  return lanes;
}

void add_bars(Drawing& drawing, const std::vector<EventBar>& bars, double top) {
  for (const EventBar& bar : bars) {
    const double upper = top + lane_height * static_cast<double>(bar.lane);
    Box shown{"event", {bar.from, upper + 0.2}};
    shown.width = std::max(bar.to - bar.from, 0.3);
    shown.height = lane_height - 0.4;
    shown.fill = Fill{colour_of(bar.kind)};
    drawing.add(std::move(shown));
    if (bar.labelled) add_label(drawing, bar, upper + lane_height / 2 + 0.75);
  }
}

}  // namespace outputs
