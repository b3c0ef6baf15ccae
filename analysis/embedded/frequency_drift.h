// What a network that is off its nominal frequency does to angles: 0.05 Hz turn them by 18 degrees in a second, and the
// library, which measures them against the nominal frequency, takes that for a phase jump, and a dip of one phase for
// one of another.
#pragma once

#include <optional>
#include <vector>

#include "analysis/cycle_phasors.h"
#include "analysis/findings.h"
#include "sagx/dip_category.h"

namespace analysis::embedded {

/// By what a segment's category is decided, at the level of the analysis.
struct CategoryRule {
  float nominal;    ///< voltage, RMS
  float threshold;  ///< of a dip, RMS
  sagx::AllLow all_low;
};

/// The turning of the voltages away from nominal frequency over a dip, and what the dip is without it.
class FrequencyDrift {
 public:
  /// `before`: time ahead of the dip; where it does not turn evenly, there is no drift to be known. Over long segments
  /// the frequency is measured anew; in short ones, and between segments, what was measured last goes on. `phasors`
  /// must outlive this.
  FrequencyDrift(const CyclePhasors& phasors, const Stretch& before, const std::vector<Segment>& segments);

  /// Degrees that an angle turns from one sample to another.
  [[nodiscard]] double degrees_between(std::size_t from, std::size_t to) const {
    return degrees_at(to) - degrees_at(from);
  }

  /// Degrees per cycle ahead of the dip.
  [[nodiscard]] double before() const { return knots_.front().degrees_per_cycle; }

  /// Phase jump at a sample of a segment against the time before the dip, degrees in (-180, 180]; nothing when the
  /// segment is shorter than a cycle.
  [[nodiscard]] std::optional<double> phase_jump(std::size_t phase, std::size_t sample, const Stretch& segment) const;

  /// The category of a segment by the vote of its cycles; nothing where no cycle has one.
  [[nodiscard]] std::optional<int> category(const Stretch& segment, const CategoryRule& rule) const;

 private:
  struct Knot {
    std::size_t sample;
    double degrees;
    double degrees_per_cycle;  ///< from here on
  };

  [[nodiscard]] double degrees_at(std::size_t sample) const;
  [[nodiscard]] Phasors phasors_at(std::size_t begin) const;

  const CyclePhasors& phasors_;
  std::vector<Knot> knots_;
  Phasors before_{};  ///< their mean
};

}  // namespace analysis::embedded
