// Measures of the record as a whole, for the driver: the nominal voltage on which every threshold rests, and whether
// the RMS is steady enough for a dip to be measured against it. Sums are float, roots double.
#include "sagx/dipx_lib.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

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
