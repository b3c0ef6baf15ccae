#include "sagx/SVD_cal.h"

#include <algorithm>
#include <iterator>

#include "sagx/three_phases.h"

namespace {

constexpr int top_tenth = 9;

int tenth_of(float normalised) {
  const double tenths = static_cast<double>(normalised) * 10.0;
  return tenths > -1 && tenths < top_tenth ? static_cast<int>(tenths) : top_tenth;
}

}  // namespace

int SVD_datapro(dq_data* buf, dq_dipx_struct* /*dipx*/) {
  if (buf == nullptr) return 0;
  feasvd_data& reduced = feasvd_buf;
  reduced.feasvd_smp = static_cast<int>(buf->smp);
  reduced.feasvd_num = buf->num;
  reduced.feasvd_max = 0;
  reduced.feasvd_min = 99999.0F;
  std::fill(std::begin(reduced.feasvd_ten_i), std::end(reduced.feasvd_ten_i), 0);
  const unsigned samples = std::min(buf->num, static_cast<unsigned>(DQ_RECORD_CAPACITY));
  for (unsigned i = 0; i < samples; i++) {
    const float feature = sagx::largest_of(buf->feasvd_a[i], buf->feasvd_b[i], buf->feasvd_c[i]);
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
}
