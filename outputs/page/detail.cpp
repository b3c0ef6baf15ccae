#include "outputs/page/detail.h"

#include <algorithm>
#include <cmath>

#include "outputs/figure_view.h"

namespace outputs {

using analysis::Analysis;
using analysis::Curves;
using analysis::Stretch;

namespace {

/// The cycles on either side of a change that are shown in detail in any case.
constexpr double cycles_round_change = 5;

/// Stretches that grow together up to a number of samples.
class Detail {
 public:
  Detail(std::size_t length, std::size_t most) : length_(length), left_(most) {}

  /// Adds a stretch, unless it has more new samples than are left.
  void add(Stretch stretch) {
    stretch.begin = std::min(stretch.begin, length_);
    stretch.end = std::min(stretch.end, length_);
    if (stretch.begin >= stretch.end) return;
    std::vector<Stretch> kept;
    Stretch joined = stretch;
    std::size_t before = 0;
    for (const Stretch& one : stretches_) {
      if (one.end < stretch.begin || one.begin > stretch.end) {
        kept.push_back(one);
        continue;
      }
      before += one.length();
      joined = {std::min(joined.begin, one.begin), std::max(joined.end, one.end)};
    }
    const std::size_t more = joined.length() - before;
    if (more > left_) return;
    left_ -= more;
    kept.push_back(joined);
    stretches_ = std::move(kept);
  }

  [[nodiscard]] std::vector<Stretch> in_order() && {
    std::sort(stretches_.begin(), stretches_.end(),
              [](const Stretch& one, const Stretch& other) { return one.begin < other.begin; });
    return std::move(stretches_);
  }

 private:
  std::size_t length_;
  std::size_t left_;
  std::vector<Stretch> stretches_;
};

/// Returns the times at which an event changes, seconds from the first sample.
std::vector<double> changes_of(const measure::Event& event) {
  std::vector<double> times = {event.start_s};
  if (event.end_s) times.push_back(*event.end_s);
  if (!event.course) return times;
  for (const measure::Transition& transition : event.course->transitions) {
    times.push_back(transition.start_s);
    times.push_back(transition.end_s);
  }
  return times;
}

/// Returns the samples within some cycles of a time.
Stretch round_time(double seconds, const Analysis& analysis) {
  const double middle = seconds * analysis.voltages.part.rate;
  const double margin = cycles_round_change * analysis.voltages.samples_per_cycle();
  const auto sample = [](double place) { return static_cast<std::size_t>(std::max(std::round(place), 0.0)); };
  return {sample(middle - margin), sample(middle + margin)};
}

}  // namespace

std::vector<Stretch> detailed_stretches(const Analysis& analysis, const Curves& curves,
                                        const std::vector<std::size_t>& ranked, std::size_t most) {
  const std::size_t length = curves.volts[0].size();
  Detail detail(length, most);
  if (length <= most) {
    detail.add({0, length});
    return std::move(detail).in_order();
  }
  const auto& events = analysis.found.events;
  for (const std::size_t index : ranked) {
    for (const double seconds : changes_of(events[index])) detail.add(round_time(seconds, analysis));
  }
  for (const std::size_t index : ranked) detail.add(view_of(analysis, curves, index).shown);
  return std::move(detail).in_order();
}

}  // namespace outputs
