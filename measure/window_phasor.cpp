#include "measure/window_phasor.h"

#include <array>
#include <cmath>

namespace measure {

namespace {

/// The sums are split into this many partial sums, which compilers can vectorise.
constexpr std::size_t lanes = 4;

}  // namespace

WindowPhasor::WindowPhasor(double radians_per_sample, std::size_t samples) {
  // Relative to the middle of the window the cosine is even and the sine is odd, so the sine is fitted separately.
  const double middle = (static_cast<double>(samples) - 1) / 2;
  std::vector<double> cosines(samples);
  std::vector<double> sines(samples);
  double cosine_sum = 0;
  double cosine_squares = 0;
  double sine_squares = 0;
  for (std::size_t k = 0; k < samples; k++) {
    const double angle = radians_per_sample * (static_cast<double>(k) - middle);
    cosines[k] = std::cos(angle);
    sines[k] = std::sin(angle);
    cosine_sum += cosines[k];
    cosine_squares += cosines[k] * cosines[k];
    sine_squares += sines[k] * sines[k];
  }
  const auto count = static_cast<double>(samples);
  const double determinant = cosine_squares * count - cosine_sum * cosine_sum;
  const double turn_c = std::cos(radians_per_sample * middle);
  const double turn_s = std::sin(radians_per_sample * middle);
  re_.resize(samples);
  im_.resize(samples);
  for (std::size_t k = 0; k < samples; k++) {
    const double re = (count * cosines[k] - cosine_sum) / determinant;
    const double im = -sines[k] / sine_squares;
    re_[k] = re * turn_c + im * turn_s;
    im_[k] = im * turn_c - re * turn_s;
  }
}

Phasor WindowPhasor::of(const double* samples) const {
  std::array<double, lanes> re_sums{};
  std::array<double, lanes> im_sums{};
  const double* re = re_.data();
  const double* im = im_.data();
  const std::size_t whole = size() / lanes * lanes;
  for (std::size_t k = 0; k < whole; k += lanes) {
    for (std::size_t lane = 0; lane < lanes; lane++) re_sums[lane] += samples[k + lane] * re[k + lane];
    for (std::size_t lane = 0; lane < lanes; lane++) im_sums[lane] += samples[k + lane] * im[k + lane];
  }
  double re_sum = (re_sums[0] + re_sums[1]) + (re_sums[2] + re_sums[3]);
  double im_sum = (im_sums[0] + im_sums[1]) + (im_sums[2] + im_sums[3]);
  for (std::size_t k = whole; k < size(); k++) {
    re_sum += samples[k] * re[k];
    im_sum += samples[k] * im[k];
  }
  return {re_sum, im_sum};
}

}  // namespace measure
