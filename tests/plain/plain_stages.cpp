// Replaces, in the plain library, the stages that keep data from run to run or skip work.
#include <cmath>
#include <cstring>

#include "sagx/clear_results.h"
#include "sagx/dq_delay.h"
#include "sagx/dq_dipx.h"
#include "sagx/lvbo.h"
#include "tests/plain/dq_delay.h"

void sagx::clear_results() {
  std::memset(new_dipx_buf, 0, sizeof new_dipx_buf);
}

void dq(float ua, float ub, float uc, float t, float f, float* upd, float* upq) {
  if (upd == nullptr || upq == nullptr) return;
  plain::dq(ua, ub, uc, t, f, upd, upq);
}

/// Supports windows that the transform accepts: they are longer than the delay and fit into its arrays.
void dq_delay(float* Va, float* t, int Samplepoint, int n, float f, float* ua, float* angle_ua, vec_struct* vec_u) {
  dq_data& data = *dq_data_buf;
  plain::delayed_dq(Va, t, Samplepoint, n, f, data.upd1, data.upq1);
  lvbo(data.upd1, data.upd, n, Samplepoint / 4 + 1);
  lvbo(data.upq1, data.upq, n, Samplepoint / 4 + 1);
  for (int i = 0; i < n; i++) {
    const float d = data.upd[i];
    const float q = data.upq[i];
    ua[i] = static_cast<float>(0.57735 * std::sqrt(static_cast<double>(d * d + q * q)));
    angle_ua[i] = static_cast<float>(std::atan2(static_cast<double>(q), static_cast<double>(d)) / 3.1415926536 * 180.0);
    vec_u[i].r = static_cast<float>(0.57735 * static_cast<double>(d));
    vec_u[i].x = static_cast<float>(0.57735 * static_cast<double>(q));
  }
}
