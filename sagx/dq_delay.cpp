// From one phase's waveform to its magnitude, angle and phasor at every sample, for the feature stages.
// Products with constants are double until stored; the two values of pi and the cut 1 / sqrt(3) are what results rest
// on.
#include "sagx/dq_delay.h"

#include <algorithm>
#include <cmath>

#include "sagx/lvbo.h"

namespace {

constexpr double pi = 3.141592653589793;
constexpr double two_pi = 6.283185307179586;
constexpr double third_of_turn = 2.0943951023931953;
constexpr double line_to_phase = 0.57735;    // 1 / sqrt(3), cut
constexpr double degrees_pi = 3.1415926536;  // pi of the conversion into degrees, cut

/// The delay that stands for a sixth of a cycle, in samples.
int delay_of(int samples_per_cycle) {
  return static_cast<int>(samples_per_cycle / 6.0 + 0.5);
}

bool fits(int samples_per_cycle, int n, int element) {
  return samples_per_cycle >= 1 && n >= 1 && n <= DQ_WINDOW_CAPACITY && element >= 1 && element <= DQ_FILTER_ROWS &&
         n <= DQ_FILTER_CAPACITY - element;
}

}  // namespace

void dq(float ua, float ub, float uc, float t, float f, float* upd, float* upq) {
  if (upd == nullptr || upq == nullptr) return;
  const double angle = static_cast<double>(t) * (static_cast<double>(f) * two_pi);
  const auto scaled = [](float entry) { return static_cast<float>(static_cast<double>(entry) * 0.816496580927726); };
  const auto c = [&](double at) { return scaled(static_cast<float>(std::cos(at))); };
  const auto s = [&](double at) { return scaled(-static_cast<float>(std::sin(at))); };
  float d = 0;
  d += ua * c(angle);
  d += ub * c(angle - third_of_turn);
  d += uc * c(angle + third_of_turn);
  float q = 0;
  q += ua * s(angle);
  q += ub * s(angle - third_of_turn);
  q += uc * s(angle + third_of_turn);
  *upd = d;
  *upq = q;
}

void dq_delay(float* Va, float* t, int Samplepoint, int n, float f, float* ua, float* angle_ua, vec_struct* vec_u) {
  const int element = Samplepoint / 4 + 1;
  if (dq_data_buf == nullptr || Va == nullptr || t == nullptr || ua == nullptr || angle_ua == nullptr ||
      vec_u == nullptr || !fits(Samplepoint, n, element)) {
    return;
  }
  dq_data& data = *dq_data_buf;
  const int delay = delay_of(Samplepoint);
  const float share = static_cast<float>(delay) / static_cast<float>(Samplepoint);
  const double delay_angle = pi * static_cast<double>(share + share);
  const double cosine = std::cos(delay_angle);
  const double sine = std::sin(delay_angle);
  for (int i = delay; i < n; i++) {
    const auto now = static_cast<double>(Va[i]);
    const auto before = static_cast<double>(Va[i - delay]);
    const auto leading = static_cast<float>(((cosine * now - before) * 0.8660254037844386) / sine + (-0.5) * now);
    const float lagging = -Va[i] - leading;
    dq(Va[i], lagging, leading, t[i], f, &data.upd1[i], &data.upq1[i]);
  }
  // Without a delayed partner the first samples repeat the first that has one.
  std::fill_n(data.upd1, delay, data.upd1[delay]);
  std::fill_n(data.upq1, delay, data.upq1[delay]);

  lvbo(data.upd1, data.upd, n, element);
  lvbo(data.upq1, data.upq, n, element);
  for (int i = 0; i < n; i++) {
    const float d = data.upd[i];
    const float q = data.upq[i];
    ua[i] = static_cast<float>(line_to_phase * std::sqrt(static_cast<double>(d * d + q * q)));
    angle_ua[i] = static_cast<float>(std::atan2(static_cast<double>(q), static_cast<double>(d)) / degrees_pi * 180.0);
    vec_u[i].r = static_cast<float>(line_to_phase * static_cast<double>(d));
    vec_u[i].x = static_cast<float>(line_to_phase * static_cast<double>(q));
  }
}
