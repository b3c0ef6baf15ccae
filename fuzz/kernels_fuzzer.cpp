// Compares every form of a kernel that this machine can run with its plain form, to the last bit.
#include "fuzz/bytes.h"
#include "sagx/dq_dipx.h"
#include "sagx/kernels/kernels.h"
#include "tests/plain/median.h"
#include "tests/plain/rms.h"
#include "tests/plain/sliding_extremes.h"
#include "tests/plain/svd_feature.h"

namespace {

using fuzz::Bytes;
using Values = std::vector<float>;

constexpr int most_results = 150;

/// `plain(results)` and `fast(kernels, results)` write the same number of results.
template <typename Plain, typename Fast>
void compare(int results, Plain plain, Fast fast) {
  constexpr float untouched = -77;
  Values expected(static_cast<std::size_t>(results), untouched);
  plain(expected.data());
  for (int i = 0; sagx::runnable_kernels(i) != nullptr; i++) {
    Values own(expected.size(), untouched);
    fast(*sagx::runnable_kernels(i), own.data());
    fuzz::expect(fuzz::same_bits(own.data(), expected.data(), own.size()));
  }
}

void compare_features(Bytes& bytes) {
  const int order = 1 + bytes.below(9);
  const int step = 1 + bytes.below(16);
  const int features = 1 + bytes.below(most_results);
  const int samples = order * order + (features - 1) * step + 1;
  const Values series = bytes.series(samples);
  compare(
      features,
      [&](float* results) {
        for (int i = 0; i < features; i++)
          results[i] = plain::svd_feature(series.data(), order * order + i * step, order);
      },
      [&](const sagx::Kernels& kernels, float* results) {
        kernels.svd_features(series.data(), samples, step, order, results);
      });
}

void compare_medians(Bytes& bytes) {
  const int length = bytes.below(8) == 0 ? bytes.between(1, 1024) : 1 + bytes.below(66);
  const int medians = 1 + bytes.below(most_results);
  const Values series = bytes.series(medians + length - 1);
  compare(
      medians, [&](float* results) { plain::sliding_median(series.data(), medians + length - 1, length, results); },
      [&](const sagx::Kernels& kernels, float* results) {
        kernels.sliding_median(series.data(), medians, length, results);
      });
}

void compare_extremes(Bytes& bytes) {
  const int width = 1 + bytes.below(DQ_FILTER_ROWS);
  const int windows = bytes.between(1, 4 * most_results);
  const Values series = bytes.series(windows + width - 1);
  compare(
      windows, [&](float* results) { plain::sliding_minimum(series.data(), windows, width, results); },
      [&](const sagx::Kernels& kernels, float* results) {
        kernels.sliding_minimum(series.data(), windows, width, results);
      });
  compare(
      windows, [&](float* results) { plain::sliding_maximum(series.data(), windows, width, results); },
      [&](const sagx::Kernels& kernels, float* results) {
        kernels.sliding_maximum(series.data(), windows, width, results);
      });
}

void compare_rms(Bytes& bytes) {
  const int cycle = 1 + bytes.below(130);
  const int samples = bytes.between(0, 5000);
  const Values series = bytes.series(samples);
  compare(
      samples, [&](float* results) { plain::cycle_rms(series.data(), samples, cycle, results); },
      [&](const sagx::Kernels& kernels, float* results) { kernels.cycle_rms(series.data(), samples, cycle, results); });
}

void compare_restless_blocks(Bytes& bytes) {
  const int length = 1 + bytes.below(100);
  const int blocks = bytes.below(60);
  const Values series = bytes.series(length * blocks);
  const int expected = plain::restless_blocks(series.data(), length, blocks);
  for (int i = 0; sagx::runnable_kernels(i) != nullptr; i++) {
    fuzz::expect(sagx::runnable_kernels(i)->restless_blocks(series.data(), length, blocks) == expected);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Bytes bytes(data, size);
  constexpr void (*comparisons[])(Bytes&) = {compare_features, compare_medians, compare_extremes, compare_rms,
                                             compare_restless_blocks};
  comparisons[bytes.below(5)](bytes);
  return 0;
}
