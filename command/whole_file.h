// Files that stand under their name whole or not at all.
#pragma once

#include <filesystem>
#include <string>

namespace command {

/// Writes `bytes` to `file`, replacing what stood there, by way of a temporary name beside it. Throws std::system_error
/// whose text names the file; then nothing has changed.
void write_whole(const std::filesystem::path& file, const std::string& bytes);

}  // namespace command
