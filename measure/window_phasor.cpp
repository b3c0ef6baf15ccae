#include "measure/window_phasor.h"

#include <cmath>

#include "measure/lane_sums.h"

namespace measure {

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
  return sum_of_products(samples, re_.data(), im_.data(), size());
}

}  // namespace measure
