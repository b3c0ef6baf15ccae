#include "analysis/embedded/long_dip.h"

#include <algorithm>

#include "analysis/embedded/working_records.h"
#include "analysis/phase_angle.h"
#include "sagx/dq_delay.h"
#include "sagx/dq_segment_feature.h"

namespace analysis::embedded {

LongDip::LongDip(const dq_dipx_struct& result, int window_begin)
    : result_(result),
      window_begin_(window_begin),
      cycle_(result.smprate),
      boundaries_(result.T, result.T + result.T_num) {
  put_shifts_back();
  move_reference_points();
}

void LongDip::put_shifts_back() {
  const int* Trms = result_.Trms;
  const int count = result_.Trms_num;
  if (count == 3) boundaries_[1] -= Trms[1] - Trms[0];
  if (count >= 5 && count % 2 == 1) {
    for (auto boundary = boundaries_.end() - 2; boundary != boundaries_.end(); boundary++) {
      *boundary -= Trms[count - 1] - Trms[count - 2];
    }
  }
}

int LongDip::boundary_in_window(int index) const {
  return boundaries_[static_cast<std::size_t>(index)] - window_begin_;
}

/// The lowest RMS at least a cycle inside the segment; of a shorter one the middle.
int LongDip::reference_point(int segment) const {
  // Within the library's own boundaries too, or it moves the point out.
  const int begin = std::max(boundary_in_window(2 * segment + 1), result_.T[2 * segment + 1] - window_begin_);
  const int end = std::min(boundary_in_window(2 * segment + 2), result_.T[2 * segment + 2] - window_begin_);
  const auto lowest = [&](int i) { return std::min({window().rms_ua[i], window().rms_ub[i], window().rms_uc[i]}); };
  int point = (begin + end) / 2;
  if (end - begin <= 2 * cycle_) return point;
  point = begin + cycle_;
  for (int i = point; i < end - cycle_; i++) {
    if (lowest(i) < lowest(point)) point = i;
  }
  return point;
}

void LongDip::move_reference_points() {
  // In window positions, as the library's stage takes them.
  for (int i = 0; i < result_.Trms_num; i++) result_.Trms[i] -= window_begin_;
  bool moved = false;
  for (int s = 0; s < result_.min_num; s++) {
    const int found = result_.order_min[s] - window_begin_;
    result_.order_min[s] = reference_point(s);
    moved = moved || result_.order_min[s] != found;
  }
  if (moved) dq_segment_feature(&window(), &result_);
}

std::array<double, 3> LongDip::angles_at(int window_position) const {
  // Three cycles: the filter's reach and its start-up lie outside the middle one.
  const int length = 3 * cycle_;
  const int at = std::max(window_position, cycle_ / 2);
  const int begin = std::max(at - length / 2, 0);
  std::vector<float> magnitude(static_cast<std::size_t>(length));
  std::vector<float> angle(magnitude.size());
  std::vector<vec_struct> phasor(magnitude.size());
  std::array<double, 3> angles{};
  std::size_t phase = 0;
  for (float* samples : {window().Va, window().Vb, window().Vc}) {
    dq_delay(samples + begin, window().t + begin, cycle_, length, result_.f, magnitude.data(), angle.data(),
             phasor.data());
    angles[phase++] = static_cast<double>(angle[static_cast<std::size_t>(at - begin)]);
  }
  return angles;
}

std::array<double, 3> LongDip::phase_jump(int segment, const Drift& drift) const {
  std::array<double, 3> jump{};
  for (int s = 0; s <= segment; s++) {
    // A cycle off the transition, but no further than half-way through a segment.
    const auto inside = [&](int begin, int end) { return std::min(cycle_, (end - begin) / 2); };
    const int fall = boundary_in_window(2 * s);
    const int hold = boundary_in_window(2 * s + 1);
    const int next = boundary_in_window(2 * s + 2);
    const int from = fall - (s == 0 ? cycle_ : inside(boundary_in_window(2 * s - 1), fall));
    const int to = hold + inside(hold, next);
    const auto before = angles_at(from);
    const auto after = angles_at(to);
    for (std::size_t phase = 0; phase < 3; phase++) {
      jump[phase] = within_half_a_turn(jump[phase] + after[phase] - before[phase] - drift(from, to));
    }
  }
  return jump;
}

double LongDip::point_on_wave_correction() const {
  return 360.0 * std::max(result_.Trms[0] - cycle_ / 2, 0) / cycle_;
}

}  // namespace analysis::embedded
