// Dips, swells and interruptions by the rules of IEC 61000-4-30 for several phases.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <vector>

#include "measure/findings.h"
#include "measure/half_cycle_rms.h"
#include "measure/options.h"

namespace measure {

/// How the references of the voltages move: constant, or by blocks of ten (60 Hz: twelve) cycles.
struct References {
  PerPhase start{};                                        ///< volts RMS
  std::vector<double> block_end_s;                         ///< of a sliding reference: ends of the blocks
  std::array<std::vector<double>, most_phases> block_rms;  ///< and the RMS over each
  PhaseFlags left_out{};                                   ///< voltages by which no event is told
};

/// The voltages whose usual level is below 5 % of the highest one: of an open or unconnected phase, whose noise would
/// be an event to itself where each voltage is judged by its own usual level.
PhaseFlags without_voltage(const PerPhase& usual_v, std::size_t phases);

/// `series`: one for each voltage.
std::vector<Event> detect(const std::vector<HalfCycleRms>& series, References references, const Thresholds& thresholds);

/// Rapid voltage changes. `reference`: volts to which the threshold refers; `window`: half cycles in a second, 100 or
/// 120. `references`: those by which dips and swells are told, since a change that crosses these is none. `left_out`:
/// voltages that are not looked at.
std::vector<Event> detect_rapid_changes(const std::vector<HalfCycleRms>& series, double reference,
                                        const PerPhase& references, const Thresholds& thresholds, std::size_t window,
                                        const PhaseFlags& left_out = {});

}  // namespace measure
