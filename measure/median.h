// Computes the median.
#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

namespace measure {

/// Returns the upper one of the middle two if the number of values is even. There must be at least one value.
inline double median(std::vector<double> values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

}  // namespace measure
