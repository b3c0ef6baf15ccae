#include "measure/window_phasor.h"

#include <array>
#include <cmath>

namespace measure {

namespace {

/// Sums of products are made in lanes that a compiler can make vectors of.
constexpr std::size_t lanes = 4;

}  // namespace

WindowPhasor::WindowPhasor(double radians_per_sample, std::size_t samples) {
  // Against the middle of the window the cosine is even and the sine is odd, so that the sine is fitted alone.
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
  std::array<double, lanes> re{};
  std::array<double, lanes> im{};
  const std::size_t whole = size() / lanes * lanes;
  for (std::size_t k = 0; k < whole; k += lanes) {
    for (std::size_t lane = 0; lane < lanes; lane++) {
      re[lane] += samples[k + lane] * re_[k + lane];
      im[lane] += samples[k + lane] * im_[k + lane];
    }
  }
  double re_sum = (re[0] + re[1]) + (re[2] + re[3]);
  double im_sum = (im[0] + im[1]) + (im[2] + im[3]);
  for (std::size_t k = whole; k < size(); k++) {
    re_sum += samples[k] * re_[k];
    im_sum += samples[k] * im_[k];
  }
  return {re_sum, im_sum};
}

}  // namespace measure
