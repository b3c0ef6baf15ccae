// Chooses round values along an axis and the scale that places them.
#pragma once

#include <string>
#include <vector>

namespace outputs {

/// Returns about five round values between a lowest and a highest one. There are never more than twelve. There are none
/// if the two are not finite, are equal, or are at the limits of double precision.
class Ticks {
 public:
  Ticks(double low, double high);

  [[nodiscard]] const std::vector<double>& values() const { return values_; }
  /// A value with as many decimals as the ticks need: "−0.25".
  [[nodiscard]] std::string text(double value) const;
  /// The amount to subtract from every value so that its text stays short; usually 0. It is used if a record counts its
  /// times from a day long ago.
  [[nodiscard]] double base() const { return base_; }
  /// The base without decimals.
  [[nodiscard]] std::string base_text() const;

 private:
  double step_ = 0;
  double base_ = 0;
  int decimals_ = 0;
  std::vector<double> values_;
};

/// A linear scale from values to positions on the paper. If all values are equal, they are in the middle.
struct Scale {
  double low = 0;
  double high = 1;
  double at_low = 0;
  double at_high = 1;

  [[nodiscard]] double operator()(double value) const {
    if (!(high > low)) return (at_low + at_high) / 2;
    return at_low + (value - low) / (high - low) * (at_high - at_low);
  }
};

}  // namespace outputs
