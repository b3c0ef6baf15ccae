// The dips of a waveform of any length and number.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <vector>

#include "analysis/stage_report.h"
#include "analysis/waveform.h"

namespace analysis::embedded {

struct FoundDip {
  std::size_t start = 0;           ///< first sample below the threshold
  std::optional<std::size_t> end;  ///< first sample back at it; none when the waveform ends before
  std::array<double, 3> lowest{};  ///< lowest one-cycle RMS of each phase during the dip, volts
  double lowest_of_highest = 0;    ///< the same of whichever phase stands highest
};

/// How a search ended.
enum class SearchEnd {
  searched,
  too_short,       ///< the waveform is shorter than two cycles
  disturbed_start  ///< its first two cycles are not steady
};

struct DipSearch {
  SearchEnd end = SearchEnd::searched;
  double nominal = 0;    ///< RMS of the lowest phase over the first two cycles, volts
  double threshold = 0;  ///< volts
  std::vector<FoundDip> dips;
  std::size_t runs = 0;  ///< stretches that were searched one by one
};

/// Searches the waveform's dips by the level of its first two cycles. What one run of the library does not hold, of
/// `longest_run` samples and thirty crossings of the threshold, is searched in stretches that overlap, and the dips
/// come out as one run without these limits would find them: each once, those less than joining_cycles apart joined.
/// `longest_run`: at least thirty cycles.
DipSearch search_dips(Waveform& waveform, int samples_per_cycle, std::size_t longest_run,
                      const StageReport& report_stage);

}  // namespace analysis::embedded
