// Computes one phase's magnitude, angle and phasor at every sample from its waveform, for the feature stages. Products
// with constants are double until they are stored. Results depend on the exact values used here: two values of pi, and
// a truncated 1 / sqrt(3).
#include "sagx/dq_delay.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>

#include "platform/default_environment.h"
#include "platform/sine.h"
#include "sagx/lvbo.h"

namespace {

constexpr double pi = 3.141592653589793;
constexpr double two_pi = 6.283185307179586;
constexpr double third_of_turn = 2.0943951023931953;
constexpr double line_to_phase = 0.57735;    // 1 / sqrt(3), truncated
constexpr double degrees_pi = 3.1415926536;  // pi of the conversion into degrees, truncated

/// Returns the delay in samples that represents a sixth of a cycle.
int delay_of(int samples_per_cycle) {
  return static_cast<int>(samples_per_cycle / 6.0 + 0.5);
}

bool fits(int samples_per_cycle, int n, int element) {
  return samples_per_cycle >= 1 && n >= 1 && n <= DQ_WINDOW_CAPACITY && element >= 1 && element <= DQ_FILTER_ROWS &&
         n <= DQ_FILTER_CAPACITY - element;
}

/// Coefficients that turn a sample of a three-phase set into the dq frame.
struct Rotation {
  float d[3];
  float q[3];
};

Rotation rotation_at(float t, float f) {
  const double angle = static_cast<double>(t) * (static_cast<double>(f) * two_pi);
  const auto scaled = [](float entry) { return static_cast<float>(static_cast<double>(entry) * 0.816496580927726); };
  Rotation rotation;
  int phase = 0;
  for (const double at : {angle, angle - third_of_turn, angle + third_of_turn}) {
    rotation.d[phase] = scaled(static_cast<float>(platform::cosine(at)));
    rotation.q[phase] = scaled(-static_cast<float>(platform::sine(at)));
    phase++;
  }
  return rotation;
}

bool same_bits(float a, float b) {
  return std::bit_cast<std::uint32_t>(a) == std::bit_cast<std::uint32_t>(b);
}

/// The rotations of a window's samples. They depend on time and frequency alone, which are the same for all phases and,
/// counted from a window's first sample, for all windows of a rate, so they are kept until they change.
class Rotations {
 public:
  const Rotation* of(const float* t, int n, float f) {
    if (!same_bits(f, f_)) known_ = 0;
    f_ = f;
    for (int i = 0; i < n; i++) {
      if (i < known_ && same_bits(t[i], t_[i])) continue;
      t_[i] = t[i];
      rotation_[i] = rotation_at(t[i], f);
    }
    known_ = std::max(known_, n);
    return rotation_;
  }

 private:
  int known_ = 0;  // number of entries that are valid for t_ and f_
  float f_ = 0;
  float t_[DQ_WINDOW_CAPACITY];
  Rotation rotation_[DQ_WINDOW_CAPACITY];
};

Rotations rotations;

/// Returns the d and q components of a sample. Each sum begins at zero.
vec_struct rotated(const Rotation& rotation, float a, float b, float c) {
  float d = 0;
  d += a * rotation.d[0];
  d += b * rotation.d[1];
  d += c * rotation.d[2];
  float q = 0;
  q += a * rotation.q[0];
  q += b * rotation.q[1];
  q += c * rotation.q[2];
  return {d, q};
}

/// RMS magnitude, angle and phasor of a sample.
struct Polar {
  float magnitude;
  float degrees;
  vec_struct phasor;
};

Polar polar_of(float d, float q) {
  return {static_cast<float>(line_to_phase * std::sqrt(static_cast<double>(d * d + q * q))),
          static_cast<float>(std::atan2(static_cast<double>(q), static_cast<double>(d)) / degrees_pi * 180.0),
          {static_cast<float>(line_to_phase * static_cast<double>(d)),
           static_cast<float>(line_to_phase * static_cast<double>(q))}};
}

}  // namespace

void dq(float ua, float ub, float uc, float t, float f, float* upd, float* upq) {
  platform::in_default_environment([&] {
    if (upd == nullptr || upq == nullptr) return;
    const vec_struct component = rotated(rotation_at(t, f), ua, ub, uc);
    *upd = component.r;
    *upq = component.x;
  });
}

void dq_delay(float* Va, float* t, int Samplepoint, int n, float f, float* ua, float* angle_ua, vec_struct* vec_u) {
  platform::in_default_environment([&] {
    const int element = Samplepoint / 4 + 1;
    if (dq_data_buf == nullptr || Va == nullptr || t == nullptr || ua == nullptr || angle_ua == nullptr ||
        vec_u == nullptr || !fits(Samplepoint, n, element)) {
      return;
    }
    dq_data& data = *dq_data_buf;
    const int delay = delay_of(Samplepoint);
    const float share = static_cast<float>(delay) / static_cast<float>(Samplepoint);
    const double delay_angle = pi * static_cast<double>(share + share);
    const double cosine = platform::cosine(delay_angle);
    const double sine = platform::sine(delay_angle);
    const Rotation* rotation = rotations.of(t, n, f);
    for (int i = delay; i < n; i++) {
      const auto now = static_cast<double>(Va[i]);
      const auto before = static_cast<double>(Va[i - delay]);
      const auto leading = static_cast<float>(((cosine * now - before) * 0.8660254037844386) / sine + (-0.5) * now);
      const float lagging = -Va[i] - leading;
      const vec_struct component = rotated(rotation[i], Va[i], lagging, leading);
      data.upd1[i] = component.r;
      data.upq1[i] = component.x;
    }
    // The first samples have no delayed partner, so they repeat the first sample that has one.
    std::fill_n(data.upd1, delay, data.upd1[delay]);
    std::fill_n(data.upq1, delay, data.upq1[delay]);

    lvbo(data.upd1, data.upd, n, element);
    lvbo(data.upq1, data.upq, n, element);
    Polar polar{};
    for (int i = 0; i < n; i++) {
      // The filter leaves long constant sections.
      const bool flat = i > 0 && same_bits(data.upd[i], data.upd[i - 1]) && same_bits(data.upq[i], data.upq[i - 1]);
      if (!flat) polar = polar_of(data.upd[i], data.upq[i]);
      ua[i] = polar.magnitude;
      angle_ua[i] = polar.degrees;
      vec_u[i] = polar.phasor;
    }
  });
}
