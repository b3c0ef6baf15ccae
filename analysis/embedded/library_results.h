// The results that a host of the library would get for a record, unchanged.
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
  std::string outcome;    ///< "analysed", or the reason for which the library did not measure it completely
  double duration_s = 0;  ///< at 20 ms per cycle; 0 unless it was analysed
  std::array<double, 3> point_on_wave_degrees{};
  std::array<double, 3> fastest_change_v_per_s{};
  std::vector<ResultSegment> segments;
};

struct Results {
  std::string refusal;   ///< a clause with the reason for which the library refuses the record; empty if it accepts it
  double factor = 1;     ///< factor by which the samples were multiplied; voltages here are in the record's own scale
                         ///< again
  double nominal_v = 0;  ///< RMS of the lowest phase over the first two cycles
  double threshold_v = 0;
  std::optional<std::size_t> unfinished_dip;  ///< first sample of a dip that continues past the record's end
  std::vector<ResultDip> dips;
};

/// Runs the library once over the whole waveform. If the library refuses the waveform, the result has a refusal.
Results results_of(Waveform waveform, double samples_per_cycle);

/// Returns the report that the library writes of a whole record, scaled to a level that it accepts. Throws
/// std::invalid_argument with the reason if the library refuses the record, and std::runtime_error if it could not
/// write the whole report.
std::string report_of(Waveform waveform, double samples_per_cycle);

}  // namespace analysis::embedded
