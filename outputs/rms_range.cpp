#include "outputs/rms_range.h"

#include <fmt/format.h>

#include <cmath>

#include "analysis/event_terms.h"
#include "analysis/quantity_text.h"

namespace outputs {

using analysis::Analysis;

std::string rms_range_text(const Analysis& analysis) {
  const auto& voltages = analysis.voltages;
  std::size_t low = 0;
  std::size_t high = 0;
  const auto share = [&](const measure::PerPhase& volts, std::size_t phase) {
    return volts[phase] / analysis.found.reference_v[phase];
  };
  for (std::size_t phase = 1; phase < voltages.phases; phase++) {
    if (share(analysis.lowest_rms_v, phase) < share(analysis.lowest_rms_v, low)) low = phase;
    if (share(analysis.highest_rms_v, phase) > share(analysis.highest_rms_v, high)) high = phase;
  }
  const double lowest = share(analysis.lowest_rms_v, low);
  const double highest = share(analysis.highest_rms_v, high);
  if (!std::isfinite(lowest) || !std::isfinite(highest)) return "";
  const auto letters = [&](std::size_t phase) {
    measure::PhaseFlags flags{};
    flags[phase] = true;
    return voltages.letters(flags);
  };
  return fmt::format("Urms(1/2) from {} ({}) to {} ({}) of the {}", analysis::percent_text(100 * lowest), letters(low),
                     analysis::percent_text(100 * highest), letters(high),
                     analysis::reference_words(analysis.options.reference));
}

}  // namespace outputs
