// The records on which whole analyses are measured.
#pragma once

#include <cmath>
#include <numbers>
#include <random>

#include "dipx_dll.h"

namespace bench {

inline constexpr int rate = 128;  // samples per cycle

struct Run {
  const char* name;
  int cycles;
  int fall;  // cycles from the start
  int dip;   // cycles; 0: there is no dip
};

/// Fills in 220 V with a little noise; in the dip, phase A falls to a half and the others to nine tenths.
inline void fill(dipx_data_struct& record, const Run& run) {
  std::mt19937 random(1);
  std::uniform_real_distribution noise(-0.75, 0.75);
  float* const phases[] = {record.smp_va, record.smp_vb, record.smp_vc};
  const double low[] = {0.5, 0.9, 0.9};
  for (int phase = 0; phase < 3; phase++) {
    for (int i = 0; i < run.cycles * rate; i++) {
      const bool dips = i >= run.fall * rate && i < (run.fall + run.dip) * rate;
      const double angle = 2 * std::numbers::pi * (static_cast<double>(i) / rate - phase / 3.0);
      phases[phase][i] = static_cast<float>(311.127 * (dips ? low[phase] : 1) * std::sin(angle) + noise(random));
    }
  }
  record.smp_rate = rate;
  record.smp_len = run.cycles * rate;
}

}  // namespace bench
