#include "measure/harmonics.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

#include "measure/phasor_fit.h"

namespace measure {

namespace {

constexpr double cycles_fitted = 10;

struct Span {
  double from_s;
  double to_s;
};

/// Returns the ten cycles before a time. If the voltage changes during them, because another dip lies just before, the
/// last ten cycles of the longest time without a change are returned instead.
Span fitted_span(const Excerpt& excerpt, const CycleTrack& track, double until_s) {
  constexpr double much = 0.1;  // usual peaks, from one cycle to the next
  const double cycle = excerpt.cycle();
  const Span nearest{until_s - cycles_fitted * cycle, until_s};
  const auto changes = [&](std::size_t k) {
    for (std::size_t phase = 0; phase < excerpt.phases(); phase++) {
      const double change = std::abs(track.phasors(k)[phase]) - std::abs(track.phasors(k - 1)[phase]);
      if (std::abs(change) > much * excerpt.peak()) return true;
    }
    return false;
  };
  const auto end_of = [&](std::size_t k) { return track.time_of(k) + cycle / 2; };
  Span longest = nearest;
  double most = 0;
  double from = excerpt.begin_s();
  bool any = false;
  const auto take = [&](double to) {
    if (to - from > most) {
      most = to - from;
      longest = {std::max(from, to - cycles_fitted * cycle), to};
    }
  };
  for (std::size_t k = track.cycle_at(excerpt.begin_s()) + 2; k < track.cycles() && end_of(k) <= until_s; k++) {
    if (!changes(k)) continue;
    any = any || end_of(k) > nearest.from_s;
    take(end_of(k - 2));
    from = end_of(k);
  }
  take(until_s);
  return any ? longest : nearest;
}

}  // namespace

void remove_harmonics(Excerpt& excerpt, const CycleTrack& track, double until_s) {
  constexpr double fewest_cycles = 1.2;
  /// The effect of a raised fundamental on the harmonics is not known, so they are not assumed to be much larger.
  constexpr double largest_share = 1.2;
  const double cycle = excerpt.cycle();
  const Span span = fitted_span(excerpt, track, until_s);
  const std::size_t end = excerpt.index_at(span.to_s);
  const std::size_t begin = excerpt.index_at(span.from_s);
  if (static_cast<double>(end - begin) < fewest_cycles * excerpt.averages_per_cycle()) return;
  FitForm form;
  form.harmonics = {3, 5, 7};
  const PhasorFit fit(excerpt, begin, end, form);
  const Phasors level = fit.phasors(span.to_s);

  // The magnitudes in the middles of two cycles, in units of the level; a straight line leads from one to the other.
  std::size_t k = 0;
  PerPhase at_middle{};
  PerPhase at_next{};
  const auto look_up = [&] {
    const std::size_t next = std::min(k + 1, track.cycles() - 1);
    for (std::size_t phase = 0; phase < excerpt.phases(); phase++) {
      double one = std::abs(track.phasors(k)[phase]);
      double other = std::abs(track.phasors(next)[phase]);
      if (!std::isfinite(one)) one = other;
      if (!std::isfinite(other)) other = one;
      const double unit = excerpt.peak() * std::abs(level[phase]);
      at_middle[phase] = std::isfinite(one) ? one / unit : 0;
      at_next[phase] = std::isfinite(one) ? other / unit : 0;
    }
  };
  const auto share_at = [&](double seconds, std::size_t phase) {
    const double between = std::clamp((seconds - track.time_of(k)) / cycle, 0.0, 1.0);
    return std::min(largest_share, at_middle[phase] + between * (at_next[phase] - at_middle[phase]));
  };
  // Each harmonic is a phasor that turns by the same angle from one average to the next.
  struct Turning {
    Phasor now;
    Phasor step;
    Phasors amplitude;
  };
  std::vector<Turning> turning;
  for (const int order : fit.form().harmonics) {
    const double angle = order * excerpt.omega();
    turning.push_back({std::polar(excerpt.attenuation(order), angle * excerpt.time_of(0)),
                       std::polar(1.0, angle * static_cast<double>(excerpt.block()) / excerpt.rate()),
                       fit.harmonic(order)});
  }
  std::array<std::vector<double>, most_phases> values;
  for (std::size_t phase = 0; phase < excerpt.phases(); phase++) values[phase].resize(excerpt.length());
  look_up();
  for (std::size_t i = 0; i < excerpt.length(); i++) {
    const double seconds = excerpt.time_of(static_cast<double>(i));
    if (k + 1 < track.cycles() && track.time_of(k + 1) < seconds) {
      while (k + 1 < track.cycles() && track.time_of(k + 1) < seconds) k++;
      look_up();
    }
    PerPhase harmonics{};
    for (Turning& harmonic : turning) {
      for (std::size_t phase = 0; phase < excerpt.phases(); phase++) {
        const Phasor& amplitude = harmonic.amplitude[phase];
        harmonics[phase] += amplitude.real() * harmonic.now.real() - amplitude.imag() * harmonic.now.imag();
      }
      harmonic.now *= harmonic.step;
    }
    for (std::size_t phase = 0; phase < excerpt.phases(); phase++) {
      values[phase][i] = harmonics[phase] * share_at(seconds, phase);
    }
  }
  excerpt.subtract(values);
}

}  // namespace measure
