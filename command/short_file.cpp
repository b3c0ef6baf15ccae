#include "command/short_file.h"

#include <fmt/format.h>

#include <filesystem>
#include <fstream>

#include "platform/utf8_path.h"

namespace command {

std::string content_of_short_file(const std::string& file, const char* wanted) {
  constexpr std::size_t most = std::size_t{1} << 20;
  std::error_code ignored;
  if (std::filesystem::is_directory(platform::utf8_path(file), ignored)) {
    throw ShortFileError(fmt::format("{}: is a folder; name a file with {}", file, wanted));
  }
  std::ifstream in(platform::utf8_path(file), std::ios::binary);
  if (!in) {
    throw ShortFileError(fmt::format("{}: cannot be opened; check the path and its read permission", file));
  }
  std::string content(most + 1, '\0');
  in.read(content.data(), static_cast<std::streamsize>(content.size()));
  content.resize(static_cast<std::size_t>(in.gcount()));
  if (content.size() > most) {
    throw ShortFileError(fmt::format("{}: is longer than {} bytes; name a file with {}", file, most, wanted));
  }
  return content;
}

}  // namespace command
