#include "measure/steady_fit.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace measure {

namespace {

/// Time constants of offsets in cycles, for faults whose reactance is 0.8 to 15 times their resistance.
const std::vector<std::vector<double>> one_decay = {{0.12}, {0.25}, {0.6}, {1.2}, {2.4}};
const std::vector<std::vector<double>> two_decays = {{0.25, 1}, {0.12, 0.6}, {0.6, 2.25}, {0.5, 4}, {1, 4}};
/// In shorter stretches a decaying offset cannot be separated from the fundamental, nor two offsets from each other.
constexpr double cycles_for_one = 1.3;
constexpr double cycles_for_two = 3;

/// Returns a penalised likelihood: the residual, plus a cost for each decay. Samples have less weight because
/// neighbouring averages are not independent.
double cost(const PhasorFit& fit, std::size_t phases, std::size_t decays) {
  constexpr double sample_weight = 0.5;
  constexpr double floor = 0.001;  // of the usual peak; no model explains less than this
  const double count = sample_weight * static_cast<double>(fit.rows());
  double sum = 0;
  for (std::size_t phase = 0; phase < phases; phase++) {
    sum += count * std::log(fit.residual()[phase] + floor * floor);
  }
  return sum + static_cast<double>(decays * phases) * std::log(std::max(count, 2.0));
}

/// The fundamental for one choice of decays.
struct Candidate {
  Phasors phasors{};
  double cost = 0;
};

/// Returns the variance between the choices for each component of a phasor. Each choice is weighted by its likelihood,
/// because it is not known which one is right. See S. Buckland, K. Burnham, N. Augustin: Model selection: an integral
/// part of inference, Biometrics 53 (1997).
PerPhase variance_between(const std::vector<Candidate>& candidates, std::size_t phases) {
  PerPhase variance{};
  if (candidates.empty()) return variance;
  const auto cheaper = [](const Candidate& one, const Candidate& other) { return one.cost < other.cost; };
  const Candidate& best = *std::min_element(candidates.begin(), candidates.end(), cheaper);
  double weights = 0;
  for (const Candidate& candidate : candidates) {
    const double weight = std::exp(best.cost - candidate.cost);
    weights += weight;
    for (std::size_t phase = 0; phase < phases; phase++) {
      variance[phase] += weight * std::norm(candidate.phasors[phase] - best.phasors[phase]) / 2;
    }
  }
  for (double& one : variance) one /= weights;
  return variance;
}

}  // namespace

PhasorFit steady_fit(const Excerpt& excerpt, double from_s, double to_s, bool after_change) {
  const double cycle = excerpt.cycle();
  const double guard = std::min(0.075 * cycle, 0.1 * (to_s - from_s));
  const auto shortest = static_cast<std::size_t>(0.5 * excerpt.averages_per_cycle());
  std::size_t begin = excerpt.index_at(from_s + guard);
  const std::size_t end = std::min(std::max(excerpt.end_at(to_s - 0.015 * cycle), begin + shortest), excerpt.length());
  begin = std::min(begin, end - std::min(end, shortest));

  const double cycles = static_cast<double>(end - begin) / excerpt.averages_per_cycle();
  FitForm form = FitForm::for_length(cycles, false, false);
  PhasorFit best(excerpt, begin, end, form);
  std::vector<Candidate> candidates;
  const auto finished = [&] {
    best.look_at_correlation(excerpt, begin, end);
    best.add_variance(variance_between(candidates, excerpt.phases()));
    return best;
  };
  if (!after_change) return finished();
  double least = cost(best, excerpt.phases(), 0);
  candidates.push_back({best.phasors(from_s), least});
  const auto consider = [&](const std::vector<std::vector<double>>& choices) {
    for (const auto& decays : choices) {
      form.decays = decays;
      PhasorFit fit(excerpt, begin, end, form);
      const double now = cost(fit, excerpt.phases(), decays.size());
      candidates.push_back({fit.phasors(from_s), now});
      if (now >= least) continue;
      least = now;
      best = std::move(fit);
    }
  };
  if (cycles > cycles_for_one) consider(one_decay);
  if (cycles > cycles_for_two) consider(two_decays);
  return finished();
}

}  // namespace measure
