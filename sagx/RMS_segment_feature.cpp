// Long windows: finds the dip's segments by the SVD feature of the RMS curves, and the lowest RMS in each segment. The
// driver uses this, and the dq features use it as a rough guide.
#include "sagx/RMS_segment_feature.h"

#include <algorithm>
#include <cstdio>

#include "platform/default_environment.h"
#include "sagx/boundary_list.h"
#include "sagx/dip_category.h"
#include "sagx/dipx_lib.h"
#include "sagx/gbk_text.h"
#include "sagx/mms_time.h"
#include "sagx/rms_change.h"
#include "sagx/segment_features.h"
#include "sagx/three_phases.h"

namespace {

using sagx::BoundaryList;

// --- segmentation ----------------------------------------------------------------------------------------------------

/// Segments one window into `dipx`.
class RmsSegmentation {
 public:
  RmsSegmentation(dq_data& buf, dq_dipx_struct& dipx)
      : buf_(buf), dipx_(dipx), change_(buf, static_cast<int>(buf.smp / 8)) {}

  void run() {
    change_.keep_minimum_curve();
    const auto begin_time = static_cast<unsigned>(mms_get_ms_time());
    change_.measure();
    std::printf("svd time=%dms\r\n", static_cast<int>(static_cast<unsigned>(mms_get_ms_time()) - begin_time));
    change_.search(dipx_.un, 4, T_);
    prune_small_changes();
    store();
  }

 private:
  /// Removes pairs of crossings between which the voltage changes by less than a tenth of the larger of the first and
  /// the last pair's change. An odd last crossing is paired with the entry after it, whatever that holds.
  void prune_small_changes() {
    if (T_.count <= 4) return;
    const float first = sagx::change_between(buf_, T_.at[0], T_.at[1]);
    const float last = sagx::change_between(buf_, T_.at[T_.count - 1], T_.at[T_.count - 2]);
    const double least = 0.1 * static_cast<double>(last > first ? last : first);
    for (int i = 0; i < T_.count; i += 2) {
      if (static_cast<double>(sagx::change_between(buf_, T_.at[i], T_.at[i + 1])) < least) T_.remove_pair(i);
    }
  }

  /// Stores the remaining crossings and boundaries. Two remaining crossings get a third boundary where the voltage
  /// recovers; with fewer, the list keeps its removed entries.
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

  /// Returns where the minimum curve rises through the dip threshold after `begin`; -1 if it does not. The search is
  /// limited by the number of positions, not of samples.
  [[nodiscard]] int find_recovery(int begin) const {
    for (int i = std::max(begin, 0); i < change_.positions() && i + 1 < DQ_RECORD_CAPACITY; i++) {
      if (buf_.u[i] <= dipx_.ut && dipx_.ut < buf_.u[i + 1]) return i + 1;
    }
    return -1;
  }

  dq_data& buf_;
  dq_dipx_struct& dipx_;
  sagx::RmsChange change_;
  BoundaryList T_;
};

// --- features --------------------------------------------------------------------------------------------------------

/// Joins transitions less than a cycle apart.
void join_transitions(dq_dipx_struct& dipx) {
  BoundaryList T;
  T.count = dipx.Trms_num;
  std::copy_n(dipx.Trms, T.count, T.at);
  T.join_short_gaps(dipx.smprate);
  std::copy_n(T.at, T.count, dipx.Trms);
  dipx.Trms_num = T.count;
}

/// Measures the lowest RMS of one segment, without its end. `where` is left unchanged if no value is below the start
/// value.
void measure_minima(const dq_data& buf, dq_dipx_struct& dipx, int segment, int& where) {
  constexpr float above_all = 1000000.0F;
  float a = above_all;
  float b = above_all;
  float c = above_all;
  float lowest = above_all;
  const int end = std::min(dipx.Trms[2 * segment + 2], +DQ_RECORD_CAPACITY);
  for (int j = dipx.Trms[2 * segment + 1]; j < end; j++) {
    const float of_three = sagx::smallest_of(buf.rms_ua[j], buf.rms_ub[j], buf.rms_uc[j]);
    if (of_three < lowest) {
      lowest = of_three;
      where = j;
    }
    if (buf.rms_ua[j] < a) a = buf.rms_ua[j];
    if (buf.rms_ub[j] < b) b = buf.rms_ub[j];
    if (buf.rms_uc[j] < c) c = buf.rms_uc[j];
  }
  dipx.ua_rms_min[segment] = a;
  dipx.ub_rms_min[segment] = b;
  dipx.uc_rms_min[segment] = c;
  dipx.u3_rms_min[segment] = lowest;
  dipx.order_min[segment] = where;
  dipx.dipx_rms_type[segment] = sagx::low_phases(a, b, c, dipx.ut).count;
}

}  // namespace

void SVDsegment_multiclass(dq_data* buf, dq_dipx_struct* dipx) {
  platform::in_default_environment([&] {
    if (buf == nullptr || dipx == nullptr) return;
    RmsSegmentation(*buf, *dipx).run();
  });
}

void RMS_segment_feature(dq_data* buf, dq_dipx_struct* dipx) {
  platform::in_default_environment([&] {
    if (buf == nullptr || dipx == nullptr) return;
    clear_segdid_buf(buf);
    SVDsegment_multiclass(buf, dipx);
    join_transitions(*dipx);
    std::puts(sagx::gbk<"有效值分段校验!!!\r">);
    if (seg_check(dipx->Trms, dipx->Trms_num) != 0) return;

    const int segments = (dipx->Trms_num - 1) / 2;
    int where = 0;  // this is not reset, so an empty segment reports the position of the previous one
    for (int s = 0; s < segments; s++) measure_minima(*buf, *dipx, s, where);
    dipx->min_num = dipx->u_min_num = segments;
    sagx::measure_voltage_change(*buf, *dipx, dipx->Trms[0], dipx->Trms[1]);
  });
}
