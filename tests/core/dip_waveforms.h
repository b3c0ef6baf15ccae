// Provides working records for tests of single stages, and three-phase sines with dips whose category is known.
#pragma once

#include <array>
#include <cmath>
#include <complex>
#include <cstdlib>
#include <memory>
#include <numbers>
#include <vector>

namespace tests {

struct Release {
  void operator()(void* block) const { std::free(block); }
};

/// Creates a record of zeros. Fresh zeroed memory takes up no space until it is touched, which matters for the 61 MB of
/// a window.
template <typename Record>
using Zeroed = std::unique_ptr<Record, Release>;

template <typename Record>
Zeroed<Record> zeroed() {
  auto* record = static_cast<Record*>(std::calloc(1, sizeof(Record)));
  if (record == nullptr) std::abort();
  return Zeroed<Record>(record);
}

using Phasor = std::complex<double>;
using Phasors = std::array<Phasor, 3>;

/// Returns the phasor of the given magnitude and angle in degrees.
inline Phasor phasor(double magnitude, double degrees) {
  return std::polar(magnitude, degrees * std::numbers::pi / 180);
}

/// Returns phases A, B and C of a balanced system of magnitude 1.
inline Phasors balanced() {
  return {phasor(1, 0), phasor(1, -120), phasor(1, 120)};
}

/// Returns a balanced system with each phase scaled.
inline Phasors scaled(double a, double b, double c) {
  auto phases = balanced();
  phases[0] *= a;
  phases[1] *= b;
  phases[2] *= c;
  return phases;
}

/// Returns a fault between the two phases other than `healthy`: they move towards each other without any zero sequence.
inline Phasors fault_between_others(std::size_t healthy, double remaining) {
  auto phases = balanced();
  for (auto& phase : phases) {
    if (phase == balanced()[healthy]) continue;
    const Phasor along = -balanced()[healthy] / 2.0;
    phase = along + (phase - along) * remaining;
  }
  return phases;
}

/// A record of three sines that is steady except for sections with other phasors. Angles are those of phase A's sine.
class SineRecord {
 public:
  SineRecord(int samples_per_cycle, int samples, double rms, double degrees = 0)
      : smp(samples_per_cycle), rms_(rms), degrees_(degrees) {
    for (auto& phase : phases) phase.resize(static_cast<std::size_t>(samples));
    set(0, samples, balanced());
  }

  /// Sets the phases to `phasors` times the record's voltage from sample `from` up to, but not including, `to`.
  SineRecord& set(int from, int to, const Phasors& phasors) {
    for (int i = from; i < to; i++) {
      const Phasor rotation = phasor(rms_ * std::numbers::sqrt2, degrees_ + 360.0 * i / smp);
      for (std::size_t x = 0; x < 3; x++) {
        phases[x][static_cast<std::size_t>(i)] = static_cast<float>((phasors[x] * rotation).imag());
      }
    }
    return *this;
  }

  [[nodiscard]] int samples() const { return static_cast<int>(phases[0].size()); }

  int smp;
  std::array<std::vector<float>, 3> phases;

 private:
  double rms_;
  double degrees_;
};

}  // namespace tests
