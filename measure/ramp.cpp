#include "measure/ramp.h"

#include <algorithm>
#include <limits>
#include <vector>

namespace measure {

namespace {

/// What the averages of a window are, and how far the one course and the other are from them.
class Window {
 public:
  Window(const Excerpt& excerpt, const PhasorFit& before, const PhasorFit& after, double from_s, double to_s)
      : phases_(excerpt.phases()) {
    const std::size_t begin = excerpt.index_at(from_s);
    const std::size_t end = std::max(excerpt.index_at(to_s), begin);
    for (std::size_t i = begin; i < end; i++) {
      if (excerpt.is_missing(i)) continue;
      const double seconds = excerpt.time_of(static_cast<double>(i));
      const PerPhase one = before.voltage(seconds);
      const PerPhase other = after.voltage(seconds);
      Row row;
      row.seconds = seconds;
      for (std::size_t phase = 0; phase < phases_; phase++) {
        row.off[phase] = excerpt.average(phase, i) - one[phase];
        row.change[phase] = other[phase] - one[phase];
      }
      rows_.push_back(row);
    }
  }

  /// Mean square of what a ramp leaves.
  [[nodiscard]] double residual(double begin_s, double end_s) const {
    double sum = 0;
    for (const Row& row : rows_) {
      const double share = row.seconds <= begin_s ? 0
                           : row.seconds >= end_s ? 1
                                                  : (row.seconds - begin_s) / (end_s - begin_s);
      for (std::size_t phase = 0; phase < phases_; phase++) {
        const double left = row.off[phase] - share * row.change[phase];
        sum += left * left;
      }
    }
    return rows_.empty() ? 0 : sum / static_cast<double>(rows_.size() * phases_);
  }

 private:
  struct Row {
    double seconds = 0;
    PerPhase off{};
    PerPhase change{};
  };
  std::size_t phases_;
  std::vector<Row> rows_;
};

}  // namespace

Ramp fit_ramp(const Excerpt& excerpt, const PhasorFit& before, const PhasorFit& after, double from_s, double to_s) {
  constexpr int steps = 16;
  constexpr int refinements = 5;
  const Window window(excerpt, before, after, from_s, to_s);
  Ramp best{from_s, to_s, std::numeric_limits<double>::infinity(), std::numeric_limits<double>::infinity()};
  const double step = (to_s - from_s) / steps;
  for (int first = 0; first <= steps; first++) {
    for (int last = first; last <= steps; last++) {
      const double begin = from_s + first * step;
      const double end = from_s + last * step;
      const double residual = window.residual(begin, end);
      if (first == last) best.step_residual = std::min(best.step_residual, residual);
      if (residual < best.residual) {
        best.begin_s = begin;
        best.end_s = end;
        best.residual = residual;
      }
    }
  }
  double reach = step / 2;
  for (int round = 0; round < refinements; round++, reach /= 2) {
    const Ramp around = best;
    for (const int first : {-1, 0, 1}) {
      for (const int last : {-1, 0, 1}) {
        const double begin = std::max(from_s, around.begin_s + first * reach);
        const double end = std::min(to_s, around.end_s + last * reach);
        if (end < begin) continue;
        const double residual = window.residual(begin, end);
        if (residual < best.residual) {
          best.begin_s = begin;
          best.end_s = end;
          best.residual = residual;
        }
      }
    }
  }
  return best;
}

}  // namespace measure
