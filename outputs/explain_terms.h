// The terms that `dipx explain` knows.
#pragma once

#include <string>
#include <vector>

namespace outputs {

struct Term {
  const char* code;  ///< "point_on_wave"
  const char* name;  ///< "point on wave"
  std::string text;  ///< one paragraph
};

/// Returns the text that explains a term; null for an unknown code.
const std::string* text_of_term(const std::string& code);

/// Returns the terms of events and of the course of dips.
const std::vector<Term>& measured_terms();

/// Returns the terms of the assessment: curves, verdicts, classes and indices.
const std::vector<Term>& assessment_terms();

}  // namespace outputs
