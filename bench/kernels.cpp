// Speed of the kernels, each beside the plain form that it must equal.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <numbers>
#include <random>
#include <vector>

#include "sagx/Vrms.h"
#include "sagx/dipx_lib.h"
#include "sagx/dq_delay.h"
#include "sagx/lvbo.h"
#include "sagx/matlab_svd.h"
#include "sagx/svd_feature.h"
#include "tests/plain/dq_delay.h"
#include "tests/plain/lvbo.h"
#include "tests/plain/median.h"
#include "tests/plain/svd_feature.h"
#include "tests/plain/svdcmp.h"

namespace {

using Values = std::vector<float>;

/// The window record for as long as a benchmark runs.
class WindowRecord {
 public:
  WindowRecord() : before_(dq_data_buf) {
    dq_data_buf = static_cast<dq_data*>(std::calloc(1, sizeof(dq_data)));
    if (dq_data_buf == nullptr) std::abort();
  }
  WindowRecord(const WindowRecord&) = delete;
  WindowRecord& operator=(const WindowRecord&) = delete;
  ~WindowRecord() {
    std::free(dq_data_buf);
    dq_data_buf = before_;
  }

 private:
  dq_data* before_;
};

Values noise(int n) {
  std::mt19937 engine(1);
  Values values(static_cast<std::size_t>(n));
  for (float& value : values) value = static_cast<float>(static_cast<double>(engine()) / 2147483648.0 - 1.0);
  return values;
}

/// What the filter and the median see: a level, a dip between two steps, and a little noise.
Values dip_curve(int n) {
  Values values = noise(n);
  for (std::size_t i = 0; i < values.size(); i++) {
    values[i] = values[i] * 0.1F + (i > values.size() / 3 && i < values.size() / 2 ? 100.0F : 220.0F);
  }
  return values;
}

Values sine(int smp, int n) {
  Values values;
  for (int i = 0; i < n; i++) values.push_back(static_cast<float>(311 * std::sin(2 * std::numbers::pi * i / smp)));
  return values;
}

void items(benchmark::State& state, std::int64_t per_iteration) {
  state.SetItemsProcessed(state.iterations() * per_iteration);
}

// --- singular values -----------------------------------------------------------------------------------------------

template <typename Decompose>
void decomposition(benchmark::State& state, Decompose decompose) {
  const auto order = static_cast<std::size_t>(state.range(0));
  const Values input = noise(static_cast<int>(order * order));
  float a[10][10];
  float v[10][10];
  float w[10];
  float* a_rows[10];
  float* v_rows[10];
  for (int i = 0; i < 10; i++) {
    a_rows[i] = a[i];
    v_rows[i] = v[i];
  }
  for (auto _ : state) {
    for (std::size_t i = 0; i < order; i++) {
      for (std::size_t j = 0; j < order; j++) a[i + 1][j + 1] = input[i * order + j];
    }
    decompose(a_rows, static_cast<int>(order), static_cast<int>(order), w, v_rows);
    benchmark::DoNotOptimize(w);
    benchmark::ClobberMemory();
  }
  items(state, 1);
}
BENCHMARK_CAPTURE(decomposition, library, svdcmp)->Arg(3)->Arg(4)->Arg(6)->Arg(8);
BENCHMARK_CAPTURE(decomposition, plain, plain::svdcmp)->Arg(3)->Arg(4)->Arg(6)->Arg(8);

template <typename Feature>
void feature(benchmark::State& state, Feature form, bool flat) {
  const auto order = static_cast<int>(state.range(0));
  const int n = 1000;
  const Values series = flat ? Values(n, 220.0F) : dip_curve(n);
  for (auto _ : state) {
    for (int end = order * order; end < n; end++) benchmark::DoNotOptimize(form(series.data(), end, order));
  }
  items(state, n - order * order);
}
BENCHMARK_CAPTURE(feature, flat_library, sagx::svd_feature, true)->Arg(3)->Arg(6)->Arg(8);
BENCHMARK_CAPTURE(feature, flat_plain, plain::svd_feature, true)->Arg(3)->Arg(6)->Arg(8);
BENCHMARK_CAPTURE(feature, changing_library, sagx::svd_feature, false)->Arg(3)->Arg(6)->Arg(8);
BENCHMARK_CAPTURE(feature, changing_plain, plain::svd_feature, false)->Arg(3)->Arg(6)->Arg(8);

// --- morphological filter ------------------------------------------------------------------------------------------

void sizes(benchmark::internal::Benchmark* one) {
  one->ArgNames({"n", "win"})->Args({16000, 9})->Args({64000, 33})->Unit(benchmark::kMillisecond);
}

template <typename Filter>
void filter(benchmark::State& state, Filter form) {
  const WindowRecord record;
  const auto n = static_cast<int>(state.range(0));
  Values signal = dip_curve(n);
  Values out(signal.size());
  for (auto _ : state) {
    form(signal.data(), out.data(), n, static_cast<int>(state.range(1)));
    benchmark::DoNotOptimize(out.data());
    benchmark::ClobberMemory();
  }
  items(state, n);
}
void library_erosion(float* signal, float* out, int n, int win) {
  FS(signal, nullptr, out, n, win);
}
void library_dilation(float* signal, float* out, int n, int win) {
  PZ(signal, nullptr, out, n, win);
}
BENCHMARK_CAPTURE(filter, erosion_library, library_erosion)->Apply(sizes);
BENCHMARK_CAPTURE(filter, erosion_plain, plain::FS)->Apply(sizes);
BENCHMARK_CAPTURE(filter, dilation_library, library_dilation)->Apply(sizes);
BENCHMARK_CAPTURE(filter, dilation_plain, plain::PZ)->Apply(sizes);
BENCHMARK_CAPTURE(filter, smoothing_library, lvbo)->Apply(sizes);
BENCHMARK_CAPTURE(filter, smoothing_plain, plain::lvbo)->Apply(sizes);

// --- sliding median ------------------------------------------------------------------------------------------------

void library_sliding_median(const float* series, int n, int len, float* medians) {
  for (int i = 0; i <= n - len; i++) medians[i] = median(const_cast<float*>(series) + i, len);
}

template <typename Form>
void sliding_median(benchmark::State& state, Form form) {
  const auto len = static_cast<int>(state.range(0));
  constexpr int n = 4000;
  const Values series = dip_curve(n);
  Values medians(n);
  for (auto _ : state) {
    form(series.data(), n, len, medians.data());
    benchmark::DoNotOptimize(medians.data());
    benchmark::ClobberMemory();
  }
  items(state, n - len + 1);
}
BENCHMARK_CAPTURE(sliding_median, library, library_sliding_median)->Arg(65)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(sliding_median, plain, plain::sliding_median)->Arg(65)->Unit(benchmark::kMillisecond);

// --- whole curves --------------------------------------------------------------------------------------------------

void sliding_rms(benchmark::State& state) {
  constexpr int n = 64000;
  const auto smp = static_cast<int>(state.range(0));
  Values wave = sine(smp, n);
  Values rms(n);
  for (auto _ : state) {
    Vrms_cal(rms.data(), wave.data(), smp, n);
    benchmark::DoNotOptimize(rms.data());
    benchmark::ClobberMemory();
  }
  items(state, n);
}
BENCHMARK(sliding_rms)->Arg(128)->Unit(benchmark::kMillisecond);

void stability(benchmark::State& state) {
  constexpr int n = 64000;
  const auto record = std::make_unique<dq_dipx_rms>();
  const Values curve = dip_curve(n);
  for (float* rms : {record->rmsa, record->rmsb, record->rmsc}) std::copy(curve.begin(), curve.end(), rms);
  record->smprate = 128;
  record->smp_num = n;
  for (auto _ : state) benchmark::DoNotOptimize(rms_bzc(record.get()));
  items(state, n);
}
BENCHMARK(stability)->Unit(benchmark::kMillisecond);

void delay_transform(benchmark::State& state) {
  const WindowRecord record;
  const auto smp = static_cast<int>(state.range(0));
  const int n = 500 * smp;
  Values wave = sine(smp, n);
  Values t;
  for (int i = 0; i < n; i++) t.push_back(static_cast<float>(i * (0.02 / smp)));
  Values magnitude(wave.size());
  Values angle(wave.size());
  std::vector<vec_struct> phasor(wave.size());
  for (auto _ : state) {
    dq_delay(wave.data(), t.data(), smp, n, 50, magnitude.data(), angle.data(), phasor.data());
    benchmark::DoNotOptimize(phasor.data());
    benchmark::ClobberMemory();
  }
  items(state, n);
}
BENCHMARK(delay_transform)->Arg(32)->Arg(128)->Unit(benchmark::kMillisecond);

/// The rotation of one sample after the other.
template <typename Rotate>
void rotation(benchmark::State& state, Rotate rotate) {
  constexpr int n = 6400;
  const Values wave = sine(128, n);
  float d = 0;
  float q = 0;
  for (auto _ : state) {
    for (int i = 0; i < n; i++) {
      const float value = wave[static_cast<std::size_t>(i)];
      rotate(value, -value / 2, -value / 2, static_cast<float>(i) * 0.00015625F, 50.0F, &d, &q);
      benchmark::DoNotOptimize(d);
      benchmark::DoNotOptimize(q);
    }
  }
  items(state, n);
}
BENCHMARK_CAPTURE(rotation, library, dq)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(rotation, plain, plain::dq)->Unit(benchmark::kMillisecond);

}  // namespace
