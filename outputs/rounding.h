// Figures rounded to what they are good for, so that a document shows the same digits on every machine.
#pragma once

#include <cmath>

namespace outputs {

/// The multiple of `unit` that is nearest to a value.
inline double to_unit(double value, double units_in_one) {
  return std::round(value * units_in_one) / units_in_one;
}

inline double rounded_seconds(double seconds) {
  return to_unit(seconds, 1e6);
}

inline double rounded_degrees(double degrees) {
  return to_unit(degrees, 1e2);
}

inline double rounded_percent(double percent) {
  return to_unit(percent, 1e3);
}

inline double rounded_hertz(double hertz) {
  return to_unit(hertz, 1e4);
}

/// Six significant digits, for voltages.
inline double rounded_volts(double volts) {
  if (volts == 0 || !std::isfinite(volts)) return volts;
  const int digits = 5 - static_cast<int>(std::floor(std::log10(std::abs(volts))));
  const double scale = std::pow(10.0, std::abs(digits));
  return digits >= 0 ? std::round(volts * scale) / scale : std::round(volts / scale) * scale;
}

}  // namespace outputs
