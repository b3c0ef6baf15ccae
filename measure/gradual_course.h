// Follows a gradual change of the voltage in short fits.
#pragma once

#include <cstddef>
#include <vector>

#include "measure/excerpt.h"
#include "measure/runs.h"

namespace measure {

/// The fundamentals at some instants of a gradual course, in order of time.
class GradualCourse {
 public:
  /// `after_change`: it follows a sudden change, so the first fit takes a decaying offset into account.
  GradualCourse(const Excerpt& excerpt, double begin_s, double end_s, bool after_change);
  /// A ramp between two steady courses.
  GradualCourse(const Excerpt& excerpt, const Run& ramp);

  /// Each phase's phasor where it is lowest.
  [[nodiscard]] Phasors lowest() const;
  /// Standard error of these, as of one short fit.
  [[nodiscard]] const PerPhase& standard_error() const { return error_; }
  [[nodiscard]] const Phasors& first() const { return values_.front(); }
  [[nodiscard]] const Phasors& last() const { return values_.back(); }
  /// Lowest share of its level before that any phase has at any of the instants.
  [[nodiscard]] double lowest_share(const Phasors& before) const;
  /// The lowest of these shares at the beginning.
  [[nodiscard]] double first_share(const Phasors& before) const { return share(0, before); }
  /// Largest change of a magnitude from beginning to end, and from its mean within the course.
  [[nodiscard]] double change() const;
  [[nodiscard]] double spread() const;

  /// When the last phase rises through a share of its level before; the end where none rises there.
  [[nodiscard]] double rises_through(const Phasors& before, double share) const;
  /// When the first phase falls through it; the end where none does.
  [[nodiscard]] double falls_through(const Phasors& before, double share) const;
  /// The instant of the largest distance from both ends.
  [[nodiscard]] double turning_point() const;

 private:
  [[nodiscard]] double share(std::size_t at, const Phasors& before) const;
  [[nodiscard]] double crossing(std::size_t at, const Phasors& before, double share) const;

  std::size_t phases_;
  double begin_s_;
  double end_s_;
  std::vector<double> times_;
  std::vector<Phasors> values_;
  PerPhase error_{};
};

}  // namespace measure
