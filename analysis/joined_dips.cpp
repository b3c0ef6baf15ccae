#include "analysis/joined_dips.h"

#include <fmt/format.h>

#include <algorithm>
#include <vector>

#include "analysis/embedded/limits.h"
#include "analysis/quantity_text.h"

namespace analysis {

namespace {

/// One of the dips that were joined.
struct JoinedDip {
  Stretch samples;
  float lowest = 0;  ///< volts
};

std::vector<JoinedDip> joined_in(const Dip& dip, const Analysis& analysis, const Waveform& rms) {
  const auto cycle = static_cast<std::size_t>(analysis.voltages.samples_per_cycle);
  std::vector<JoinedDip> joined;
  for (std::size_t i = dip.start; i < dip.end.value_or(analysis.voltages.length); i++) {
    const float lowest = std::min({rms[0][i], rms[1][i], rms[2][i]});
    if (!(static_cast<double>(lowest) < analysis.threshold)) continue;
    if (joined.empty() || i - joined.back().samples.end >= cycle) joined.push_back({{i, i}, lowest});
    joined.back().samples.end = i + 1;
    joined.back().lowest = std::min(joined.back().lowest, lowest);
  }
  return joined;
}

}  // namespace

void note_joined_dips(Analysis& analysis, const Waveform& rms) {
  constexpr std::size_t most_named = 4;
  for (std::size_t i = 0; i < analysis.dips.size(); i++) {
    const auto joined = joined_in(analysis.dips[i], analysis, rms);
    if (joined.size() < 2) continue;
    std::string each;
    for (std::size_t k = 0; k < std::min(joined.size(), most_named); k++) {
      const auto& [samples, lowest] = joined[k];
      each += fmt::format("{}{:.4f} s, {} at {:.1f} %", each.empty() ? "" : "; ",
                          analysis.voltages.seconds_at(samples.begin),
                          duration_text(static_cast<double>(samples.length()) / analysis.voltages.sampling_rate),
                          analysis.percent(static_cast<double>(lowest)));
    }
    if (joined.size() > most_named) each += "; and so on";
    analysis.notes.push_back(
        fmt::format("Dip {} joins {} dips that lie less than {} cycles apart; IEC 61000-4-30 counts each: {}. Its "
                    "duration, kind and place on the curves are those of all together.",
                    i + 1, joined.size(), count_text(embedded::joining_cycles), each));
  }
}

}  // namespace analysis
