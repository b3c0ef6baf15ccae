#include "archive/known_files.h"

#include <algorithm>
#include <cctype>

namespace archive {

namespace {

/// Returns whether a text of a store is the hash of a record, which it may not be after damage.
bool is_hash(const std::string& text) {
  return text.size() == 64 &&
         std::all_of(text.begin(), text.end(), [](unsigned char digit) { return std::isxdigit(digit) != 0; });
}

}  // namespace

std::optional<std::vector<KnownFiles::Part>> KnownFiles::parts_of(const FoundFile& file, const std::string& stamp) {
  std::vector<Part> parts;
  std::size_t expected = 0;
  std::size_t rows = 0;
  bool whole = true;
  store_.query("SELECT member, sha256, records FROM stored_files WHERE path = $1 AND stamp = $2",
               {stored_path(file), stamp}, [&](const Row& row) {
                 rows++;
                 expected = static_cast<std::size_t>(whole_of(row[2]));
                 if (expected == 0) return;
                 parts.push_back({text_of(row[0]), text_of(row[1])});
                 whole = whole && is_hash(parts.back().sha256);
               });
  // A run may have been killed before it had stored all records of a zip file.
  if (rows == 0 || parts.size() != expected || !whole) return std::nullopt;
  return parts;
}

bool KnownFiles::has(const std::string& sha256) {
  bool found = false;
  store_.query("SELECT outcome FROM stored_analyses WHERE analysis = $1", {analysis_key(sha256, origin_)},
               [&](const Row& row) { found = !retry_ || text_of(row[0]) != "refused"; });
  return found;
}

}  // namespace archive
