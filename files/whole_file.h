// Writes files that appear under their name completely or not at all.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace files {

/// Writes `bytes` to `file` and replaces its previous content. The bytes are first written under a temporary name in
/// the same folder. Throws std::system_error whose text names the file; in that case nothing has changed.
void write_whole(const std::filesystem::path& file, const std::string& bytes);

/// Returns whether both names denote the same file, whether or not it exists yet. Devices and pipes never count as the
/// same file.
bool is_same_file(const std::filesystem::path& one, const std::filesystem::path& other);

/// A file to be written.
struct NamedBytes {
  std::filesystem::path file;
  std::string bytes;
};

/// Does the same for files that belong together: none is replaced before all of them are written under temporary names.
void write_whole(const std::vector<NamedBytes>& files);

}  // namespace files
