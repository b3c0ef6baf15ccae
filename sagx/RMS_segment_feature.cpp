// Long windows: where the dip's segments lie, by the SVD feature of the RMS curves.
#include "sagx/RMS_segment_feature.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "sagx/boundary_list.h"
#include "sagx/mms_time.h"
#include "sagx/svd_feature.h"
#include "sagx/three_phases.h"

namespace {

using sagx::BoundaryList;

/// One segmentation of a window into `dipx`.
class RmsSegmentation {
 public:
  RmsSegmentation(dq_data& buf, dq_dipx_struct& dipx)
      : buf_(buf),
        dipx_(dipx),
        samples_(static_cast<int>(std::min(buf.num, unsigned{DQ_RECORD_CAPACITY}))),
        order_(sagx::svd_order(static_cast<int>(buf.smp) / 2.0)),
        first_(order_ * order_),
        step_(static_cast<int>(buf.smp / 8)) {}

  void run() {
    for (int i = 0; i < samples_; i++) buf_.u[i] = sagx::smallest_of(buf_.rms_ua[i], buf_.rms_ub[i], buf_.rms_uc[i]);
    const auto begin_time = static_cast<unsigned>(mms_get_ms_time());
    if (order_ != 0 && step_ > 0) compute_features();
    std::printf("svd time=%dms\r\n", static_cast<int>(static_cast<unsigned>(mms_get_ms_time()) - begin_time));
    search_crossings();
    std::printf("T_num = %d\r\n", T_.count);
    prune_small_changes();
    store();
  }

 private:
  void compute_features() {
    const auto of_phase = [&](const float* rms, float* feature) {
      positions_ = 0;
      for (int end = first_; end < samples_; end += step_) feature[positions_++] = sagx::svd_feature(rms, end, order_);
    };
    of_phase(buf_.rms_ua, buf_.feasvd_a);
    of_phase(buf_.rms_ub, buf_.feasvd_b);
    of_phase(buf_.rms_uc, buf_.feasvd_c);
  }

  /// Lowers the threshold from one per cent of nominal until more than three crossings are found.
  void search_crossings() {
    constexpr int most_tries = 10;
    auto threshold = static_cast<float>(0.01 * static_cast<double>(dipx_.un));
    for (int attempt = 0; attempt < most_tries; attempt++) {
      scan(threshold);
      if (T_.count > 3) return;
      threshold = static_cast<float>(static_cast<double>(threshold) * 0.8);
    }
  }

  [[nodiscard]] float feature_at(int p) const {
    return sagx::largest_of(buf_.feasvd_a[p], buf_.feasvd_b[p], buf_.feasvd_c[p]);
  }

  /// Records alternating rises and falls of the feature through the threshold, each at the sample behind the end of the
  /// matrix two positions ahead of it.
  void scan(float threshold) {
    bool inside = false;
    T_.count = 0;
    float previous = positions_ > 0 ? feature_at(0) : 0.0F;
    for (int p = 1; p < positions_ && T_.count < sagx::working_list_capacity; p++) {
      const float current = feature_at(p);
      const bool crossed =
          inside ? current < threshold && threshold <= previous : previous < threshold && threshold <= current;
      if (crossed) {
        T_.at[T_.count++] = first_ + (p - 2) * step_ + 1;
        inside = !inside;
      }
      previous = current;
    }
  }

  [[nodiscard]] float change_between(int from, int to) const {
    const auto minimum_at = [&](int position) {
      return position >= 0 && position < DQ_RECORD_CAPACITY ? buf_.u[position] : 0.0F;
    };
    return std::fabs(minimum_at(from) - minimum_at(to));
  }

  /// Drops pairs of crossings over which the voltage changes by less than a tenth of the larger of the first and the
  /// last pair's change. An odd last crossing is paired with the entry behind it, as it stands.
  void prune_small_changes() {
    if (T_.count <= 4) return;
    const float first = change_between(T_.at[0], T_.at[1]);
    const float last = change_between(T_.at[T_.count - 1], T_.at[T_.count - 2]);
    const double least = 0.1 * static_cast<double>(last > first ? last : first);
    for (int i = 0; i < T_.count; i += 2) {
      if (static_cast<double>(change_between(T_.at[i], T_.at[i + 1])) < least) T_.remove_pair(i);
    }
  }

  /// Stores surviving crossings and boundaries. Two survivors get a third boundary, where the voltage recovers; fewer
  /// leave the list with its removed entries.
  void store() {
    BoundaryList survivors = T_;
    survivors.compact();
    if (survivors.count > 2) T_ = survivors;
    if (survivors.count == 2) {
      T_.at[0] = survivors.at[0];
      T_.at[1] = survivors.at[1];
      const int recovery = find_recovery(survivors.at[1]);
      if (recovery >= 0) T_.at[2] = recovery;
      T_.count = 3;
    }
    const int crossings = std::min(survivors.count, +DQ_LIST_CAPACITY);
    dipx_.Trms_num = std::min(T_.count, +DQ_LIST_CAPACITY);
    std::copy_n(survivors.at, crossings, dipx_.T0rms);
    std::copy_n(T_.at, dipx_.Trms_num, dipx_.Trms);
  }

  /// Where the minimum curve rises through the dip threshold behind `begin`; -1 when it does not. The search is bounded
  /// by the number of positions, not of samples.
  [[nodiscard]] int find_recovery(int begin) const {
    for (int i = std::max(begin, 0); i < positions_ && i + 1 < DQ_RECORD_CAPACITY; i++) {
      if (buf_.u[i] <= dipx_.ut && dipx_.ut < buf_.u[i + 1]) return i + 1;
    }
    return -1;
  }

  dq_data& buf_;
  dq_dipx_struct& dipx_;
  int samples_;
  int order_;
  int first_;
  int step_;
  int positions_ = 0;
  BoundaryList T_;
};

}  // namespace

void SVDsegment_multiclass(dq_data* buf, dq_dipx_struct* dipx) {
  if (buf == nullptr || dipx == nullptr) return;
  RmsSegmentation(*buf, *dipx).run();
}
