#include "measure/step_instant.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace measure {

namespace {

/// Half widths of edges that are tried, in samples. The low pass of a recorder is made for its sampling rate.
constexpr double narrowest = 0.5;
constexpr double widest = 2;
constexpr double next_width = 0.25;
/// Instants that are tried, in samples.
constexpr int reach = 2;
constexpr int tries_per_sample = 16;
/// An instant is likely if twice the logarithm of its likelihood is this close to the best one's. Neighbouring samples
/// share their noise, so it is twice the 4 of independent ones.
constexpr double as_likely = 8;
/// An edge that has a width must be more likely than one without by this much.
constexpr double price_of_width = 2;
/// Where in the edge the step happened depends on the shape of the low pass, samples.
constexpr double unknown_shape = 0.5;
/// The mean square of what an edge leaves unexplained, in variances, is at most this.
constexpr double well_explained = 4;

/// Returns how much of a step is done at a time after its middle, by an edge like that of a smooth low pass.
double done_at(double samples, double half_width) {
  if (samples <= -half_width) return 0;
  if (samples >= half_width) return 1;
  const double x = samples / half_width;
  return 0.5 + 0.75 * x - 0.25 * x * x * x;
}

/// The instants that were tried at equal distances, with the least cost of each: twice the negative logarithm of its
/// likelihood.
struct Tries {
  double first = 0;
  double distance = 0;
  std::vector<double> costs;
  std::vector<double> squares;  ///< what is left unexplained, in variances

  Tries(double first_instant, double between, std::size_t count)
      : first(first_instant),
        distance(between),
        costs(count, std::numeric_limits<double>::infinity()),
        squares(count) {}
  [[nodiscard]] double at(std::size_t k) const { return first + static_cast<double>(k) * distance; }
  [[nodiscard]] std::size_t best() const {
    return static_cast<std::size_t>(std::min_element(costs.begin(), costs.end()) - costs.begin());
  }
  /// Returns the mean of the likely instants, each weighted by its likelihood. Where a step crosses zero, they spread
  /// over several samples, and any of them may be the best by chance. Returns nothing if there may be likely instants
  /// beyond those that were tried.
  [[nodiscard]] std::optional<StepInstant> mean() const {
    const double least = costs[best()];
    double weights = 0;
    double moment = 0;
    std::size_t earliest = costs.size();
    std::size_t latest = 0;
    for (std::size_t k = 0; k < costs.size(); k++) {
      const double above = costs[k] - least;
      if (above > as_likely) continue;
      earliest = std::min(earliest, k);
      latest = k;
      const double weight = std::exp(-above * (2 / as_likely));
      weights += weight;
      moment += weight * static_cast<double>(k);
    }
    if (earliest == 0 || latest + 1 == costs.size()) return std::nullopt;
    const double mean = moment / weights;
    const double wider = std::max(mean - static_cast<double>(earliest), static_cast<double>(latest) - mean);
    return StepInstant{first + mean * distance, wider * distance + unknown_shape};
  }
};

/// The samples of some phases, as far as they are not missing.
class Edge {
 public:
  Edge(const std::vector<StepSample>& samples, const PerPhase& before, const PerPhase& after,
       const PhaseFlags& chosen) {
    for (std::size_t i = 0; i < samples.size(); i++) {
      for (std::size_t phase = 0; phase < most_phases; phase++) {
        const StepSample& sample = samples[i];
        if (!chosen[phase] || !std::isfinite(sample.voltage[phase])) continue;
        values_.push_back({i,
                           sample.voltage[phase] - sample.before[phase],
                           sample.after[phase] - sample.before[phase],
                           {1 / before[phase], std::log(before[phase])},
                           {1 / after[phase], std::log(after[phase])}});
      }
    }
    done_.resize(samples.size());
  }

  /// Tries a step at each instant with edges of a half width.
  void try_width(double half_width, Tries& tries) {
    for (std::size_t k = 0; k < tries.costs.size(); k++) {
      for (std::size_t i = 0; i < done_.size(); i++)
        done_[i] = done_at(static_cast<double>(i) - tries.at(k), half_width);
      double squares = 0;
      double logarithms = 0;
      for (const Value& value : values_) {
        const Noise& noise = static_cast<double>(value.sample) < tries.at(k) ? value.before : value.after;
        const double off = value.since_before - done_[value.sample] * value.step;
        squares += off * off * noise.inverse;
        logarithms += noise.logarithm;
      }
      if (squares + logarithms >= tries.costs[k]) continue;
      tries.costs[k] = squares + logarithms;
      tries.squares[k] = squares;
    }
  }

  /// Returns whether a sum of squares, in variances, is that of noise.
  [[nodiscard]] bool is_explained(double squares) const {
    return squares <= well_explained * static_cast<double>(values_.size());
  }

 private:
  /// Of a variance.
  struct Noise {
    double inverse = 0;
    double logarithm = 0;
  };
  struct Value {
    std::size_t sample = 0;
    double since_before = 0;  ///< distance from the course before
    double step = 0;          ///< distance of the course after from it
    Noise before;
    Noise after;
  };

  std::vector<Value> values_;
  std::vector<double> done_;  ///< share of the step that is done at each sample, at the instant that is tried
};

std::optional<StepInstant> found_by(Edge edge, double near) {
  Tries sharp(near - reach, 1, 2 * reach + 1);
  edge.try_width(0, sharp);
  Tries spread(near - reach, 1.0 / tries_per_sample, 2 * reach * tries_per_sample + 1);
  for (double half_width = narrowest; half_width <= widest; half_width += next_width) {
    edge.try_width(half_width, spread);
  }
  const bool is_spread = spread.costs[spread.best()] + price_of_width < sharp.costs[sharp.best()];
  const Tries& found = is_spread ? spread : sharp;
  if (!edge.is_explained(found.squares[found.best()])) return std::nullopt;
  return found.mean();
}

}  // namespace

std::optional<StepInstant> step_instant(const std::vector<StepSample>& samples, double near,
                                        const PerPhase& variance_before, const PerPhase& variance_after,
                                        const PhaseFlags& chosen) {
  if (const auto all = found_by(Edge(samples, variance_before, variance_after, chosen), near)) return all;
  const auto latest = [](const StepInstant& instant) { return instant.at + instant.plus_minus; };
  std::optional<StepInstant> first;
  for (std::size_t phase = 0; phase < most_phases; phase++) {
    if (!chosen[phase]) continue;
    PhaseFlags only{};
    only[phase] = true;
    const auto one = found_by(Edge(samples, variance_before, variance_after, only), near);
    if (one && (!first || latest(*one) < latest(*first))) first = one;
  }
  return first;
}

}  // namespace measure
