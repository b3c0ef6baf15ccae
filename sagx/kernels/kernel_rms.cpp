// Root mean squares of a cycle that moves on sample by sample, and spreads of blocks. Each sum keeps its own order of
// additions; many of them are computed in parallel.
#include "sagx/kernels/kernel_sets.h"
#include "sagx/kernels/lanes.h"

namespace {

/// The number of sums computed at the same time, which is enough to hide the latency of an addition.
constexpr int sums = 8;

/// Computes the RMS of the `sums` neighbouring positions of each of `register_lanes` sections. `newest` points to each
/// section's square at the last of these positions; the squares before it follow at intervals of one register. Each
/// square is loaded once and added to all the sums that it belongs to, from the newest to the oldest.
SAGX_INLINE void neighbouring_cycles(const float* newest, int cycle, Floats* rms) {
  Floats sum[sums];
  for (Floats& one : sum) one = Floats{};
  const auto square = [&](int back) { return loaded(newest - static_cast<long>(back) * register_lanes); };
  // `back` 0 is the first square of the last position; the position p places before it starts p squares later.
  for (int back = 0; back < sums - 1; back++) {
    const Floats value = square(back);
    for (int p = 0; p < sums; p++) sum[p] = p <= back ? sum[p] + value : sum[p];
  }
  for (int back = sums - 1; back < cycle; back++) {
    const Floats value = square(back);
    for (int p = 0; p < sums; p++) sum[p] += value;
  }
  for (int back = cycle; back < cycle + sums - 1; back++) {
    const Floats value = square(back);
    for (int p = 0; p < sums; p++) sum[p] = p > back - cycle ? sum[p] + value : sum[p];
  }
  for (int p = 0; p < sums; p++) rms[-p] = square_root(sum[p] / (Floats{} + static_cast<float>(cycle)));
}

constexpr int stretch = 256;  // number of positions per lane
constexpr int positions_at_once = stretch * register_lanes;
constexpr int longest_cycle = 256;
static_assert(stretch % sums == 0);

/// Computes the RMS of `positions_at_once` neighbouring cycles, the first of which ends at `last`. Each lane handles a
/// section of them, so all lanes advance by one sample together.
void many_cycles(const float* last, int cycle, float* rms) {
  float squares[(longest_cycle - 1 + stretch) * register_lanes];
  const float* oldest = last - (cycle - 1);
  for (int i = 0; i < cycle - 1 + stretch; i++) {
    for (int lane = 0; lane < register_lanes; lane++) {
      const float value = oldest[lane * stretch + i];
      squares[i * register_lanes + lane] = value * value;
    }
  }
  for (int i = 0; i < stretch; i += sums) {
    const int newest = cycle - 1 + i + sums - 1;
    Floats values[sums];
    neighbouring_cycles(squares + newest * register_lanes, cycle, values + sums - 1);
    for (int p = 0; p < sums; p++) {
      for (int lane = 0; lane < register_lanes; lane++) rms[lane * stretch + i + p] = values[p][lane];
    }
  }
}

float one_cycle(const float* last, int cycle) {
  float sum = 0;
  for (int j = 0; j < cycle; j++) sum += last[-j] * last[-j];
  return __builtin_sqrtf(sum / static_cast<float>(cycle));
}

/// Returns how many of `blocks` neighbouring blocks, at most `at_once`, fluctuate.
constexpr int at_once = 16;
int restless_among(const float* values, int length, int blocks) {
  const auto divisor = static_cast<float>(length);
  float mean[at_once] = {};
  for (int j = 0; j < length; j++) {
    for (int b = 0; b < blocks; b++) mean[b] += values[b * length + j];
  }
  for (int b = 0; b < blocks; b++) mean[b] = mean[b] / divisor;
  float squares[at_once] = {};
  for (int j = 0; j < length; j++) {
    for (int b = 0; b < blocks; b++) {
      const float off = values[b * length + j] - mean[b];
      squares[b] += off * off;
    }
  }
  int restless = 0;
  for (int b = 0; b < blocks; b++) restless += __builtin_sqrtf(squares[b] / divisor) > 0.5F ? 1 : 0;
  return restless;
}

}  // namespace

void sagx::SAGX_SET::cycle_rms(const float* samples, int count, int cycle, float* rms) {
  const int first = cycle - 1;
  int i = first;
  if (cycle >= sums && cycle <= longest_cycle && count - first >= positions_at_once) {
    for (; i + positions_at_once <= count; i += positions_at_once) many_cycles(samples + i, cycle, rms + i);
    // This covers the rest and repeats some positions that are already done.
    i = count - positions_at_once;
    many_cycles(samples + i, cycle, rms + i);
    return;
  }
  for (; i < count; i++) rms[i] = one_cycle(samples + i, cycle);
}

int sagx::SAGX_SET::restless_blocks(const float* values, int length, int blocks) {
  int restless = 0;
  int done = 0;
  // A count that the compiler knows keeps all the sums in registers.
  for (; done + at_once <= blocks; done += at_once) {
    restless += restless_among(values + static_cast<long>(done) * length, length, at_once);
  }
  return restless + restless_among(values + static_cast<long>(done) * length, length, blocks - done);
}
