// Collects rows and writes those of many records in one transaction.
#pragma once

#include <chrono>
#include <cstddef>
#include <utility>
#include <vector>

#include "archive/store.h"

namespace archive {

/// Units that are handed to it are written when they hold about a thousand rows. Units that are still in it when it is
/// destroyed are lost, so that a run that fails writes nothing more.
class Batch {
 public:
  explicit Batch(Store& store) : store_(store) {}

  /// Throws StoreError, as all functions that write.
  void add(StoredUnit unit) {
    if (units_.empty()) since_ = Clock::now();
    rows_ += unit.rows();
    units_.push_back(std::move(unit));
    if (rows_ >= rows_in_transaction) write();
  }

  /// Writes everything.
  void write() {
    if (units_.empty()) return;
    store_.write(units_);
    units_.clear();
    rows_ = 0;
  }

  /// Writes everything if the oldest unit has waited for a second.
  void write_if_due() {
    if (!units_.empty() && Clock::now() - since_ >= longest_wait) write();
  }

  /// Returns whether everything is written.
  [[nodiscard]] bool empty() const { return units_.empty(); }

  static constexpr auto longest_wait = std::chrono::seconds(1);

 private:
  using Clock = std::chrono::steady_clock;
  static constexpr std::size_t rows_in_transaction = 1000;

  Store& store_;
  std::vector<StoredUnit> units_;
  std::size_t rows_ = 0;
  Clock::time_point since_;
};

}  // namespace archive
