#include "measure/window_phasor.h"

#include <cmath>

namespace measure {

namespace {

/// So many sums are made side by side and added in the end, which compilers can make vectors of.
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
  // Each sum has a variable of its own, as compilers keep these in registers.
  double re0 = 0;
  double re1 = 0;
  double re2 = 0;
  double re3 = 0;
  double im0 = 0;
  double im1 = 0;
  double im2 = 0;
  double im3 = 0;
  const double* re = re_.data();
  const double* im = im_.data();
  const std::size_t whole = size() / lanes * lanes;
  for (std::size_t k = 0; k < whole; k += lanes) {
    re0 += samples[k] * re[k];
    re1 += samples[k + 1] * re[k + 1];
    re2 += samples[k + 2] * re[k + 2];
    re3 += samples[k + 3] * re[k + 3];
    im0 += samples[k] * im[k];
    im1 += samples[k + 1] * im[k + 1];
    im2 += samples[k + 2] * im[k + 2];
    im3 += samples[k + 3] * im[k + 3];
  }
  double re_sum = (re0 + re1) + (re2 + re3);
  double im_sum = (im0 + im1) + (im2 + im3);
  for (std::size_t k = whole; k < size(); k++) {
    re_sum += samples[k] * re[k];
    im_sum += samples[k] * im[k];
  }
  return {re_sum, im_sum};
}

}  // namespace measure
