#include "measure/moving_phasors.h"

#include <Eigen/Dense>
#include <algorithm>
#include <cmath>

namespace measure {

MovingPhasors::MovingPhasors(const Excerpt& excerpt) : excerpt_(excerpt) {
  const auto window = std::max<std::size_t>(4, static_cast<std::size_t>(std::lround(excerpt.averages_per_cycle())));
  const auto rows = static_cast<Eigen::Index>(window);
  const double step = excerpt.omega() * static_cast<double>(excerpt.block()) / excerpt.rate();
  Eigen::MatrixX3d design(rows, 3);
  for (Eigen::Index k = 0; k < rows; k++) {
    const double angle = step * static_cast<double>(k);
    design.row(k) << std::cos(angle), std::sin(angle), 1;
  }
  const Eigen::Matrix3d gram = design.transpose() * design;
  const Eigen::Matrix3Xd solution = gram.llt().solve(design.transpose());
  const double kept = excerpt.attenuation(1);
  weights_.resize(window);
  for (Eigen::Index k = 0; k < rows; k++) {
    weights_[static_cast<std::size_t>(k)] = Phasor(solution(0, k), -solution(1, k)) / kept;
  }
}

double MovingPhasors::time_of(std::size_t begin) const {
  return excerpt_.time_of(static_cast<double>(begin) + static_cast<double>(window() - 1) / 2);
}

std::optional<Phasors> MovingPhasors::at(std::size_t begin) const {
  if (begin + window() > excerpt_.length()) return std::nullopt;
  Phasors result{};
  const Phasor turn = std::polar(1.0, -excerpt_.omega() * excerpt_.time_of(static_cast<double>(begin)));
  for (std::size_t phase = 0; phase < excerpt_.phases(); phase++) {
    double re = 0;
    double im = 0;
    for (std::size_t k = 0; k < window(); k++) {
      const double value = excerpt_.average(phase, begin + k);
      re += value * weights_[k].real();
      im += value * weights_[k].imag();
    }
    if (!std::isfinite(re)) return std::nullopt;
    result[phase] = Phasor(re, im) * turn;
  }
  return result;
}

}  // namespace measure
