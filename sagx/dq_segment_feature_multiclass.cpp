// Short windows: finds the dip's segments by the SVD feature of the smoothed dq magnitudes, and measures each segment.
// For the driver. All positions are window positions, with one exception that is kept on purpose: if the segmentation
// is missing or starts late, the whole record's first two boundaries are used as window positions.
#include "sagx/dq_segment_feature_multiclass.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iterator>

#include "platform/default_environment.h"
#include "sagx/SVD_cal.h"
#include "sagx/boundary_list.h"
#include "sagx/dip_category.h"
#include "sagx/dipx_lib.h"
#include "sagx/dq_change.h"
#include "sagx/dq_delay.h"
#include "sagx/dqdelay_POW.h"
#include "sagx/rms_change.h"
#include "sagx/segment_features.h"
#include "sagx/svd_feature.h"
#include "sagx/three_phases.h"
#include "sagx/wrapping.h"

namespace {

using sagx::BoundaryList;
using sagx::change_between;
using sagx::magnitude;
using sagx::Sequences;
using sagx::store_jump;
using sagx::wrapping_difference;
using sagx::wrapping_sum;

// --- segmentation ----------------------------------------------------------------------------------------------------

/// Segments one window into `dipx`.
class ShortSegmentation {
 public:
  ShortSegmentation(dq_data& buf, dq_dipx_struct& dipx)
      : buf_(buf), dipx_(dipx), samples_(static_cast<int>(std::min(buf.num, unsigned{DQ_WINDOW_CAPACITY}))) {}

  void run() {
    sagx::measure_dq_change(buf_, samples_, sagx::svd_order(buf_.smp / 4.0));
    SVD_datapro(&buf_, &dipx_);
    threshold_ = first_threshold();
    std::printf("S=%.3f\r\n", static_cast<double>(threshold_));
    search_crossings();
    T_.join_short_gaps(static_cast<int>(buf_.smp / 4.0 + 0.5));  // a quarter cycle
    prune_leading_runs_without_dip();
    prune_small_changes();
    T_.compact();
    store();
    find_dip();
  }

 private:
  /// Returns the smallest difference that counts as a change: a tenth of the dip's depth.
  [[nodiscard]] double least_change() const { return static_cast<double>(dipx_.ud) * 0.1; }

  /// Divides the features' range into tenths and returns the lower edge of the tenth from which up at least 5 % of the
  /// samples lie, but never less than the smallest change that counts.
  [[nodiscard]] float first_threshold() const {
    int tenth = 0;
    float share = 0;
    for (int i = 9; i >= 0; i--) {
      share += feasvd_buf.feasvd_ten_f[i];
      if (share >= 5.0) {
        tenth = i;
        break;
      }
    }
    auto threshold = static_cast<float>(least_change());
    if (tenth != 0) threshold = static_cast<float>(tenth) * feasvd_buf.feasvd_max / 10.0F;
    return static_cast<double>(threshold) < least_change() ? static_cast<float>(least_change()) : threshold;
  }

  /// Raises the threshold until the number of crossings fits into the result.
  void search_crossings() {
    constexpr int most_tries = 25;
    int run = 0;  // carried over from one try to the next
    for (int attempt = 0; attempt < most_tries; attempt++) {
      scan(run);
      if (T_.count <= DQ_LIST_CAPACITY) return;
      threshold_ = static_cast<float>(static_cast<double>(threshold_) + 0.2 * static_cast<double>(threshold_));
    }
  }

  /// Records alternating rises and falls of the feature that last for seven samples; each is placed two samples
  /// earlier. `run` counts the crossing sample twice, so eight means seven.
  void scan(int& run) {
    bool above = false;
    T_.count = 0;
    float previous = sagx::largest_feature(buf_, 0);
    for (int i = 1; i < samples_ && T_.count < sagx::working_list_capacity; i++) {
      const float current = sagx::largest_feature(buf_, i);
      const bool beyond = above ? current < threshold_ : current >= threshold_;
      const bool before = above ? previous >= threshold_ : previous < threshold_;
      if (beyond && before) run++;
      run = run != 0 && beyond ? run + 1 : 0;
      if (run > 7) {
        T_.at[T_.count++] = i - 8;
        above = !above;
        run = 0;
      }
      previous = current;
    }
    if (above && T_.count != 0) {
      T_.count--;
      T_.at[T_.count] = 0;
    }
  }

  /// Removes the runs before the first one that falls below the dip threshold, as long as more than four boundaries
  /// remain.
  void prune_leading_runs_without_dip() {
    if (T_.count <= 4) return;
    int budget = T_.count;
    for (int i = 0; i < T_.count - 1; i += 2) {
      if (lowest_in_run(T_.at[i], T_.at[i + 1]) != dipx_.ut) break;
      T_.remove_pair(i);
      budget -= 2;
      if (budget <= 4) break;
    }
    T_.compact();
  }

  /// Returns the lowest smoothed magnitude of a run, at most the dip threshold.
  [[nodiscard]] float lowest_in_run(int begin, int end) const {
    float lowest = dipx_.ut;
    for (int j = std::max(begin, 0); j < std::min(end, +DQ_WINDOW_CAPACITY); j++) {
      const float magnitude = sagx::smallest_of(buf_.ua[j], buf_.ub[j], buf_.uc[j]);
      if (magnitude < lowest) lowest = magnitude;
    }
    return lowest;
  }

  /// Removes runs over which the voltage changes by less than a tenth of the larger of the first and the last run's
  /// change.
  void prune_small_changes() {
    if (T_.count <= 4) return;
    const float first = change_between(buf_, T_.at[0], T_.at[1]);
    const float last = change_between(buf_, T_.at[T_.count - 1], T_.at[T_.count - 2]);
    const float larger = last <= first ? first : last;
    for (int i = 2; i < T_.count - 2; i += 2) {
      const float change = change_between(buf_, T_.at[i], T_.at[i + 1]);
      if (static_cast<double>(change) < static_cast<double>(larger) * 0.1) T_.remove_pair(i);
    }
  }

  /// Stores crossings and boundaries. Two crossings get a third boundary where the voltage recovers; if it does not
  /// recover, that boundary keeps the list's earlier content.
  void store() {
    int crossings = T_.count;
    if (crossings == 2) {
      const int recovery = find_recovery(T_.at[1]);
      if (recovery >= 0) T_.at[2] = recovery;
    }
    int boundaries = crossings == 2 ? 3 : crossings;
    crossings = std::min(crossings, +DQ_LIST_CAPACITY);
    boundaries = std::min(boundaries, +DQ_LIST_CAPACITY);
    dipx_.seg_num = boundaries;
    std::copy_n(T_.at, boundaries, dipx_.seg_idx);
    std::copy_n(T_.at, crossings, dipx_.seg_tmp);
  }

  /// Returns the first sample from `begin` on after which the minimum curve exceeds the dip threshold by more than 2 %
  /// of nominal; -1 if there is none.
  [[nodiscard]] int find_recovery(int begin) const {
    const double level = static_cast<double>(dipx_.un) * 0.02 + static_cast<double>(dipx_.ut);
    for (int i = std::max(begin, 0); i < samples_; i++) {
      if (static_cast<double>(buf_.u[i]) <= level && level < static_cast<double>(sagx::minimum_at(buf_, i + 1)))
        return i;
    }
    return -1;
  }

  /// Finds the first fall of the minimum curve through the dip threshold and its last rise; both are 0 unless they are
  /// in this order.
  void find_dip() {
    const float* u = buf_.u;
    int fall = 0;
    for (int i = 1; i < samples_ && fall == 0; i++) {
      if (u[i] <= dipx_.ut && dipx_.ut < u[i - 1]) fall = i;
    }
    int rise = 0;
    for (int i = samples_ - 1; i >= 1 && rise == 0; i--) {
      if (u[i] > dipx_.ut && u[i - 1] <= dipx_.ut) rise = i;
    }
    const bool complete = fall != 0 && rise != 0 && rise >= fall;
    dipx_.D[0] = complete ? fall : 0;
    dipx_.D[1] = complete ? rise : 0;
  }

  dq_data& buf_;
  dq_dipx_struct& dipx_;
  int samples_;
  float threshold_ = 0;
  BoundaryList T_;
};

/// Moves the end of each transition to the last sample at which phase A changes, for the alternative segmentation.
/// Looking only at that phase is on purpose.
void sharpen_ends(const dq_data& buf, float depth, BoundaryList& T) {
  const double least = 0.01 * static_cast<double>(depth);
  const BoundaryList found = T;
  for (int j = 1; j < T.count; j += 2) {
    for (int i = found.at[j]; i > found.at[j - 1]; i--) {
      if (static_cast<double>(std::fabs(buf.rms_ua[i] - buf.rms_ua[i - 1])) > least) {
        T.at[j] = i;
        break;
      }
    }
  }
}

// --- features --------------------------------------------------------------------------------------------------------

/// Replaces the filter's start-up and run-out by the values a quarter cycle further in.
void correct_ends(float (&values)[DQ_WINDOW_CAPACITY], int samples, int quarter) {
  std::fill_n(values, quarter, values[quarter]);
  for (int i = std::max(samples - quarter - 1, quarter); i < samples; i++) values[i] = values[i - quarter];
}

void transform_phases(dq_data& data, const dq_dipx_struct& dipx, int samples, int quarter) {
  const int rate = static_cast<int>(data.smp);
  dq_delay(data.Va, data.t, rate, samples, dipx.f, data.ua, data.angle_a, data.vec_ua);
  dq_delay(data.Vb, data.t, rate, samples, dipx.f, data.ub, data.angle_b, data.vec_ub);
  dq_delay(data.Vc, data.t, rate, samples, dipx.f, data.uc, data.angle_c, data.vec_uc);
  for (auto* values : {&data.ua, &data.ub, &data.uc, &data.angle_a, &data.angle_b, &data.angle_c}) {
    correct_ends(*values, samples, quarter);
  }
}

/// Repairs a missing or late segmentation with the whole record's first fall and recovery. Returns the number of
/// boundaries, which keeps counting even if boundaries are discarded because there are too many.
int repair_segmentation(dq_dipx_struct& dipx, const dq_dipx_rms& record) {
  const int cycle = dipx.smprate;
  const int eighth = cycle / 8;
  const int fall = wrapping_difference(record.T[0], cycle);
  const int recovery = wrapping_difference(record.T[1], cycle);
  const bool lasting = wrapping_difference(recovery, fall) > cycle / 4;
  int(&boundaries)[DQ_LIST_CAPACITY] = dipx.seg_idx;
  if (dipx.seg_num == 2) dipx.seg_num = boundaries[0] = boundaries[1] = 0;
  const auto set_fall = [&] {
    boundaries[0] = wrapping_difference(fall, eighth);
    boundaries[1] = wrapping_sum(fall, eighth);
  };
  const auto set_recovery = [&] {
    boundaries[2] = wrapping_difference(recovery, eighth);
    boundaries[3] = wrapping_sum(recovery, eighth);
  };
  if (dipx.seg_num == 0 && lasting) {
    set_fall();
    set_recovery();
    dipx.seg_num = 4;
  }
  if (dipx.seg_num > 2 && lasting && wrapping_difference(boundaries[0], fall) > cycle) {
    set_fall();
    if (dipx.seg_num == 3) boundaries[2] = recovery;
    if (dipx.seg_num > 3) set_recovery();
    if (dipx.seg_num > 4) {
      std::fill(boundaries + 4, std::end(boundaries), 0);
      dipx.seg_num = 4;
    }
  }
  const int count = dipx.seg_num;
  if (count > 6) {
    dipx.seg_num = 0;
    std::fill_n(boundaries, std::min(count, +DQ_LIST_CAPACITY), 0);
  }
  return count;
}

/// Makes the angles relative to `reference`, including the entry after the window's last sample.
void refer_angles(float (&angles)[DQ_WINDOW_CAPACITY], int samples, float reference) {
  for (int i = 0; i <= samples && i < DQ_WINDOW_CAPACITY; i++) angles[i] -= reference;
}

/// Calls `visit` for each sample up to `last` that is within the window's arrays.
template <typename Visit>
void for_samples(int begin, int last, Visit visit) {
  for (int j = begin; j <= std::min(last, DQ_WINDOW_CAPACITY - 1); j++) visit(j);
}

/// Measures the lowest magnitudes of a segment, including its end.
void measure_minima(const dq_data& data, dq_dipx_struct& dipx, int segment, int begin, int end) {
  constexpr float above_all = 1000000.0F;
  const auto take = [](float value, int position, float& lowest, int& where) {
    if (value < lowest) {
      lowest = value;
      where = position;
    }
  };
  dipx.ua_min[segment] = dipx.ub_min[segment] = dipx.uc_min[segment] = dipx.u3_min[segment] = above_all;
  for_samples(begin, end, [&](int j) {
    take(data.ua[j], j, dipx.ua_min[segment], dipx.pos_ua_min[segment]);
    take(data.ub[j], j, dipx.ub_min[segment], dipx.pos_ub_min[segment]);
    take(data.uc[j], j, dipx.uc_min[segment], dipx.pos_uc_min[segment]);
    take(sagx::smallest_of(data.ua[j], data.ub[j], data.uc[j]), j, dipx.u3_min[segment], dipx.pos_u3_min[segment]);
  });
  dipx.u3_min[segment] = sagx::smallest_of(dipx.ua_min[segment], dipx.ub_min[segment], dipx.uc_min[segment]);
}

/// Returns the largest ratio of negative to positive sequence in a segment without its end, per cent.
float unbalance(dq_data& data, int begin, int end) {
  float largest = 0;
  for_samples(begin, end - 1, [&](int j) {
    const float ratio = sagx::unbalance_ratio(Sequences(data, j));
    if (ratio > largest) largest = ratio;
  });
  return largest;
}

/// Measures the phase jumps of a segment. They are read at the entry after the last minimum, which holds 0 in a cleared
/// result and so means the window's first sample. This is kept on purpose; the command reads the angles at the
/// segment's own minima.
void measure_phase_jumps(const dq_data& data, dq_dipx_struct& dipx, int segment) {
  const auto angle_at = [&](const float* angles, const int(&positions)[DQ_LIST_CAPACITY]) {
    const int entry = dipx.u_min_num;
    const int position = entry < DQ_LIST_CAPACITY ? positions[entry] : 0;
    return angles[position >= 0 && position < DQ_WINDOW_CAPACITY ? position : 0];
  };
  store_jump(angle_at(data.angle_a, dipx.pos_ua_min), dipx.angle_diff_ap[segment], dipx.angle_diff_an[segment]);
  store_jump(angle_at(data.angle_b, dipx.pos_ub_min), dipx.angle_diff_bp[segment], dipx.angle_diff_bn[segment]);
  store_jump(angle_at(data.angle_c, dipx.pos_uc_min), dipx.angle_diff_cp[segment], dipx.angle_diff_cn[segment]);
}

/// Classifies a segment's samples, including its end, and finds the category of most of them. Unlike in
/// symmetrical_components_dq, a sample with all phases low counts as three-phase whatever its negative sequence.
int classify(dq_data& data, dq_dipx_struct& dipx, const vec_struct& positive_before, int begin, int end) {
  const sagx::SequenceThresholds thresholds(dipx.un);
  sagx::CategoryVote vote;
  for_samples(begin, end, [&](int j) {
    const auto low = sagx::low_phases(data.ua[j], data.ub[j], data.uc[j], dipx.ut);
    const Sequences now(data, j);
    dipx.dipx_cata[j] =
        sagx::category_of({positive_before, now.positive, now.negative, magnitude(now.negative), magnitude(now.zero)},
                          low, thresholds, sagx::AllLow::three_phase);
    vote.add(dipx.dipx_cata[j]);
  });
  return vote.winner();
}

void measure_segments(dq_data& data, dq_dipx_struct& dipx, int quarter) {
  const int segments = (dipx.T_num - 1) / 2;
  const auto begin = [&](int segment) { return dipx.T[2 * segment + 1]; };
  const auto end = [&](int segment) { return dipx.T[2 * segment + 2]; };
  for (int s = 0; s < segments; s++) measure_minima(data, dipx, s, begin(s), end(s));
  dipx.u_min_num = segments;
  for (int s = 0; s < segments; s++) {
    const auto low = sagx::low_phases(dipx.ua_min[s], dipx.ub_min[s], dipx.uc_min[s], dipx.ut);
    dipx.dipx_type[s] = low.count;
    dipx.dipx_phase[s] = low.mask;
    dipx.bph_max_value[s] = unbalance(data, begin(s), end(s));
    measure_phase_jumps(data, dipx, s);
  }
  dipx.evt_num = segments;
  const Sequences before(data, quarter);
  for (int s = 0; s < segments; s++) {
    dipx.dipx_cata_seg[s] = classify(data, dipx, before.positive, begin(s), end(s));
  }
  dipx.dipx_cata_num = segments;
}

}  // namespace

void SVDsegment_multiclass3(dq_data* buf, dq_dipx_struct* dipx) {
  platform::in_default_environment([&] {
    if (buf == nullptr || dipx == nullptr) return;
    ShortSegmentation(*buf, *dipx).run();
  });
}

void SVDsegment_multiclass4(dq_data* buf, dq_dipx_struct* dipx) {
  platform::in_default_environment([&] {
    if (buf == nullptr || dipx == nullptr) return;
    sagx::RmsChange change(*buf, 1);
    change.keep_minimum_curve();
    change.measure();
    BoundaryList T;
    change.search(dipx->un, 2, T);
    sharpen_ends(*buf, dipx->ud, T);
    dipx->T_rms_num = std::min(T.count, +DQ_LIST_CAPACITY);
    std::copy_n(T.at, dipx->T_rms_num, dipx->T_rms);
  });
}

void dq_segment_feature_multiclass(dq_data* data, dq_dipx_struct* dipx) {
  platform::in_default_environment([&] {
    if (data == nullptr || dipx == nullptr || dq_data_buf == nullptr || dq_rms_buf == nullptr) return;
    if (data->num > DQ_WINDOW_CAPACITY || data->smp / 2 >= DQ_WINDOW_CAPACITY) return;
    const auto samples = static_cast<int>(data->num);
    const auto cycle = static_cast<int>(data->smp);
    const int quarter = cycle / 4 + 1;

    transform_phases(*data, *dipx, samples, quarter);
    clear_segdid_buf(data);
    SVDsegment_multiclass3(data, dipx);

    const int boundaries = repair_segmentation(*dipx, *dq_rms_buf);
    std::puts("逐点dq分段校验!!!\r");
    if (seg_check(dipx->seg_idx, dipx->seg_num) != 0 || boundaries > DQ_LIST_CAPACITY) return;
    dipx->T_num = dipx->seg_num;
    std::copy_n(dipx->seg_idx, boundaries, dipx->T);
    std::copy_n(dipx->seg_tmp, boundaries, dipx->T0);

    const float reference_a = data->angle_a[cycle / 2];
    const float reference_b = data->angle_b[cycle / 2];
    const float reference_c = data->angle_c[cycle / 2];
    dqdelay_POW(data->ua, data->ub, data->uc, data->angle_a, data->angle_b, data->angle_c, data->t, dipx, dipx->un,
                data->num);
    sagx::measure_voltage_change(*data, *dipx, dipx->T[0], dipx->T[1]);
    refer_angles(data->angle_a, samples, reference_a);
    refer_angles(data->angle_b, samples, reference_b);
    refer_angles(data->angle_c, samples, reference_c);
    measure_segments(*data, *dipx, quarter);
  });
}
