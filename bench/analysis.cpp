// Speed of whole analyses, from samples to dips.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <numbers>
#include <vector>

#include "dipx_dll.h"
#include "sagx/dq_dipx.h"
#include "sagx/signal_acquisition.h"

namespace {

/// While it lives, nothing that is printed arrives.
class Silence {
 public:
  Silence() {
    std::fflush(nullptr);
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (nowhere < 0) std::abort();
    for (const int descriptor : {STDOUT_FILENO, STDERR_FILENO}) {
      saved_[descriptor] = dup(descriptor);
      if (saved_[descriptor] < 0 || dup2(nowhere, descriptor) < 0) std::abort();
    }
    close(nowhere);
  }
  Silence(const Silence&) = delete;
  Silence& operator=(const Silence&) = delete;
  ~Silence() {
    std::fflush(nullptr);
    for (const int descriptor : {STDOUT_FILENO, STDERR_FILENO}) {
      dup2(saved_[descriptor], descriptor);
      close(saved_[descriptor]);
    }
  }

 private:
  int saved_[3] = {};
};

/// Three phases of 220 V, of which A and B fall to a half between two samples.
std::vector<float> phase(int number, int smp, int samples, int fall, int recovery) {
  std::vector<float> wave;
  for (int i = 0; i < samples; i++) {
    const double angle = 2 * std::numbers::pi * (static_cast<double>(i) / smp - number / 3.0);
    const double level = number < 2 && i >= fall && i < recovery ? 110 : 220;
    wave.push_back(static_cast<float>(level * std::numbers::sqrt2 * std::sin(angle)));
  }
  return wave;
}

void analyse(benchmark::State& state, int smp, int samples, int fall, int recovery) {
  std::vector<float> a = phase(0, smp, samples, fall, recovery);
  std::vector<float> b = phase(1, smp, samples, fall, recovery);
  std::vector<float> c = phase(2, smp, samples, fall, recovery);
  sample_input_number = samples;
  sample_input_smprate = smp;
  psample_input_va = a.data();
  psample_input_vb = b.data();
  psample_input_vc = c.data();
  {
    const Silence silence;
    for (auto _ : state) dq_dipx_new(nullptr);
  }
  if (new_dipx_buf[0].hold_time_dq <= 0) state.SkipWithError("no dip was analysed");
  state.counters["window"] = dq_data_buf == nullptr ? 0 : dq_data_buf->num;
  const Silence silence;
  sagx_free_all();
}

/// Ten seconds with one dip of 0.3 s.
void ten_seconds(benchmark::State& state) {
  analyse(state, 128, 500 * 128, 200 * 128, 215 * 128);
}
BENCHMARK(ten_seconds)->Unit(benchmark::kMillisecond);

/// The longest window that takes the short path: a dip of all but 500 cycles with four on either side.
void long_dip(benchmark::State& state) {
  const auto smp = static_cast<int>(state.range(0));
  analyse(state, smp, 520 * smp, 10 * smp, 501 * smp);
}
BENCHMARK(long_dip)->ArgName("smp")->Arg(32)->Arg(128)->Unit(benchmark::kMillisecond);

}  // namespace
