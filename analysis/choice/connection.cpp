#include "analysis/choice/connection.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <numbers>
#include <optional>

#include "readers/voltages/fourier.h"

namespace analysis {

namespace {

/// The phases' fundamentals over the first two cycles; nothing where they are too short or mostly something else.
std::optional<std::array<std::complex<double>, 3>> first_phasors(const Waveform& waveform, double samples_per_cycle) {
  constexpr double mostly = 0.8;  // of the energy
  const auto length = static_cast<std::size_t>(std::lround(2 * samples_per_cycle));
  std::array<std::complex<double>, 3> phasors;
  if (waveform[0].size() < length) return std::nullopt;
  const readers::Rotation rotation = readers::rotation_of(samples_per_cycle, length);
  for (std::size_t phase = 0; phase < 3; phase++) {
    phasors[phase] = readers::fourier_sum(waveform[phase], 0, length, rotation);
    double energy = 0;
    for (std::size_t i = 0; i < length; i++) {
      const auto value = static_cast<double>(waveform[phase][i]);
      energy += value * value;
    }
    if (!(2 * std::norm(phasors[phase]) >= mostly * energy * static_cast<double>(length)) || energy == 0) {
      return std::nullopt;
    }
  }
  return phasors;
}

/// Whether three phasors are alike in length and turn as phases A, B, C do.
bool turn_as_abc(std::complex<double> a, std::complex<double> b, std::complex<double> c) {
  constexpr double nearly = 0.95;
  const auto third = std::polar(1.0, 2 * std::numbers::pi / 3);
  const double longest = std::max({std::abs(a), std::abs(b), std::abs(c)});
  return std::abs(a + third * b + third * third * c) >= 3 * nearly * longest;
}

}  // namespace

Notes notes_on_connection(const readers::Record& record, const std::array<std::size_t, 3>& channels,
                          const Waveform& waveform, double samples_per_cycle) {
  const auto phasors = first_phasors(waveform, samples_per_cycle);
  if (!phasors) return {};
  const auto& [a, b, c] = *phasors;
  const auto name = [&](std::size_t phase) { return record.channels[channels[phase]].name; };
  if (turn_as_abc(a, c, b)) {
    return {fmt::format(
        "In the first cycles the phases follow each other as A, C, B: two of them seem to be exchanged, or the line "
        "turns that way (--channels {},{},{} takes them in the other order).",
        channels[0] + 1, channels[2] + 1, channels[1] + 1)};
  }
  for (std::size_t phase = 0; phase < 3; phase++) {
    auto turned = *phasors;
    turned[phase] = -turned[phase];
    const bool in_order = turn_as_abc(turned[0], turned[1], turned[2]);
    if (!in_order && !turn_as_abc(turned[0], turned[2], turned[1])) continue;
    return {fmt::format(
        "In the first cycles {} is opposite to where phase {} belongs{}: it seems to be connected the other way round, "
        "which makes categories, phase jumps and zero sequence wrong (turn its sign in the file).",
        name(phase), "ABC"[phase], in_order ? "" : ", and the phases follow each other as A, C, B")};
  }
  return {};
}

Notes notes_on_skew(const readers::Record& record, const std::array<std::size_t, 3>& channels, double line_frequency) {
  constexpr double least_degrees = 0.5;
  const auto skew = [&](std::size_t phase) { return record.channels[channels[phase]].skew; };
  const auto [first, last] = std::minmax({skew(0), skew(1), skew(2)});
  const double largest = last - first;
  const double degrees = 360 * line_frequency * largest;
  if (degrees < least_degrees) return {};
  return {fmt::format("The channels are sampled up to {:.4g} us apart ({:.1f} degrees), which is not corrected.",
                      largest * 1e6, degrees)};
}

}  // namespace analysis
