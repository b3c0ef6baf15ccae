#include "sagx/rms_change.h"

#include <algorithm>
#include <cstdio>

#include "sagx/svd_feature.h"
#include "sagx/three_phases.h"

namespace sagx {

RmsChange::RmsChange(dq_data& buf, int step)
    : buf_(buf),
      samples_(static_cast<int>(std::min(buf.num, unsigned{DQ_RECORD_CAPACITY}))),
      order_(svd_order(static_cast<int>(buf.smp) / 2.0)),
      step_(step) {}

void RmsChange::keep_minimum_curve() {
  for (int i = 0; i < samples_; i++) buf_.u[i] = smallest_of(buf_.rms_ua[i], buf_.rms_ub[i], buf_.rms_uc[i]);
}

void RmsChange::measure() {
  positions_ = svd_features(buf_.rms_ua, samples_, step_, order_, buf_.feasvd_a);
  svd_features(buf_.rms_ub, samples_, step_, order_, buf_.feasvd_b);
  svd_features(buf_.rms_uc, samples_, step_, order_, buf_.feasvd_c);
}

void RmsChange::search(float nominal, int enough, BoundaryList& crossings) const {
  constexpr int most_tries = 10;
  auto threshold = static_cast<float>(0.01 * static_cast<double>(nominal));
  for (int attempt = 0; attempt < most_tries; attempt++) {
    scan(threshold, crossings);
    if (crossings.count >= enough) break;
    threshold = static_cast<float>(static_cast<double>(threshold) * 0.8);
  }
  std::printf("T_num = %d\r\n", crossings.count);
}

/// Records alternating rises and falls of the feature through the threshold. Each is placed at the sample after the end
/// of the matrix two positions earlier.
void RmsChange::scan(float threshold, BoundaryList& crossings) const {
  bool inside = false;
  crossings.count = 0;
  float previous = positions_ > 0 ? largest_feature(buf_, 0) : 0.0F;
  for (int p = 1; p < positions_ && crossings.count < working_list_capacity; p++) {
    const float current = largest_feature(buf_, p);
    const bool crossed =
        inside ? current < threshold && threshold <= previous : previous < threshold && threshold <= current;
    if (crossed) {
      crossings.at[crossings.count++] = order_ * order_ + (p - 2) * step_ + 1;
      inside = !inside;
    }
    previous = current;
  }
}

}  // namespace sagx
