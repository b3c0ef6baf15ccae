#include "bench/inputs.h"

#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <random>

#include "bench/silence.h"
#include "dipx_dll.h"
#include "readers/open_record.h"
#include "sagx/dq_dipx.h"

namespace bench {

namespace {

struct Magnitudes {
  Values raw;
  Values smoothed;
};

/// Analyses the example record, scaled to 220 V.
Magnitudes real_magnitudes() {
  constexpr int cycle = 128;
  const auto record = readers::open_record(DIPX_EXAMPLE_RECORD);
  double squares = 0;
  for (std::size_t i = 0; i < cycle; i++) squares += record.channels[0].samples[i] * record.channels[0].samples[i];
  const double scale = 220 / std::sqrt(squares / cycle);
  std::array<Values, 3> phases;
  for (std::size_t phase = 0; phase < 3; phase++) {
    for (const double sample : record.channels[phase].samples) {
      phases[phase].push_back(static_cast<float>(sample * scale));
    }
  }
  const Silence silence;
  sagx_init_from_samples(phases[0].data(), phases[1].data(), phases[2].data(), cycle,
                         static_cast<int>(record.length()));
  dipx_new_pro(nullptr);
  if (new_dipx_buf[0].u_min_num < 1) std::abort();
  const auto samples = static_cast<std::ptrdiff_t>(dq_data_buf->num);
  Magnitudes result{Values(dq_data_buf->ua0, dq_data_buf->ua0 + samples),
                    Values(dq_data_buf->ua, dq_data_buf->ua + samples)};
  sagx_free_all();
  return result;
}

Values repeated(const Values& values, int n) {
  Values result;
  for (std::size_t i = 0; i < static_cast<std::size_t>(n); i++) result.push_back(values[i % values.size()]);
  return result;
}

const Magnitudes& magnitudes() {
  static const Magnitudes once = real_magnitudes();
  return once;
}

}  // namespace

Values noise(int n) {
  std::mt19937 random(1);
  std::uniform_real_distribution<float> uniform(-1, 1);
  Values values;
  for (int i = 0; i < n; i++) values.push_back(uniform(random));
  return values;
}

Values raw_magnitudes(int n) {
  return repeated(magnitudes().raw, n);
}
Values smoothed_magnitudes(int n) {
  return repeated(magnitudes().smoothed, n);
}

}  // namespace bench
