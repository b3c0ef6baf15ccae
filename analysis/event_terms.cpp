#include "analysis/event_terms.h"

namespace analysis {

EventTerms terms_of(const measure::Event& event, const Analysis& analysis) {
  EventTerms terms;
  terms.percent = event.reference_v > 0 ? 100 * event.extreme_v / event.reference_v : 0;
  terms.depth_percent = 100 - terms.percent;
  const double record_end_s = static_cast<double>(analysis.voltages.length()) / analysis.voltages.part.rate;
  terms.least_seconds = event.end_s.value_or(record_end_s) - event.start_s;
  terms.cycle_seconds = 1 / analysis.found.frequency;
  if (event.start_known && event.end_s) terms.seconds = terms.least_seconds;
  return terms;
}

const char* kind_code(measure::EventKind kind) {
  switch (kind) {
    case measure::EventKind::dip:
      return "dip";
    case measure::EventKind::swell:
      return "swell";
    case measure::EventKind::interruption:
      return "interruption";
    case measure::EventKind::rapid_voltage_change:
      break;
  }
  return "rapid_voltage_change";
}

const char* kind_words(measure::EventKind kind) {
  return kind == measure::EventKind::rapid_voltage_change ? "rapid voltage change" : kind_code(kind);
}

const char* reference_words(measure::Reference reference) {
  switch (reference) {
    case measure::Reference::declared:
      return "declared voltage";
    case measure::Reference::sliding:
      return "sliding reference";
    case measure::Reference::pre_event:
      break;
  }
  return "pre-event voltage";
}

const char* reference_code(measure::Reference reference) {
  switch (reference) {
    case measure::Reference::declared:
      return "declared";
    case measure::Reference::sliding:
      return "sliding";
    case measure::Reference::pre_event:
      break;
  }
  return "pre-event";
}

}  // namespace analysis
