// Compares each kernel, in all forms that this machine can run, with its plain form.
#include "sagx/kernels/kernels.h"

#include <fmt/format.h>

#include <cmath>
#include <cstdlib>
#include <memory>
#include <numbers>
#include <string>

#include "bench/comparison.h"
#include "bench/inputs.h"
#include "bench/measures.h"
#include "sagx/dq_delay.h"
#include "sagx/lvbo.h"
#include "tests/plain/dq_delay.h"
#include "tests/plain/lvbo.h"
#include "tests/plain/median.h"
#include "tests/plain/rms.h"
#include "tests/plain/svd_feature.h"

namespace bench {

namespace {

/// Adds the kernel for each instruction set. `run(kernels, results)` does the work.
template <typename Run>
void add_sets(const std::string& measure, std::int64_t items, Run run) {
  for (int i = 0; sagx::runnable_kernels(i) != nullptr; i++) {
    const sagx::Kernels& kernels = *sagx::runnable_kernels(i);
    add(measure, kernels.instruction_set, items,
        [=, results = Values(static_cast<std::size_t>(items))]() mutable { run(kernels, results.data()); });
  }
}

template <typename Run>
void add_plain(const std::string& measure, std::int64_t items, Run run) {
  add(measure, plain_form, items,
      [=, results = Values(static_cast<std::size_t>(items))]() mutable { run(results.data()); });
}

void add_svd_features(const std::string& what, const Values& series, int order) {
  const std::string measure = fmt::format("SVD feature, {}, order {} (per matrix)", what, order);
  const auto samples = static_cast<int>(series.size());
  const int features = samples - order * order;
  add_plain(measure, features, [=](float* results) {
    for (int end = order * order; end < samples; end++) {
      results[end - order * order] = plain::svd_feature(series.data(), end, order);
    }
  });
  add_sets(measure, features, [=](const sagx::Kernels& kernels, float* results) {
    kernels.svd_features(series.data(), samples, 1, order, results);
  });
}

void add_median(const std::string& what, const Values& series, int length) {
  const std::string measure = fmt::format("sliding median, {}, {} values (per window)", what, length);
  const int windows = static_cast<int>(series.size()) - length + 1;
  add_plain(measure, windows, [=](float* results) {
    plain::sliding_median(series.data(), static_cast<int>(series.size()), length, results);
  });
  add_sets(measure, windows, [=](const sagx::Kernels& kernels, float* results) {
    kernels.sliding_median(series.data(), windows, length, results);
  });
}

void add_filter() {
  constexpr int samples = 64000;
  constexpr int width = 33;
  const std::string measure = "lvbo, 64000 samples, 33 wide (whole)";
  const auto signal = std::make_shared<Values>(raw_magnitudes(samples));
  add(measure, plain_form, 1,
      [=, results = Values(samples)]() mutable { plain::lvbo(signal->data(), results.data(), samples, width); });
  const std::shared_ptr<dq_data> window(static_cast<dq_data*>(std::calloc(1, sizeof(dq_data))), std::free);
  add(measure, sagx::kernels().instruction_set, 1, [=, results = Values(samples)]() mutable {
    dq_data* const before = dq_data_buf;
    dq_data_buf = window.get();
    lvbo(signal->data(), results.data(), samples, width);
    dq_data_buf = before;
  });
}

void add_rms(int cycle) {
  constexpr int samples = 384000;
  const std::string measure = fmt::format("RMS, 384000 samples, {} per cycle (per sample)", cycle);
  Values wave;
  for (int i = 0; i < samples; i++) {
    wave.push_back(static_cast<float>(311.127 * std::sin(2 * std::numbers::pi * i / cycle)));
  }
  add_plain(measure, samples, [=](float* results) { plain::cycle_rms(wave.data(), samples, cycle, results); });
  add_sets(measure, samples, [=](const sagx::Kernels& kernels, float* results) {
    kernels.cycle_rms(wave.data(), samples, cycle, results);
  });
}

void add_stability() {
  constexpr int length = 64;
  constexpr int blocks = 6000;
  const std::string measure = "stability, 64 values per block (per block)";
  const Values curve = raw_magnitudes(length * blocks);
  add_plain(measure, blocks, [=](float* results) {
    *results = static_cast<float>(plain::restless_blocks(curve.data(), length, blocks));
  });
  add_sets(measure, blocks, [=](const sagx::Kernels& kernels, float* results) {
    *results = static_cast<float>(kernels.restless_blocks(curve.data(), length, blocks));
  });
}

}  // namespace

void add_kernels() {
  for (const int order : {4, 6, 8}) {
    add_svd_features("noise", noise(2000), order);
    add_svd_features("smoothed magnitudes of a real dip", smoothed_magnitudes(4000), order);
    add_svd_features("flat", Values(4000, 220.0F), order);
  }
  for (const int length : {33, 65}) {
    add_median("magnitudes of a real dip", raw_magnitudes(4000), length);
    add_median("noise", noise(4000), length);
  }
  add_filter();
  add_rms(128);
  add_stability();
}

}  // namespace bench
