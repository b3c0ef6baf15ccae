// Reports that some of several records could not be analysed.
#pragma once

#include <fmt/format.h>

#include <cstddef>
#include <stdexcept>

namespace command {

/// Each of these records was reported already.
class RecordsFailed : public std::runtime_error {
 public:
  /// `only_refused`: all of them could be read.
  RecordsFailed(std::size_t failed, std::size_t of, bool only_refused)
      : std::runtime_error(fmt::format("{} of {} records could not be analysed; the others are shown", failed, of)),
        only_refused_(only_refused) {}

  [[nodiscard]] bool only_refused() const { return only_refused_; }

 private:
  bool only_refused_;
};

}  // namespace command
