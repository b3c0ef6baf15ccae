#include "archive/known_files.h"

namespace archive {

std::optional<std::vector<KnownFiles::Part>> KnownFiles::parts_of(const FoundFile& file, const std::string& stamp) {
  std::vector<Part> parts;
  std::size_t expected = 0;
  std::size_t rows = 0;
  store_.query("SELECT member, sha256, records FROM stored_files WHERE path = $1 AND stamp = $2",
               {stored_path(file), stamp}, [&](const Row& row) {
                 rows++;
                 expected = static_cast<std::size_t>(whole_of(row[2]));
                 if (expected > 0) parts.push_back({text_of(row[0]), text_of(row[1])});
               });
  // A run may have been killed before it had stored all records of a zip file.
  if (rows == 0 || parts.size() != expected) return std::nullopt;
  return parts;
}

bool KnownFiles::has(const std::string& sha256) {
  bool found = false;
  store_.query("SELECT outcome FROM stored_analyses WHERE analysis = $1", {analysis_key(sha256, origin_)},
               [&](const Row& row) { found = !retry_ || text_of(row[0]) != "refused"; });
  return found;
}

}  // namespace archive
