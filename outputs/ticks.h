// Round values along an axis, and the scale that places them.
#pragma once

#include <string>
#include <vector>

namespace outputs {

/// About five round values from a lowest to a highest one. There are never more than a dozen, whatever the two are, and
/// none where the two are not finite, not apart, or at the limits of double precision.
class Ticks {
 public:
  Ticks(double low, double high);

  [[nodiscard]] const std::vector<double>& values() const { return values_; }
  /// A value with as many decimals as the ticks need: "−0.25".
  [[nodiscard]] std::string text(double value) const;
  /// What is to be taken from every value for its text to stay short; 0 as a rule. A record's times may be counted from
  /// a day long ago.
  [[nodiscard]] double base() const { return base_; }
  /// The base without decimals.
  [[nodiscard]] std::string base_text() const;

 private:
  double step_ = 0;
  double base_ = 0;
  int decimals_ = 0;
  std::vector<double> values_;
};

/// A linear scale from values to places on the paper. Where all values are one, they lie in the middle.
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
