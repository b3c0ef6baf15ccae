// What a host of the library would get for a record: the library's own results, as they are.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "analysis/waveform.h"

namespace analysis::embedded {

/// A segment that the library found. Positions are samples from the beginning of the waveform.
struct ResultSegment {
  std::size_t begin = 0;
  std::size_t end = 0;
  std::array<double, 3> residual_v{};
  std::array<double, 3> phase_jump_degrees{};
  int phases_below = 0;  ///< mask: 1 = A, 2 = B, 4 = C
  int category = 10;
  double unbalance_percent = 0;
};

struct ResultDip {
  std::size_t begin = 0;  ///< first sample below the threshold
  std::size_t end = 0;    ///< first sample back at it
  std::string outcome;    ///< "analysed", or why the library measured no more of it
  double duration_s = 0;  ///< at 20 ms per cycle; 0 unless it was analysed
  std::array<double, 3> point_on_wave_degrees{};
  std::array<double, 3> fastest_change_v_per_s{};
  std::vector<ResultSegment> segments;
};

struct Results {
  std::string refusal;   ///< one clause: why the library does not take the record; empty when it does
  double factor = 1;     ///< what the samples were multiplied by; voltages here are the record's own again
  double nominal_v = 0;  ///< RMS of the lowest phase over the first two cycles
  double threshold_v = 0;
  std::optional<std::size_t> unfinished_dip;  ///< first sample of a dip that goes on at the record's end
  std::vector<ResultDip> dips;
};

/// Runs the library once over the whole waveform. A waveform that it does not take gives a refusal.
Results results_of(Waveform waveform, double samples_per_cycle);

/// The report that the library writes of a whole record, at a level that it takes. Throws std::invalid_argument with
/// the reason when the library does not take the record, and std::runtime_error when it could not write all of the
/// report.
std::string report_of(Waveform waveform, double samples_per_cycle);

}  // namespace analysis::embedded
