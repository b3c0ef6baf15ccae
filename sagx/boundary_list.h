// The working lists of the segmentations: crossings that become boundaries. A zero marks an entry as removed. Private
// to the stages.
#pragma once

namespace sagx {

inline constexpr int working_list_capacity = 128;

/// Crossings or boundaries in order; entries beyond `count` are left over from before.
struct BoundaryList {
  int at[working_list_capacity] = {};
  int count = 0;

  /// Moves the entries that are not removed to the front. What lies behind them stays as it is.
  void compact() {
    int kept = 0;
    for (int i = 0; i < count; i++) {
      if (at[i] != 0) at[kept++] = at[i];
    }
    count = kept;
  }

  void remove_pair(int i) { at[i] = at[i + 1] = 0; }
};

}  // namespace sagx
