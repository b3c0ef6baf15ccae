#include "analysis/worst_event.h"

#include <algorithm>

#include "analysis/event_terms.h"
#include "analysis/quantity_text.h"

namespace analysis {

bool Worst::worse_than(const Worst& other) const {
  if (residual_percent.has_value() != other.residual_percent.has_value()) return residual_percent.has_value();
  if (residual_percent) {
    if (*residual_percent != *other.residual_percent) return *residual_percent < *other.residual_percent;
    return seconds > other.seconds;
  }
  return highest_percent.value_or(0) > other.highest_percent.value_or(0);
}

std::string Worst::words() const {
  if (residual_percent) return "a dip to " + percent_text(*residual_percent);
  if (highest_percent) return "a swell to " + percent_text(*highest_percent);
  return "no dip or swell";
}

Worst worst_of(const std::vector<measure::Event>& events, const Analysis& analysis) {
  Worst worst;
  for (const measure::Event& event : events) {
    const EventTerms terms = terms_of(event, analysis);
    if (event.kind == measure::EventKind::dip) {
      Worst one;
      one.residual_percent = terms.percent;
      one.seconds = terms.least_seconds;
      one.highest_percent = worst.highest_percent;
      if (one.worse_than(worst)) worst = one;
    }
    if (event.kind == measure::EventKind::swell) {
      worst.highest_percent = std::max(worst.highest_percent.value_or(0), terms.percent);
    }
  }
  return worst;
}

}  // namespace analysis
