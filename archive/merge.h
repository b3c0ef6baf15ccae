// Copies the content of one store into another.
#pragma once

#include <cstddef>

#include "archive/store.h"

namespace archive {

/// What a merge has copied and found in the target already.
struct MergeSummary {
  std::size_t records = 0;
  std::size_t known = 0;
  std::size_t events = 0;
};

/// Copies all records that `target` does not know from `source`, each of them with all its rows in one transaction.
/// Stores of any kind can be combined. A merge that was interrupted can be repeated. Throws StoreError.
MergeSummary merge_store(Store& target, Store& source);

}  // namespace archive
