#include "outputs/figure_curves.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <utility>

namespace outputs {

namespace {

/// Where the lowest and the highest value of a part of a curve are; the number of those that are missing.
struct Extremes {
  std::optional<std::size_t> low;
  std::optional<std::size_t> high;
  std::size_t missing = 0;
};

Extremes extremes_of(const std::vector<float>& values, std::size_t begin, std::size_t end) {
  Extremes found;
  for (std::size_t i = begin; i < end; i++) {
    if (!std::isfinite(values[i])) {
      found.missing++;
      continue;
    }
    if (!found.low || values[i] < values[*found.low]) found.low = i;
    if (!found.high || values[i] > values[*found.high]) found.high = i;
  }
  return found;
}

double width_of(const CurveFrame& frame) {
  return frame.across.at_high - frame.across.at_low;
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

std::vector<Outline> outlines_of(const std::vector<float>& values, const CurveFrame& frame, std::size_t step) {
  const auto& shown = frame.shown;
  std::vector<Outline> outlines(1);
  for (std::size_t i = shown.begin; i < shown.end; i += step) {
    const std::size_t end = std::min(i + step, shown.end);
    // If the last piece were shorter than the others, its peaks could be missing.
    const std::size_t begin = end - std::min(step, end - shown.begin);
    const Extremes found = extremes_of(values, begin, end);
    if (!found.low || 4 * found.missing > end - begin) {
      if (!outlines.back().above.empty()) outlines.emplace_back();
      continue;
    }
    const double above = frame.point(begin, values[*found.high]).y;
    const double below = frame.point(begin, values[*found.low]).y;
    Outline& outline = outlines.back();
    if (outline.above.empty()) outline.add(frame.across(static_cast<double>(begin)), above, below);
    outline.add(frame.across(static_cast<double>(begin + end) / 2), above, below);
    if (end == shown.end) outline.add(frame.across.at_high, above, below);
  }
  return outlines;
}

}  // namespace

Lines curve_of(const std::vector<float>& values, const CurveFrame& frame, const char* kind, Stroke stroke) {
  constexpr double dot = 0.1;
  const auto most = static_cast<std::size_t>(width_of(frame) / dot);
  const std::size_t count = frame.shown.length();
  const std::size_t step = count <= 2 * most ? 1 : (count + most - 1) / most;
  Lines lines{kind, {}, std::move(stroke)};
  bool broken = true;
  for (std::size_t i = frame.shown.begin; i < frame.shown.end; i += step) {
    const Extremes found = extremes_of(values, i, std::min(i + step, frame.shown.end));
    if (!found.low) {
      broken = true;
      continue;
    }
    if (broken) lines.pieces.emplace_back();
    broken = false;
    const auto [first, last] = std::minmax(*found.low, *found.high);
    lines.pieces.back().push_back(frame.point(first, values[first]));
    if (last != first) lines.pieces.back().push_back(frame.point(last, values[last]));
  }
  return lines;
}

Envelope envelope_of(const std::vector<float>& values, const CurveFrame& frame, double samples_per_cycle,
                     const char* colour) {
  const auto most = static_cast<std::size_t>(width_of(frame) / 0.2);
  const std::size_t step = std::max(static_cast<std::size_t>(samples_per_cycle), frame.shown.length() / most);
  Envelope envelope{{"", {}, {}, Fill{colour, 0.12}, true}, {"wave", {}, Stroke{colour, 0.25}}};
  for (Outline& outline : outlines_of(values, frame, step)) {
    if (outline.above.empty()) continue;
    envelope.area.pieces.push_back(outline.above);
    auto& closed = envelope.area.pieces.back();
    closed.insert(closed.end(), outline.below.rbegin(), outline.below.rend());
    envelope.edges.pieces.push_back(std::move(outline.above));
    envelope.edges.pieces.push_back(std::move(outline.below));
  }
  return envelope;
}

}  // namespace outputs
