// Computes the RMS curves and dip boundaries of the whole record from its three phase waveforms, for the driver. Every
// RMS value sums its whole cycle again, because a running sum would drift with the record's length and give different
// bits.
#include "sagx/Vrms.h"

#include <algorithm>
#include <cstdio>

#include "platform/default_environment.h"
#include "sagx/dipx_outcome.h"
#include "sagx/kernels/kernels.h"
#include "sagx/three_phases.h"

namespace {

float lowest_phase(const dq_dipx_rms& record, int i) {
  return sagx::smallest_of(record.rmsa[i], record.rmsb[i], record.rmsc[i]);
}

/// Returns the largest value, at least 0. The order of the comparisons does not affect the result.
float largest(const float* values, int count) {
  constexpr int at_once = 16;
  float max[at_once] = {};
  int i = 0;
  for (; i + at_once <= count; i += at_once) {
    for (int j = 0; j < at_once; j++) max[j] = values[i + j] > max[j] ? values[i + j] : max[j];
  }
  for (; i < count; i++) max[0] = values[i] > max[0] ? values[i] : max[0];
  return *std::max_element(max, max + at_once);
}

/// Returns how many of the `count` samples from `begin` on are below the threshold.
int samples_below(const dq_dipx_rms& record, int begin, int count) {
  int below = 0;
  for (int i = begin; i < begin + count; i++) below += lowest_phase(record, i) < record.ut ? 1 : 0;
  return below;
}

/// Fills `record.T0` with the samples at which the lowest phase crosses the threshold, and returns their number.
int find_crossings(dq_dipx_rms& record, int samples) {
  if (samples < 1) return 0;
  constexpr int block = 256;
  int crossings = 0;
  float previous = lowest_phase(record, 0);
  for (int i = 1; i < samples && crossings < DQ_BOUNDARY_CAPACITY;) {
    // A block whose samples are all on the same side as the sample before it has no crossing.
    const int below = i + block <= samples ? samples_below(record, i, block) : -1;
    if (below == (previous < record.ut ? block : 0)) {
      i += block;
      previous = lowest_phase(record, i - 1);
      continue;
    }
    const int end = std::min(i + block, samples);
    for (; i < end && crossings < DQ_BOUNDARY_CAPACITY; i++) {
      const float current = lowest_phase(record, i);
      const bool fall = current < record.ut && previous >= record.ut;
      const bool rise = current >= record.ut && previous < record.ut;
      if (fall || rise) record.T0[crossings++] = i;
      previous = current;
    }
  }
  return crossings;
}

/// Replaces by 0 each recovery that another fall follows within joining_cycles, together with that fall; no crossing
/// can be at sample 0. The pairs are checked as the search found them, so a chain of short gaps joins a chain of dips.
void merge_close_dips(dq_dipx_rms& record, int crossings) {
  if (crossings <= 2) return;
  const long long closest = static_cast<long long>(sagx::joining_cycles) * record.smprate;
  for (int i = 1; i < crossings - 1; i += 2) {
    if (record.T0[i + 1] - record.T0[i] < closest) record.T0[i] = record.T0[i + 1] = 0;
  }
}

}  // namespace

void Vrms_cal(float* rms, float* v, int smp, int len) {
  platform::in_default_environment([&] {
    if (rms == nullptr || v == nullptr || smp < 1) return;
    if (len >= smp) sagx::kernels().cycle_rms(v, len, smp, rms);
    std::fill_n(rms, smp - 1, rms[smp - 1]);
  });
}

void rms_seg_pro(dq_dipx_rms* buf) {
  platform::in_default_environment([&] {
    if (buf == nullptr) return;
    std::printf("smprate = %d smp_num = %d\r\n", buf->smprate, buf->smp_num);

    const int samples = std::min(buf->smp_num, +DQ_RECORD_CAPACITY);
    const int cycle = std::min(buf->smprate, +DQ_RECORD_CAPACITY);
    Vrms_cal(buf->rmsa, buf->va, cycle, samples);
    Vrms_cal(buf->rmsb, buf->vb, cycle, samples);
    Vrms_cal(buf->rmsc, buf->vc, cycle, samples);

    buf->ua_max = largest(buf->rmsa, samples);
    buf->ub_max = largest(buf->rmsb, samples);
    buf->uc_max = largest(buf->rmsc, samples);

    const int crossings = find_crossings(*buf, samples);
    merge_close_dips(*buf, crossings);
    const int* end = std::copy_if(buf->T0, buf->T0 + crossings, buf->T, [](int position) { return position != 0; });
    buf->evt_num = static_cast<int>(end - buf->T);
  });
}
