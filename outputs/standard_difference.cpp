#include "outputs/standard_difference.h"

#include <fmt/format.h>

#include <cmath>
#include <cstddef>

#include "analysis/event_terms.h"
#include "analysis/quantity_text.h"

namespace outputs {

namespace {

/// Returns whether the levels before the dip of the voltages that fall differ from the reference by more than 2 %.
bool levels_differ_from_reference(const measure::Event& dip, std::size_t phases) {
  constexpr double notable = 0.02;
  for (std::size_t phase = 0; phase < phases; phase++) {
    const double off = std::abs(dip.course->before[phase]) - dip.reference_v;
    if (dip.phases[phase] && std::abs(off) > notable * dip.reference_v) return true;
  }
  return false;
}

}  // namespace

std::optional<double> waveform_seconds(const measure::Course& course) {
  if (!course.start_s || !course.end_s) return std::nullopt;
  return course.end_s->value - course.start_s->value;
}

std::string duration_reasons(const measure::Event& dip, const analysis::Analysis& analysis, bool standard_longer) {
  const auto& thresholds = analysis.options.thresholds;
  const char* reference = analysis::reference_words(analysis.options.reference);
  std::string words = standard_longer
                          ? "it counts whole cycles of Urms(1/2), from the beginning of the first to the end of the "
                            "last"
                          : "Urms(1/2) averages over a whole cycle, and falls below the threshold in a part of the "
                            "course only";
  if (standard_longer && thresholds.hysteresis > 0) {
    words += fmt::format(", and the voltage must be back at {:g} % of the {}", thresholds.dip + thresholds.hysteresis,
                         reference);
  }
  if (levels_differ_from_reference(dip, analysis.voltages.phases)) {
    words += fmt::format("; it refers to the {} ({}), and the course to the levels before", reference,
                         analysis::volts_text(dip.reference_v));
  }
  return words;
}

}  // namespace outputs
