#include "outputs/clock_text.h"

#include <fmt/format.h>

#include <cmath>

#include "analysis/quantity_text.h"
#include "readers/clock_time.h"

namespace outputs {

std::string clock_text(const readers::Record& record, double seconds) {
  std::string words = readers::iso_time(record, seconds);
  if (record.trigger) {
    const double after = seconds - *record.trigger;
    words += fmt::format("{}{} {} the trigger", words.empty() ? "" : ", ", analysis::duration_text(std::abs(after)),
                         after < 0 ? "before" : "after");
  }
  return words;
}

}  // namespace outputs
