// Files that stand under their name whole or not at all.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace files {

/// Writes `bytes` to `file`, replacing what stood there, by way of a temporary name beside it. Throws std::system_error
/// whose text names the file; then nothing has changed.
void write_whole(const std::filesystem::path& file, const std::string& bytes);

/// Whether both names are of one file, be it there or not yet. Devices and pipes are nobody's own.
bool is_same_file(const std::filesystem::path& one, const std::filesystem::path& other);

/// A file to be written.
struct NamedBytes {
  std::filesystem::path file;
  std::string bytes;
};

/// The same for files that belong together: none is replaced before all of them are written under temporary names.
void write_whole(const std::vector<NamedBytes>& files);

}  // namespace files
