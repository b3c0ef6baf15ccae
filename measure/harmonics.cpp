#include "measure/harmonics.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "measure/phasor_fit.h"

namespace measure {

void remove_harmonics(Excerpt& excerpt, const CycleTrack& track, double until_s) {
  constexpr double cycles_fitted = 10;
  constexpr double fewest_cycles = 1.2;
  /// What a swollen fundamental does to the harmonics is not known: they are not taken for much larger.
  constexpr double largest_share = 1.2;
  const double cycle = excerpt.cycle();
  const std::size_t end = excerpt.index_at(until_s);
  const std::size_t begin = excerpt.index_at(until_s - cycles_fitted * cycle);
  if (static_cast<double>(end - begin) < fewest_cycles * excerpt.averages_per_cycle()) return;
  FitForm form;
  form.harmonics = {3, 5, 7};
  const PhasorFit fit(excerpt, begin, end, form);
  const Phasors level = fit.phasors(until_s);

  // The magnitude of a phase between the middles of two cycles, in units of its level.
  std::size_t k = 0;
  const auto share_at = [&](double seconds, std::size_t phase) {
    const std::size_t next = std::min(k + 1, track.cycles() - 1);
    double one = std::abs(track.phasors(k)[phase]);
    double other = std::abs(track.phasors(next)[phase]);
    if (!std::isfinite(one)) one = other;
    if (!std::isfinite(other)) other = one;
    if (!std::isfinite(one)) return 0.0;
    const double between = std::clamp((seconds - track.time_of(k)) / cycle, 0.0, 1.0);
    return std::min(largest_share, (one + between * (other - one)) / excerpt.peak() / std::abs(level[phase]));
  };
  for (std::size_t i = 0; i < excerpt.length(); i++) {
    const double seconds = excerpt.time_of(static_cast<double>(i));
    while (k + 1 < track.cycles() && track.time_of(k + 1) < seconds) k++;
    PerPhase harmonics{};
    for (const int order : fit.form().harmonics) {
      const Phasor turn = std::polar(excerpt.attenuation(order), order * excerpt.omega() * seconds);
      const Phasors amplitude = fit.harmonic(order);
      for (std::size_t phase = 0; phase < excerpt.phases(); phase++)
        harmonics[phase] += std::real(amplitude[phase] * turn);
    }
    for (std::size_t phase = 0; phase < excerpt.phases(); phase++) {
      excerpt.subtract(phase, i, harmonics[phase] * share_at(seconds, phase));
    }
  }
}

}  // namespace measure
