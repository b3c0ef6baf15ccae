// Reads whole files into memory and finds the other file of a pair.
#pragma once

#include <cstddef>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace readers {

/// Returns all bytes of the file. Throws ReadError when it is a directory or cannot be read.
std::string read_file(const std::string& path);

/// Reads a file from start to end in pieces.
class FileStream {
 public:
  /// Throws ReadError when the file is a folder or cannot be read; `next` does the same.
  explicit FileStream(const std::string& path);

  /// Returns the next piece, which is valid until the next call; it is empty at the end of the file.
  std::string_view next();

  /// Returns the size that the file system states for the file; 0 for pipes.
  [[nodiscard]] std::size_t stated_size() const { return stated_size_; }

 private:
  struct Close {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };
  std::string path_;
  std::unique_ptr<std::FILE, Close> file_;
  std::size_t stated_size_ = 0;
  std::unique_ptr<char[]> piece_;
};

/// Returns all bytes of standard input.
std::string read_standard_input();

/// Returns the file in the same folder whose name is that of `path` with the extension `extension` (lower case, with
/// dot) in any letter case. If there are several, the one spelled most like `path` is chosen. Throws ReadError when the
/// folder cannot be listed.
std::optional<std::string> find_beside(const std::string& path, const std::string& extension);

/// Returns the extension of the name in lower case with its dot; it is empty when the name has none.
std::string extension_of(const std::string& path);

}  // namespace readers
