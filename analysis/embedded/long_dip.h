// What the library found of a dip that is longer than 500 cycles, with its oddities put right.
#pragma once

#include <array>
#include <functional>
#include <vector>

#include "sagx/dq_dipx.h"

namespace analysis::embedded {

/// The segments of the long dip that was analysed last; its window still stands in the library's window record.
class LongDip {
 public:
  /// `result`: the dip's results, in positions of the analysed record; `window_begin`: where its window begins there.
  LongDip(const dq_dipx_struct& result, int window_begin);

  /// The results, measured at a reference point well inside each segment. The library takes the lowest RMS up to the
  /// RMS boundary, which may lie in the next transition, and where it finds that outside the segment the middle of the
  /// transition before.
  [[nodiscard]] const dq_dipx_struct& result() const { return result_; }

  /// Where each transition begins and ends, positions of the analysed record. With three RMS boundaries the library
  /// shifts the end of the start transition by its own RMS boundary and not by the one that its stretch began at, with
  /// an odd number from five on the end transition by the last one.
  [[nodiscard]] const std::vector<int>& boundaries() const { return boundaries_; }

  /// By how many degrees an angle turns from one window position to another without any jump.
  using Drift = std::function<double(int from, int to)>;

  /// Phase jump of a segment against the time before the dip, degrees, in (-180, 180]. Taken from the angles on either
  /// side of each transition: over a long dip a frequency next to the nominal one turns them by more than any jump.
  [[nodiscard]] std::array<double, 3> phase_jump(int segment, const Drift& drift) const;

  /// Degrees to add to the point on wave: the library takes its times from the window's first sample and its angles
  /// from the start transition's stretch.
  [[nodiscard]] double point_on_wave_correction() const;

 private:
  void put_shifts_back();
  void move_reference_points();
  [[nodiscard]] int reference_point(int segment) const;
  [[nodiscard]] std::array<double, 3> angles_at(int window_position) const;
  [[nodiscard]] int boundary_in_window(int index) const;

  dq_dipx_struct result_;
  int window_begin_;
  int cycle_;
  std::vector<int> boundaries_;
};

}  // namespace analysis::embedded
