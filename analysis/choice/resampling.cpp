#include "analysis/choice/resampling.h"

#include <fmt/format.h>
#include <soxr.h>

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace analysis {

namespace {

constexpr int fewest = 32;
constexpr int most = 128;

/// Rates this near to a whole number of samples per cycle count as whole; the line's own frequency varies by more.
constexpr double whole_tolerance = 1e-4;

/// Filters reach this far beyond the ends, in samples of the slower rate, before their effect is lost in rounding.
constexpr double filter_reach = 300;

/// The whole number of samples nearest to a whole number of cycles, up to `longest`; 0 when not even one cycle fits.
std::size_t period_of(double samples_per_cycle, std::size_t longest) {
  constexpr int most_cycles = 20;
  std::size_t best = 0;
  double least_off = 1;
  for (int cycles = 1; cycles <= most_cycles; cycles++) {
    const double samples = cycles * samples_per_cycle;
    const double whole = std::round(samples);
    if (whole < 1 || whole > static_cast<double>(longest)) break;
    const double off = std::abs(samples - whole) / cycles;
    if (off >= least_off) continue;
    least_off = off;
    best = static_cast<std::size_t>(whole);
  }
  return best;
}

}  // namespace

int analysed_samples_per_cycle(double samples_per_cycle) {
  const double whole = std::round(samples_per_cycle);
  if (!needs_resampling(samples_per_cycle, static_cast<int>(std::clamp(whole, 0.0, 1e6))) && whole >= fewest &&
      whole <= most) {
    return static_cast<int>(whole);
  }
  if (samples_per_cycle < fewest - 0.5) return 2 * fewest;  // room for the steepness that the filter leaves
  // A multiple of four not below what there is, so that hardly anything is lost and cycles have halves and quarters.
  constexpr double hardly_less = 0.1;
  const double multiple = 4 * std::ceil((samples_per_cycle - hardly_less) / 4);
  return static_cast<int>(std::clamp<double>(multiple, fewest, most));
}

bool needs_resampling(double samples_per_cycle, int wanted) {
  return std::abs(samples_per_cycle - wanted) > whole_tolerance * wanted;
}

Resampled resampled(const std::vector<float>& values, double rate, double new_rate, double samples_per_cycle) {
  const std::size_t length = values.size();
  const auto padding = static_cast<std::size_t>(std::ceil(filter_reach * std::max(1.0, rate / new_rate)));
  const std::size_t period = period_of(samples_per_cycle, length);
  std::vector<float> padded(length + 2 * padding);
  std::copy(values.begin(), values.end(), padded.begin() + static_cast<std::ptrdiff_t>(padding));
  for (std::size_t i = padding; i-- > 0;) padded[i] = period > 0 ? padded[i + period] : values.front();
  for (std::size_t i = padding + length; i < padded.size(); i++) {
    padded[i] = period > 0 ? padded[i - period] : values.back();
  }

  const double ratio = new_rate / rate;
  const auto skipped = static_cast<std::size_t>(std::ceil(static_cast<double>(padding) * ratio - 1e-9));
  const auto wanted =
      static_cast<std::size_t>(std::floor(static_cast<double>(padding + length - 1) * ratio + 1e-9)) + 1 - skipped;
  std::vector<float> all(static_cast<std::size_t>(std::ceil(static_cast<double>(padded.size()) * ratio)) + 16);
  std::size_t done = 0;
  const soxr_quality_spec_t quality = soxr_quality_spec(SOXR_VHQ, 0);
  const soxr_error_t error = soxr_oneshot(rate, new_rate, 1, padded.data(), padded.size(), nullptr, all.data(),
                                          all.size(), &done, nullptr, &quality, nullptr);
  if (error != nullptr) throw std::runtime_error(fmt::format("resampling: {}", error));
  if (done < skipped + wanted) throw std::runtime_error("resampling gave too few samples");
  Resampled result;
  result.values.assign(all.begin() + static_cast<std::ptrdiff_t>(skipped),
                       all.begin() + static_cast<std::ptrdiff_t>(skipped + wanted));
  result.delay = static_cast<double>(skipped) / new_rate - static_cast<double>(padding) / rate;
  return result;
}

}  // namespace analysis
