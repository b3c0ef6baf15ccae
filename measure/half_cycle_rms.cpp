#include "measure/half_cycle_rms.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <optional>

#include "measure/cycle_track.h"
#include "measure/lane_sums.h"

namespace measure {

namespace {

/// If the phase of the fundamental changes, the windows follow by at most this share of a half cycle per half cycle.
constexpr double fastest_catching_up = 0.02;
/// If a zero crossing is nearer than this, in half cycles, the windows are not shifted.
constexpr double at_crossing = 1e-4;
/// Zero crossings are not followed if the voltage is below this share of the usual one.
constexpr double too_little_to_follow = 0.3;

/// Returns the integral of the squares over a time in samples; sample i covers the time from i to i + 1.
double energy(const double* samples, double from, double to) {
  if (!(from < to)) return 0;  // at the end of the samples there is none to read
  const auto first = static_cast<std::size_t>(from);
  const auto last = static_cast<std::size_t>(to);
  const auto square = [&](std::size_t i) { return samples[i] * samples[i]; };
  if (first == last) return (to - from) * square(first);
  double sum =
      (static_cast<double>(first) + 1 - from) * square(first) + sum_of_squares(samples + first + 1, last - first - 1);
  const double rest = to - static_cast<double>(last);
  if (rest > 0) sum += rest * square(last);
  return sum;
}

/// Does the same if `to` lies before `from`; the result is then negative.
double energy_either_way(const double* samples, double from, double to) {
  return from <= to ? energy(samples, from, to) : -energy(samples, to, from);
}

}  // namespace

HalfCycleRms half_cycle_rms(const Waveform& waveform, std::size_t phase, const CycleTrack& track, double usual_v) {
  HalfCycleRms result;
  if (track.cycles() == 0) return result;
  const Phase& source = waveform.phases[phase];
  const double half_cycle = 0.5 / track.frequency();
  const double omega = 2 * std::numbers::pi * track.frequency();
  const double followed = too_little_to_follow * usual_v * std::numbers::sqrt2;
  const double length = static_cast<double>(waveform.length());

  // Returns the time since the fundamental's nearest zero crossing, in half cycles from -0.5 to 0.5; 0 if the voltage
  // is too low to follow.
  const auto after_crossing = [&](double seconds) {
    const Phasor phasor = track.phasors(track.cycle_at(seconds))[phase];
    if (!(std::norm(phasor) > followed * followed)) return 0.0;
    const double half_turns = (omega * seconds + std::arg(phasor)) / std::numbers::pi + 0.5;
    return half_turns - std::round(half_turns);
  };

  // Times count from half a sample before the first one, because each sample covers the time around it.
  const double offset = 0.5 / waveform.rate;
  std::size_t start_cycle = 0;
  while (start_cycle + 1 < track.cycles() && !(std::abs(track.phasors(start_cycle)[phase]) > followed)) start_cycle++;
  const Phasor begin_phasor = track.phasors(start_cycle)[phase];
  const double half_turns =
      (-omega * offset + (std::isfinite(std::abs(begin_phasor)) ? std::arg(begin_phasor) : 0)) / std::numbers::pi + 0.5;
  double boundary = (std::ceil(half_turns - 1e-9) - half_turns) * half_cycle;  // seconds after the record's beginning

  const auto expected = static_cast<std::size_t>(length / waveform.rate / half_cycle) + 2;
  result.start_s.reserve(expected);
  result.end_s.reserve(expected);
  result.volts.reserve(expected);
  std::optional<double> first_half;  // energy of the next window's first half, as the last window gave it
  // The last window may end a quarter of a sample after the last sample's time.
  for (double start = boundary; (start + 2 * half_cycle) * waveform.rate <= length + 0.25;) {
    const double middle = start + half_cycle;
    const double end = middle + half_cycle;
    const double* samples = source.samples.data();
    if (!first_half || !std::isfinite(*first_half)) {
      first_half = energy(samples, start * waveform.rate, middle * waveform.rate);
    }
    const double second_half = energy(samples, middle * waveform.rate, std::min(end * waveform.rate, length));
    double mean = (*first_half + second_half) / (2 * half_cycle * waveform.rate);
    if (mean < 0) mean = 0;  // rounding may make it negative
    result.start_s.push_back(start - offset);
    result.end_s.push_back(end - offset);
    const double volts = std::sqrt(mean) * std::abs(source.volts_per_unit);
    result.volts.push_back(volts < largest_volts ? volts : std::numeric_limits<double>::quiet_NaN());
    // The next window begins at a zero crossing, so its first half is the last one's second half, moved a little.
    const double late = after_crossing(middle - offset);
    start = middle;
    first_half = second_half;
    if (!(std::abs(late) > at_crossing)) continue;
    start -= std::clamp(late, -fastest_catching_up, fastest_catching_up) * half_cycle;
    const double moved_end = std::min((start + half_cycle) * waveform.rate, length);
    *first_half += energy_either_way(samples, start * waveform.rate, middle * waveform.rate) -
                   energy_either_way(samples, moved_end, std::min(end * waveform.rate, length));
  }
  return result;
}

}  // namespace measure
