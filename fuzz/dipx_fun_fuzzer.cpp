// Runs whole analyses with any rate, length and samples, and with sines that contain dips. It runs in a separate
// folder; see scripts/fuzz.sh.
#include <cmath>
#include <cstdlib>
#include <memory>
#include <numbers>

#include "dipx_dll.h"
#include "fuzz/bytes.h"
#include "sagx/dq_dipx.h"

namespace {

using fuzz::Bytes;
using fuzz::expect;

/// Longer records would take too much time for many of them to be run; unit tests cover their limits.
constexpr int most_cycles = 60;

void fill_with_dips(Bytes& bytes, float* const (&phases)[3], int rate, int samples) {
  const auto amplitude = static_cast<float>(bytes.between(20, 600));
  const int turn = bytes.below(256);
  for (int phase = 0; phase < 3; phase++) {
    for (int i = 0; i < samples; i++) {
      const double angle = 2 * std::numbers::pi * (static_cast<double>(i) / rate - phase / 3.0 + turn / 256.0);
      phases[phase][i] = amplitude * static_cast<float>(std::sin(angle));
    }
  }
  for (int dips = bytes.below(5); dips > 0; dips--) {
    const int mask = bytes.below(8);
    const int fall = bytes.between(0, samples);
    const int recovery = std::min(samples, fall + bytes.between(0, 20 * rate));
    const int ramp = 1 + bytes.below(4) * bytes.below(64);
    const float depth = static_cast<float>(bytes.below(256)) / 255;
    for (int i = fall; i < recovery; i++) {
      const float share = std::min(1.0F, static_cast<float>(i - fall + 1) / static_cast<float>(ramp));
      for (int phase = 0; phase < 3; phase++) {
        if ((mask >> phase & 1) != 0) phases[phase][i] *= 1 - depth * share;
      }
    }
  }
  for (int odd = bytes.below(4); odd > 0 && samples > 0; odd--) {
    phases[bytes.below(3)][bytes.between(0, samples - 1)] = bytes.value();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const auto record = std::make_unique<dipx_data_struct>();
  Bytes bytes(data, size);
  const int style = bytes.below(8);
  record->smp_rate = style < 5 ? 32 : style == 5 ? bytes.between(32, 128) : bytes.mostly_between(30, 130);
  const int cycle = std::clamp(record->smp_rate, 1, 128);
  record->smp_len = style < 6 ? bytes.between(2, most_cycles) * cycle : bytes.mostly_between(0, most_cycles * 32);
  if (record->smp_len > most_cycles * 128 && record->smp_len <= DQ_RECORD_CAPACITY) record->smp_len %= 8192;

  float* const phases[] = {record->smp_va, record->smp_vb, record->smp_vc};
  const int samples = std::clamp(record->smp_len, 0, most_cycles * 128);
  if (style % 4 != 3) {
    fill_with_dips(bytes, phases, cycle, samples);
  } else {
    for (float* phase : phases) bytes.fill(phase, samples);
  }
  // A refused run reports the count of the previous one, but the result of an input must not depend on earlier inputs.
  // The working records are usually kept, because allocating clean ones doubles the time.
  if (size % 16 == 0) sagx_free_all();
  if (dq_rms_buf != nullptr) dq_rms_buf->evt_num = 0;
  dipx_fun(record.get());

  expect(record->evt_num >= 0 && record->evt_num <= DQ_BOUNDARY_CAPACITY / 2);
  for (int i = 0; i < record->evt_num; i++) {
    const auto& event = record->evt_buf[i];
    for (const int count : {event.u_min_num, event.SEG_T_num, event.SEG_RMS_T_num}) {
      expect(count >= 0 && count <= DQ_LIST_CAPACITY);
    }
    expect(!(event.hold_time_dq < 0));
    for (int j = 0; j < event.u_min_num; j++) {
      expect(event.dipx_phasetype[j] >= 0 && event.dipx_phasetype[j] <= 3);
      expect(event.dipx_cata_type[j] >= 0 && event.dipx_cata_type[j] <= 10);
    }
  }
  return 0;
}
