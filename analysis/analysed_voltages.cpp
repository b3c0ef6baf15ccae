#include "analysis/analysed_voltages.h"

#include <algorithm>
#include <cmath>

namespace analysis {

std::size_t AnalysedVoltages::record_sample_at(double seconds) const {
  const double sample = std::round(std::max(seconds, 0.0) * part.rate);
  return part.begin + std::min(static_cast<std::size_t>(sample), part.length());
}

std::string AnalysedVoltages::letter(std::size_t phase) const {
  return between_phases ? pairs_of_phases[phase] : std::string(1, "ABC"[phase]);
}

std::string AnalysedVoltages::letters(const measure::PhaseFlags& flags) const {
  std::string text;
  for (std::size_t phase = 0; phase < phases; phase++) {
    if (!flags[phase]) continue;
    if (between_phases && !text.empty()) text += ',';
    text += letter(phase);
  }
  return text;
}

}  // namespace analysis
