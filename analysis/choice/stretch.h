// The stretch of a record that the user chooses by its times.
#pragma once

#include <optional>

#include "readers/record.h"

namespace analysis {

/// Seconds from the record's first sample. Without a value the stretch begins or ends with the record.
struct StretchChoice {
  std::optional<double> from;
  std::optional<double> to;

  [[nodiscard]] bool any() const { return from || to; }
};

/// Limits the record to a stretch: samples outside it become missing and belong to no part, but keep their numbers and
/// times. Throws UnknownChoice if nothing of the record is left.
void keep_stretch(readers::Record& record, const StretchChoice& choice);

}  // namespace analysis
