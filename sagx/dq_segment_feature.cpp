// Long windows: the RMS segmentation serves as a rough guide, and the dq transform examines short sections around each
// of its transitions and six cycles of each segment. For the driver.
//
// Some oddities are kept on purpose, because hosts rely on them: the start transition is never taken from the
// segmentation; with three boundaries the end of the start transition is shifted by its own RMS boundary, and with an
// odd number of five or more the end transition is shifted by the last one; the point on wave is measured with times
// from the window's first sample. The command corrects these in what it reports.
#include "sagx/dq_segment_feature.h"

#include <algorithm>
#include <cmath>

#include "platform/default_environment.h"
#include "sagx/boundary_list.h"
#include "sagx/dip_category.h"
#include "sagx/dipx_lib.h"
#include "sagx/dq_change.h"
#include "sagx/dq_delay.h"
#include "sagx/dqdelay_POW.h"
#include "sagx/segment_features.h"
#include "sagx/svd_feature.h"
#include "sagx/three_phases.h"

namespace {

// --- segmentation ----------------------------------------------------------------------------------------------------

/// Records the positions where the largest of the three features crosses `threshold`, up to the capacity of `T`.
int record_crossings(const dq_data& buf, int samples, float threshold, int (&T)[DQ_LIST_CAPACITY]) {
  int count = 0;
  float previous = sagx::largest_feature(buf, 0);
  for (int i = 1; i < samples && count < DQ_LIST_CAPACITY; i++) {
    const float current = sagx::largest_feature(buf, i);
    if (current >= threshold && previous < threshold) T[count++] = i - 1;
    if (current < threshold && previous >= threshold) T[count++] = i;
    previous = current;
  }
  return count;
}

// --- features --------------------------------------------------------------------------------------------------------

using Position = long long;  // the sum of a host's boundaries can exceed an int

struct Transition {
  Position start = 0;
  Position end = 0;
};

/// The features of one long window.
class LongFeatures {
 public:
  LongFeatures(dq_data& data, dq_dipx_struct& dipx)
      : data_(data), dipx_(dipx), cycle_(static_cast<int>(data.smp)), half_cycle_(cycle_ / 2) {}

  void run() {
    Transition start = start_transition();
    Transition end;
    const int boundaries = dipx_.Trms_num;
    if (boundaries >= 4) end = end_transition(boundaries - 2);
    if (boundaries == 3) end.start = end.end = end_crossing();
    merge(start, end);
    if (seg_check(dipx_.T, dipx_.T_num) != 0) return;
    move_outlying_reference_points();
    for (int s = 0; s < dipx_.min_num && 2 * s + 2 < DQ_LIST_CAPACITY; s++) measure(s);
  }

 private:
  // --- sections ---

  /// Transforms `length` samples of the window from `begin` on, limited to its arrays. Returns the transformed length.
  /// The outputs start at entry 0.
  int transform(Position begin, Position length) {
    const auto from = static_cast<int>(std::clamp<Position>(begin, 0, DQ_RECORD_CAPACITY));
    const auto held = static_cast<int>(std::min<Position>(length, DQ_RECORD_CAPACITY - from));
    dq_delay(data_.Va + from, data_.t + from, cycle_, held, dipx_.f, data_.ua, data_.angle_a, data_.vec_ua);
    dq_delay(data_.Vb + from, data_.t + from, cycle_, held, dipx_.f, data_.ub, data_.angle_b, data_.vec_ub);
    dq_delay(data_.Vc + from, data_.t + from, cycle_, held, dipx_.f, data_.uc, data_.angle_c, data_.vec_uc);
    return held;
  }

  /// Transforms the section from half a cycle before one boundary to half a cycle after another.
  int transform_round(int from, int to) {
    const Position length = 2 * half_cycle_ + (Position{to} - from);
    return transform(Position{from} - half_cycle_, std::min<Position>(length, DQ_WINDOW_CAPACITY));
  }

  /// Replaces the filter's start-up and run-out by the values next to them.
  void pad_edges(int length) {
    const int edge = (cycle_ / 4 + 1) * 3 / 2;
    for (auto* values : {data_.ua, data_.ub, data_.uc, data_.angle_a, data_.angle_b, data_.angle_c}) {
      std::fill_n(values, edge, values[edge]);
      if (length >= edge) std::fill_n(values + (length - edge), edge, values[length - edge]);
    }
  }

  /// Segments the most recently transformed section and leaves its magnitudes smoothed. The first two crossings are its
  /// transition; if there are none, or if both are equal, the RMS boundaries are used instead.
  Transition segment(int length, int from, int to, bool& found) {
    pad_edges(length);
    data_.num = static_cast<unsigned>(length);
    clear_segdid_buf(&data_);
    int crossings[DQ_LIST_CAPACITY] = {};
    int count = 0;
    SVDsegment_multiclass2(&data_, &dipx_, crossings, &count);
    found = count >= 2 && crossings[0] != crossings[1];
    if (found) return {crossings[0], crossings[1]};
    return by_rms(from, to);
  }

  /// Returns the RMS boundaries as a transition of their section.
  [[nodiscard]] Transition by_rms(int from, int to) const { return {half_cycle_, half_cycle_ + (Position{to} - from)}; }

  // --- sharpening ---

  /// Returns whether a phase's magnitude changes by more than 1 % of nominal from the previous sample.
  [[nodiscard]] bool changes_at(Position j) const {
    if (j >= DQ_WINDOW_CAPACITY) return false;
    const float change =
        sagx::largest_of(std::fabs(data_.ua[j] - data_.ua[j - 1]), std::fabs(data_.ub[j] - data_.ub[j - 1]),
                         std::fabs(data_.uc[j] - data_.uc[j - 1]));
    return static_cast<double>(change) > 0.01 * static_cast<double>(dipx_.un);
  }

  /// Returns the sample before the first change in a transition, or its start if nothing changes.
  [[nodiscard]] Position sharpened_start(const Transition& transition) const {
    const Position end = std::min<Position>(transition.end, DQ_WINDOW_CAPACITY);
    for (Position j = std::max<Position>(transition.start, 1); j < end; j++) {
      if (changes_at(j)) return j - 1;
    }
    return transition.start;
  }

  /// Returns the last change in a transition, or its end if nothing changes.
  [[nodiscard]] Position sharpened_end(const Transition& transition) const {
    for (Position j = std::min<Position>(transition.end, DQ_WINDOW_CAPACITY); j > transition.start; j--) {
      if (changes_at(j)) return j;
    }
    return transition.end;
  }

  // --- transitions, in positions of their sections ---

  /// Also measures the quantities that refer to the time before the dip. The segmentation is run only for its
  /// smoothing.
  Transition start_transition() {
    const int from = dipx_.Trms[0];
    const int to = dipx_.Trms[1];
    const int length = transform_round(from, to);
    dqdelay_POW(data_.ua, data_.ub, data_.uc, data_.angle_a, data_.angle_b, data_.angle_c, data_.t, &dipx_, dipx_.un,
                static_cast<unsigned>(length));
    positive_before_ = sagx::Sequences(data_, 0).positive;
    bool found = false;
    segment(length, from, to, found);
    Transition transition = by_rms(from, to);
    transition.end = sharpened_end(transition);
    angle_before_[0] = data_.angle_a[half_cycle_];
    angle_before_[1] = data_.angle_b[half_cycle_];
    angle_before_[2] = data_.angle_c[half_cycle_];
    return transition;
  }

  /// Returns the transition from RMS boundary `index` to the next one, which ends the dip.
  Transition end_transition(int index) {
    bool found = false;
    const int from = dipx_.Trms[index];
    const int to = dipx_.Trms[index + 1];
    Transition transition = segment(transform_round(from, to), from, to, found);
    transition.start = sharpened_start(transition);
    return transition;
  }

  Transition middle_transition(int index) {
    bool found = false;
    const int from = dipx_.Trms[index];
    const int to = dipx_.Trms[index + 1];
    const Transition transition = segment(transform_round(from, to), from, to, found);
    if (!found) return transition;
    return {sharpened_start(transition), sharpened_end(transition)};
  }

  /// Returns where the voltage recovers through the dip threshold in the cycle around the last of three RMS boundaries;
  /// 0 if it does not.
  Position end_crossing() {
    const int length = transform_round(dipx_.Trms[2], dipx_.Trms[2]);
    pad_edges(length);
    for (int i = 0; i < length; i++) data_.u[i] = sagx::smallest_of(data_.ua[i], data_.ub[i], data_.uc[i]);
    for (int i = 1; i < length - 1; i++) {
      if (data_.u[i] < dipx_.ut && data_.u[i + 1] >= dipx_.ut) return i;
    }
    return 0;
  }

  // --- boundaries ---

  /// Writes all transitions as window positions to T.
  void merge(const Transition& start, const Transition& end) {
    const int* Trms = dipx_.Trms;
    int count = 0;
    const auto add = [&](Position in_stretch, int boundary) {
      dipx_.T[count++] = static_cast<int>(in_stretch + boundary - half_cycle_);
    };
    const int boundaries = dipx_.Trms_num;
    add(start.start, Trms[0]);
    add(start.end, boundaries == 3 ? Trms[1] : Trms[0]);
    for (int i = 2; i < boundaries - 2; i += 2) {
      const Transition middle = middle_transition(i);
      add(middle.start, Trms[i]);
      add(middle.end, Trms[i]);
    }
    if (boundaries == 2) {
      // Without an end transition its two entries stay 0, and so the list will be rejected.
      dipx_.T[count++] = 0;
      dipx_.T[count++] = 0;
    } else if (boundaries == 3) {
      add(end.start, Trms[2]);
    } else {
      const int reference = Trms[boundaries % 2 == 0 ? boundaries - 2 : boundaries - 1];
      add(end.start, reference);
      add(end.end, reference);
    }
    dipx_.T_num = count;
  }

  // --- segments ---

  void move_outlying_reference_points() {
    for (int s = 0; s < dipx_.min_num && 2 * s + 2 < DQ_LIST_CAPACITY; s++) {
      int& reference = dipx_.order_min[s];
      const int* opening = dipx_.T + 2 * s;
      if (reference < opening[1] || reference > opening[2]) {
        reference = static_cast<int>(static_cast<double>(Position{opening[0]} + opening[1]) / 2.0 + 0.5);
      }
    }
  }

  /// Measures the features of a segment from six cycles around its reference point.
  void measure(int s) {
    const int reference = dipx_.order_min[s];
    const int at = 3 * cycle_;
    transform(Position{reference} - at, 6 * cycle_);
    dipx_.ua_min[s] = data_.ua[at];
    dipx_.ub_min[s] = data_.ub[at];
    dipx_.uc_min[s] = data_.uc[at];
    dipx_.angle_a_min[s] = data_.angle_a[at];
    dipx_.angle_b_min[s] = data_.angle_b[at];
    dipx_.angle_c_min[s] = data_.angle_c[at];
    dipx_.phasor_ua[s] = data_.vec_ua[at];
    dipx_.phasor_ub[s] = data_.vec_ub[at];
    dipx_.phasor_uc[s] = data_.vec_uc[at];
    dipx_.u3_min[s] = sagx::smallest_of(dipx_.ua_min[s], dipx_.ub_min[s], dipx_.uc_min[s]);
    const auto low = low_at(at);
    dipx_.dipx_type[s] = low.count;
    dipx_.dipx_phase[s] = low.mask;
    dipx_.bph_max_value[s] = sagx::unbalance_ratio(sagx::Sequences(data_, at));
    sagx::store_jump(dipx_.angle_a_min[s] - angle_before_[0], dipx_.angle_diff_ap[s], dipx_.angle_diff_an[s]);
    sagx::store_jump(dipx_.angle_b_min[s] - angle_before_[1], dipx_.angle_diff_bp[s], dipx_.angle_diff_bn[s]);
    sagx::store_jump(dipx_.angle_c_min[s] - angle_before_[2], dipx_.angle_diff_cp[s], dipx_.angle_diff_cn[s]);

    const auto ahead = std::min<Position>(Position{reference} - dipx_.T[2 * s + 1], cycle_);
    const auto behind = std::min<Position>(Position{dipx_.T[2 * s + 2]} - reference, cycle_);
    dipx_.dipx_cata_seg[s] = classify(at - ahead, at + behind);
  }

  [[nodiscard]] sagx::LowPhases low_at(Position k) const {
    return sagx::low_phases(data_.ua[k], data_.ub[k], data_.uc[k], dipx_.ut);
  }

  /// Returns the category of most samples in the range.
  int classify(Position begin, Position end) {
    sagx::CategoryVote vote;
    for (Position k = begin; k < std::min<Position>(end, DQ_WINDOW_CAPACITY); k++) {
      const sagx::Sequences now(data_, static_cast<int>(k));
      vote.add(sagx::category_of(
          {positive_before_, now.positive, now.negative, sagx::magnitude(now.negative), sagx::magnitude(now.zero)},
          low_at(k), sagx::SequenceThresholds(dipx_.un), sagx::AllLow::by_angle));
    }
    return vote.winner();
  }

  dq_data& data_;
  dq_dipx_struct& dipx_;
  int cycle_;
  int half_cycle_;
  vec_struct positive_before_{};
  float angle_before_[3] = {};
};

}  // namespace

void SVDsegment_multiclass2(dq_data* buf, dq_dipx_struct* dipx, int* T0, int* T0num) {
  platform::in_default_environment([&] {
    if (buf == nullptr || dipx == nullptr || T0 == nullptr || T0num == nullptr) return;
    const auto samples = static_cast<int>(std::min(buf->num, unsigned{DQ_WINDOW_CAPACITY}));
    sagx::measure_dq_change(*buf, samples, sagx::svd_order(buf->smp / 2.0));
    int T[DQ_LIST_CAPACITY];
    *T0num = record_crossings(*buf, samples, static_cast<float>(static_cast<double>(dipx->un) * 0.01), T);
    std::copy_n(T, *T0num, T0);
  });
}

void dq_segment_feature(dq_data* data, dq_dipx_struct* dipx) {
  platform::in_default_environment([&] {
    if (data == nullptr || dipx == nullptr || dq_data_buf == nullptr) return;
    if (data->smp > DQ_WINDOW_CAPACITY / 6 || seg_check(dipx->Trms, dipx->Trms_num) != 0) return;
    LongFeatures(*data, *dipx).run();
  });
}
