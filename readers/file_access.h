// Bringing whole files into memory, and finding the other file of a pair.
#pragma once

#include <cstddef>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace readers {

/// All bytes of the file. Throws ReadError when it is a directory or cannot be read.
std::string read_file(const std::string& path);

/// A file read from start to end in pieces.
class FileStream {
 public:
  /// Throws ReadError when the file is a folder or cannot be read; so does `next`.
  explicit FileStream(const std::string& path);

  /// The next piece, valid until the next call; empty at the end.
  std::string_view next();

  /// What the file's folder says of its size; 0 for pipes.
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

/// All bytes of standard input.
std::string read_standard_input();

/// The file beside `path` that has the same name but `extension` (lower case, with dot) for its own, in any letter
/// case; the one written most like `path` when there are several. Throws ReadError when the folder cannot be listed.
std::optional<std::string> find_beside(const std::string& path, const std::string& extension);

/// The name's extension in lower case with its dot, empty when it has none.
std::string extension_of(const std::string& path);

}  // namespace readers
