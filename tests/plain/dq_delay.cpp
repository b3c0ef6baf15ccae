#include "tests/plain/dq_delay.h"

#include <cmath>

namespace plain {

void dq(float ua, float ub, float uc, float t, float f, float* d, float* q) {
  const double theta = static_cast<double>(t) * (static_cast<double>(f) * 6.283185307179586);
  const double turned[3] = {theta, theta - 2.0943951023931953, theta + 2.0943951023931953};
  const float phases[3] = {ua, ub, uc};
  float sum_d = 0;
  float sum_q = 0;
  for (int i = 0; i < 3; i++) {
    float c = static_cast<float>(std::cos(turned[i]));
    float s = static_cast<float>(std::sin(turned[i]));
    s = -s;
    c = static_cast<float>(static_cast<double>(c) * 0.816496580927726);
    s = static_cast<float>(static_cast<double>(s) * 0.816496580927726);
    const float part_d = phases[i] * c;
    const float part_q = phases[i] * s;
    sum_d = sum_d + part_d;
    sum_q = sum_q + part_q;
  }
  *d = sum_d;
  *q = sum_q;
}

void delayed_dq(const float* Va, const float* t, int samples_per_cycle, int n, float f, float* d, float* q) {
  const int delay = static_cast<int>(static_cast<double>(samples_per_cycle) / 6.0 + 0.5);
  const float ang = static_cast<float>(delay) / static_cast<float>(samples_per_cycle);
  const float twice = ang + ang;
  const double theta = 3.141592653589793 * static_cast<double>(twice);
  for (int i = delay; i < n; i++) {
    const float Vo = Va[i - delay];
    const double own = std::cos(theta) * static_cast<double>(Va[i]);
    const double difference = (own - static_cast<double>(Vo)) * 0.8660254037844386;
    const float Vc = static_cast<float>(difference / std::sin(theta) + (-0.5) * static_cast<double>(Va[i]));
    const float Vb = -Va[i] - Vc;
    plain::dq(Va[i], Vb, Vc, t[i], f, &d[i], &q[i]);
  }
  for (int i = 0; i < delay; i++) {
    d[i] = d[delay];
    q[i] = q[delay];
  }
}

}  // namespace plain
