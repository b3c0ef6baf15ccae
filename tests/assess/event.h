// Makes events for tests of the assessment.
#pragma once

#include "assess/event_terms.h"

namespace tests {

/// An event of known duration whose limits have no uncertainty of time.
inline assess::EventTerms event(double seconds, double percent) {
  assess::EventTerms terms;
  terms.seconds = terms.least_seconds = seconds;
  terms.percent = percent;
  return terms;
}

}  // namespace tests
