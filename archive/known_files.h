// Recalls what a store knows about records and files.
#pragma once

#include <optional>
#include <set>
#include <string>
#include <vector>

#include "archive/found_files.h"
#include "archive/parameters.h"
#include "archive/store.h"

namespace archive {

class KnownFiles {
 public:
  /// With `retry`, records that were refused count as not known.
  KnownFiles(Store& store, Origin origin, bool retry) : store_(store), origin_(std::move(origin)), retry_(retry) {}

  /// One record in a file that has been read before.
  struct Part {
    std::string member;
    std::string sha256;
  };

  /// Returns the records in a file if it has not changed since they were found; nothing if it must be read. The list is
  /// empty if the file is known not to be a record.
  std::optional<std::vector<Part>> parts_of(const FoundFile& file, const std::string& stamp);

  /// Returns whether the record has been analysed, or refused, with the same parameters and version.
  bool has(const std::string& sha256);

 private:
  Store& store_;
  Origin origin_;
  bool retry_;
};

}  // namespace archive
