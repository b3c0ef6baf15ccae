// Measures of the record as a whole, for the driver: the nominal voltage on which every threshold rests, and whether
// the RMS is steady enough for a dip to be measured against it. Sums are float, roots double.
#include "sagx/dipx_lib.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "sagx/boundary_list.h"
#include "sagx/dip_category.h"

namespace {

/// Sum of the RMS values of the first two cycles, stored as float after each.
float two_cycle_rms_sum(const float* samples, int smp) {
  float total = 0;
  for (int cycle = 0; cycle < 2; cycle++) {
    const float* sample = samples + static_cast<std::ptrdiff_t>(cycle) * smp;
    float sum = 0;
    for (int j = 0; j < smp; j++) sum += sample[j] * sample[j];
    total = static_cast<float>(total + std::sqrt(static_cast<double>(sum / static_cast<float>(smp))));
  }
  return total;
}

/// Population standard deviation of `count` RMS values.
float standard_deviation(const float* values, int count) {
  const auto divisor = static_cast<float>(count);
  float sum = 0;
  for (int j = 0; j < count; j++) sum += values[j];
  const float mean = sum / divisor;
  float squares = 0;
  for (int j = 0; j < count; j++) squares += (values[j] - mean) * (values[j] - mean);
  return static_cast<float>(std::sqrt(static_cast<double>(squares / divisor)));
}

/// Share of the first `blocks` half-cycles of an RMS curve that fluctuate.
float restless_share(const float* rms, int half, int blocks) {
  int restless = 0;
  for (int i = 0; i < blocks; i++) {
    if (standard_deviation(rms + static_cast<std::ptrdiff_t>(i) * half, half) > 0.5) restless++;
  }
  return static_cast<float>(restless) / static_cast<float>(blocks);
}

}  // namespace

int dipx_cal_un(const float* ua, const float* ub, const float* uc, int smp, int n, float* un) {
  if (ua == nullptr || ub == nullptr || uc == nullptr || un == nullptr) {
    std::fprintf(stderr, "[dipx_cal_un][FATAL] null ptr ua=%p ub=%p uc=%p un=%p\n", static_cast<const void*>(ua),
                 static_cast<const void*>(ub), static_cast<const void*>(uc), static_cast<const void*>(un));
    return -1;
  }
  if (smp < 1 || n < 2LL * smp) {
    std::fprintf(stderr, "[dipx_cal_un][FATAL] bad sizes smp=%d n=%d (need n>=2*smp)\n", smp, n);
    return -1;
  }
  std::printf("[dipx_cal_un] ua0=%.6f ub0=%.6f uc0=%.6f | ua[%d]=%.6f\n", static_cast<double>(ua[0]),
              static_cast<double>(ub[0]), static_cast<double>(uc[0]), smp - 1, static_cast<double>(ua[smp - 1]));

  float lowest = two_cycle_rms_sum(ua, smp);
  for (const float* phase : {ub, uc}) {
    const float sum = two_cycle_rms_sum(phase, smp);
    if (sum < lowest) lowest = sum;
  }
  *un = static_cast<float>(lowest / 2.0);
  return 0;
}

float rms_bzc(dq_dipx_rms* buf) {
  if (buf == nullptr) return 0;
  const int half = buf->smprate / 2;
  if (half < 1) return 0;
  // The last whole half-cycle stays out on purpose, with the partial one that may follow it.
  const int blocks = std::clamp(buf->smp_num, 0, +DQ_RECORD_CAPACITY) / half - 1;
  float largest = restless_share(buf->rmsa, half, blocks);
  for (const float* rms : {buf->rmsb, buf->rmsc}) {
    const float share = restless_share(rms, half, blocks);
    if (share > largest) largest = share;
  }
  return largest;
}

void seq_cal(vec_struct* v_ua, vec_struct* v_ub, vec_struct* v_uc, vec_struct* seq) {
  if (v_ua == nullptr || v_ub == nullptr || v_uc == nullptr || seq == nullptr) return;
  const double ar = v_ua->r;
  const double ax = v_ua->x;
  const double br = v_ub->r;
  const double bx = v_ub->x;
  const double cr = v_uc->r;
  const double cx = v_uc->x;
  seq->r = static_cast<float>((ar + (-0.5 * br - 0.866 * bx) + (0.866 * cx - 0.5 * cr)) * 0.3333333333333333);
  seq->x = static_cast<float>((ax + (0.866 * br - 0.5 * bx) + (-0.866 * cr - 0.5 * cx)) * 0.3333333333333333);
}

void seq0_cal(vec_struct* v_ua, vec_struct* v_ub, vec_struct* v_uc, vec_struct* seq) {
  if (v_ua == nullptr || v_ub == nullptr || v_uc == nullptr || seq == nullptr) return;
  const vec_struct sum = {v_ua->r + v_ub->r + v_uc->r, v_ua->x + v_ub->x + v_uc->x};
  seq->r = sum.r / 3.0F;
  seq->x = sum.x / 3.0F;
}

int symmetrical_components_dq(vec_struct* phasor_up0, vec_struct* phasor_up, vec_struct* phasor_un, float un, float u0,
                              float V, int type, int phase) {
  if (phasor_up0 == nullptr || phasor_up == nullptr || phasor_un == nullptr) return sagx::no_category;
  const sagx::SequenceThresholds thresholds(V);
  const int category = un < thresholds.negative ? sagx::category_by_phases({type, phase})
                                                : sagx::category_by_angle(*phasor_un, *phasor_up0, *phasor_up, type);
  return sagx::with_zero_sequence(category, u0, thresholds.zero);
}

int seg_check(int* T, int num) {
  const int rule = sagx::broken_rule(T, num);
  if (rule == 0) return 0;
  std::printf("seg check err%d\r\n", rule);
  return 1;
}
