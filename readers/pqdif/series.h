// Turns the stored vectors of a PQDIF series into values, and series of times into sampling rates.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "readers/pqdif/body.h"
#include "readers/record.h"

namespace readers::pqdif {

/// How the values of a series are computed from its vector.
struct Storage {
  bool increment = false;  ///< the vector holds runs of equal steps instead of values
  double scale = 1;        ///< a value is scale * stored value + offset
  double offset = 0;
};

/// The number of values that may still be decoded, which bounds the memory that a file can take.
class ValueBudget {
 public:
  explicit ValueBudget(std::size_t values) : left_(values) {}

  /// Takes values from the budget, or none and returns false if fewer are left.
  bool take(std::size_t values) {
    if (values > left_) return false;
    left_ -= values;
    return true;
  }

 private:
  std::size_t left_;
};

struct SeriesValues {
  std::vector<double> values;
  std::string fault;  ///< why there are no values; empty if all is well
};

/// Returns the values of a numeric series.
SeriesValues values_of(const StoredVector& stored, const Storage& storage, ValueBudget& budget);

/// When the samples of a series were taken.
struct TimeBase {
  double first = 0;                   ///< seconds from the observation's start to the first sample
  std::vector<RateSection> sections;  ///< their starts count from the first sample
  std::vector<std::string> notes;
  std::string fault;  ///< why the times cannot be used; empty if all is well

  [[nodiscard]] std::size_t length() const { return sections.empty() ? 0 : sections.back().end; }
};

/// What a series of times counts in.
struct TimeUnit {
  double seconds = 1;      ///< in one unit; 0 when that is not known
  Moment observation = 0;  ///< start of the observation, from which time stamps are counted
};

/// Returns the time base that a series of times gives. Times that lie on an even grid, as they do but for rounding,
/// have its rate; others are split into sections where the rate changes or time is missing. `given_rate` is used where
/// the times give no rate.
TimeBase time_base_of(const StoredVector& stored, const Storage& storage, const TimeUnit& unit, double given_rate,
                      ValueBudget& budget);

/// Returns the number of values that a vector would hold if it consisted of runs of increments; 0 if it cannot be that.
std::size_t count_in_runs(const StoredVector& stored);

/// Returns whether samples of both time bases are taken together. They may differ in length, because the shorter one
/// can be continued.
bool run_together(const TimeBase& one, const TimeBase& other);

/// Cuts sections to a length, or continues the last one to it.
void fit_to(std::vector<RateSection>& sections, std::size_t length);

}  // namespace readers::pqdif
