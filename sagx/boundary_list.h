// The working lists in which the segmentations turn crossings into boundaries, where a zero marks an entry as removed;
// and the rules that a finished list must follow. Private to the library.
#pragma once

#include <algorithm>

#include "sagx/dq_dipx.h"

namespace sagx {

inline constexpr int working_list_capacity = 128;

/// Crossings or boundaries in order; entries beyond `count` are left over from earlier use.
struct BoundaryList {
  int at[working_list_capacity] = {};
  int count = 0;

  /// Moves the remaining entries to the front. Entries beyond the new count are left unchanged.
  void compact() {
    int kept = 0;
    for (int i = 0; i < count; i++) {
      if (at[i] != 0) at[kept++] = at[i];
    }
    count = kept;
  }

  void remove_pair(int i) { at[i] = at[i + 1] = 0; }

  /// Joins transitions less than `gap` samples apart; each pair is the end of one transition and the start of the next.
  /// Stops checking pairs before fewer than four boundaries could remain.
  void join_short_gaps(int gap) {
    if (count <= 4) return;
    int budget = count;
    for (int i = 1; i < count - 1; i += 2) {
      if (at[i + 1] - at[i] < gap) remove_pair(i);
      budget -= 2;
      if (budget <= 4) break;
    }
    compact();
  }
};

/// Returns the first rule of boundary lists that this one breaks: 1 for a count outside 2 to 32, 2 for a negative
/// entry, 3 for an entry below its predecessor; 0 if it breaks none. A null list counts as an empty one.
inline int broken_rule(const int* boundaries, int count) {
  if (boundaries == nullptr || count < 2 || count > DQ_LIST_CAPACITY) return 1;
  if (std::any_of(boundaries, boundaries + count, [](int boundary) { return boundary < 0; })) return 2;
  return std::is_sorted(boundaries, boundaries + count) ? 0 : 3;
}

}  // namespace sagx
