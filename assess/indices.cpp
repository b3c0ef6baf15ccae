#include "assess/indices.h"

#include <cmath>
#include <cstddef>
#include <limits>

namespace assess {

namespace {

/// Returns the time that a value of Urms(1/2) represents: half of the distance to either neighbour.
double seconds_of(const measure::HalfCycleRms& rms, std::size_t i) {
  const std::size_t before = i > 0 ? i - 1 : i;
  const std::size_t after = i + 1 < rms.size() ? i + 1 : i;
  if (after == before) return rms.end_s[i] - rms.start_s[i];
  return (rms.start_s[after] - rms.start_s[before]) / static_cast<double>(after - before);
}

}  // namespace

std::optional<Indices> indices_of(const measure::Event& dip, const measure::HalfCycleRms& lowest) {
  if (!(dip.reference_v > 0)) return std::nullopt;
  const double end = dip.end_s.value_or(std::numeric_limits<double>::infinity());
  Indices indices;
  for (std::size_t i = 0; i < lowest.size(); i++) {
    if (lowest.end_s[i] <= dip.start_s || lowest.start_s[i] >= end) continue;
    const double volts = lowest.volts[i];
    if (!std::isfinite(volts)) return std::nullopt;
    if (volts >= dip.reference_v) continue;
    const double share = volts / dip.reference_v;
    indices.energy_s += (1 - share * share) * seconds_of(lowest, i);
    indices.lost_v_s += (dip.reference_v - volts) * seconds_of(lowest, i);
  }
  return indices;
}

}  // namespace assess
