#include "sagx/SVD_cal.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iterator>
#include <limits>

#include "platform/default_environment.h"
#include "sagx/svd_feature.h"

namespace {

constexpr int top_tenth = 9;

int tenth_of(float normalised) {
  const double tenths = static_cast<double>(normalised) * 10.0;
  return tenths > -1 && tenths < top_tenth ? static_cast<int>(tenths) : top_tenth;
}

/// Returns the population standard deviation of `count` values. Sums, mean and quotient are float, the root is double.
float standard_deviation(const float* values, int count) {
  const auto divisor = static_cast<float>(count);
  float sum = 0;
  for (int j = 0; j < count; j++) sum += values[j];
  const float mean = sum / divisor;
  float squares = 0;
  for (int j = 0; j < count; j++) squares += (values[j] - mean) * (values[j] - mean);
  return static_cast<float>(std::sqrt(static_cast<double>(squares / divisor)));
}

}  // namespace

int SVD_datapro(dq_data* buf, dq_dipx_struct* /*dipx*/) {
  return platform::in_default_environment([&] {
    if (buf == nullptr) return 0;
    feasvd_data& reduced = feasvd_buf;
    reduced.feasvd_smp = static_cast<int>(buf->smp);
    reduced.feasvd_num = buf->num;
    reduced.feasvd_max = 0;
    reduced.feasvd_min = 99999.0F;
    std::fill(std::begin(reduced.feasvd_ten_i), std::end(reduced.feasvd_ten_i), 0);
    const unsigned samples = std::min(buf->num, static_cast<unsigned>(DQ_RECORD_CAPACITY));
    for (unsigned i = 0; i < samples; i++) {
      const float feature = sagx::largest_feature(*buf, static_cast<int>(i));
      reduced.feasvd_redu[i] = feature;
      if (feature > reduced.feasvd_max) reduced.feasvd_max = feature;
      if (feature < reduced.feasvd_min) reduced.feasvd_min = feature;
    }
    for (unsigned i = 0; i < samples; i++) {
      reduced.feasvd_redu[i] = reduced.feasvd_redu[i] / reduced.feasvd_max;
      reduced.feasvd_ten_i[tenth_of(reduced.feasvd_redu[i])]++;
    }
    for (int tenth = 0; tenth <= top_tenth; tenth++) {
      const float share = static_cast<float>(reduced.feasvd_ten_i[tenth]) / static_cast<float>(reduced.feasvd_num);
      reduced.feasvd_ten_f[tenth] = share * 100.0F;
    }
    return 0;
  });
}

float SVD_bzc(void) {
  return platform::in_default_environment([&]() -> float {
    const int half = feasvd_buf.feasvd_smp / 2;
    const unsigned held = std::min(feasvd_buf.feasvd_num, unsigned{DQ_RECORD_CAPACITY});
    // The last whole half-cycle is left out on purpose, together with the partial one that may follow it.
    const int blocks = half < 1 ? 0 : static_cast<int>(held / static_cast<unsigned>(half)) - 1;
    std::printf("seg_num=%d\r\n", blocks);
    if (blocks < 1) return std::numeric_limits<float>::quiet_NaN();
    float sum = 0;
    for (int i = 0; i < blocks; i++) sum += standard_deviation(feasvd_buf.feasvd_redu + i * half, half);
    return sum / static_cast<float>(blocks);
  });
}
