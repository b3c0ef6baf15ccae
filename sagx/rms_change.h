// Finds where the RMS curves of a window change, by their SVD feature. Both RMS segmentations start with this. Private
// to the stages.
#pragma once

#include "sagx/boundary_list.h"
#include "sagx/dq_dipx.h"

namespace sagx {

class RmsChange {
 public:
  /// Computes one feature per phase every `step` samples of the window `buf`.
  RmsChange(dq_data& buf, int step);

  /// Fills the minimum curve u of the window.
  void keep_minimum_curve();

  /// Fills feasvd_a, feasvd_b and feasvd_c, one entry per position. Does nothing for a step of 0 or a rate without an
  /// order.
  void measure();

  /// Searches the crossings of one per cent of `nominal`, then of ever lower thresholds until there are at least
  /// `enough` crossings. After ten tries the result of the last one is kept. Entries beyond the count are left over
  /// from earlier tries. Prints the count.
  void search(float nominal, int enough, BoundaryList& crossings) const;

  /// Returns the number of positions with a feature.
  [[nodiscard]] int positions() const { return positions_; }

 private:
  void scan(float threshold, BoundaryList& crossings) const;

  dq_data& buf_;
  int samples_;
  int order_;
  int step_;
  int positions_ = 0;
};

}  // namespace sagx
