// Finds dips, swells and interruptions by the rules of IEC 61000-4-30 for several phases.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <vector>

#include "measure/findings.h"
#include "measure/half_cycle_rms.h"
#include "measure/options.h"

namespace measure {

/// The references of the voltages: constant, or updated with each block of ten (60 Hz: twelve) cycles.
struct References {
  PerPhase start{};                                        ///< volts RMS
  std::vector<double> block_end_s;                         ///< of a sliding reference: ends of the blocks
  std::array<std::vector<double>, most_phases> block_rms;  ///< and the RMS over each
  PhaseFlags left_out{};                                   ///< voltages that do not cause events
};

/// Returns the voltages whose usual level is below 5 % of the highest one. They belong to an open or unconnected phase;
/// its noise would cause events if each voltage were judged by its own usual level.
PhaseFlags without_voltage(const PerPhase& usual_v, std::size_t phases);

/// `series`: one for each voltage.
std::vector<Event> detect(const std::vector<HalfCycleRms>& series, References references, const Thresholds& thresholds);

/// Finds rapid voltage changes. `reference`: volts to which the threshold refers; `window`: half cycles in a second,
/// 100 or 120. `references`: those for dips and swells, because a change that crosses these limits is not a rapid
/// voltage change. `left_out`: voltages that are ignored.
std::vector<Event> detect_rapid_changes(const std::vector<HalfCycleRms>& series, double reference,
                                        const PerPhase& references, const Thresholds& thresholds, std::size_t window,
                                        const PhaseFlags& left_out = {});

}  // namespace measure
