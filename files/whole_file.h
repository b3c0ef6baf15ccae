// Writes files that appear under their name completely or not at all.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "files/new_files.h"

namespace files {

/// Writes `bytes` to `file` and replaces its previous content. The bytes are first written under a temporary name in
/// the same folder. A name that is a link, whether or not its target exists, is written through. Throws
/// std::system_error whose text names the file; in that case nothing has changed.
void write_whole(const std::filesystem::path& file, const std::string& bytes);

/// Returns whether there is a file of this name that a new one would replace. Devices and pipes are not replaced.
bool would_replace(const std::filesystem::path& file);

/// Returns whether both names denote the same file, whether or not it exists yet. Devices and pipes never count as the
/// same file.
bool is_same_file(const std::filesystem::path& one, const std::filesystem::path& other);

/// A file to be written.
struct NamedBytes {
  std::filesystem::path file;
  std::string bytes;
};

/// Does the same for files that belong together: none is replaced before all of them are written under temporary names.
/// If existing files are to be kept and there is one, std::system_error has the code EEXIST and nothing is written.
/// Returns the files that were replaced.
std::vector<std::filesystem::path> write_whole(const std::vector<NamedBytes>& files,
                                               Existing existing = Existing::replaced);

}  // namespace files
