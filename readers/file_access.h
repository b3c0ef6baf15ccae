// Reads whole files into memory and finds the other file of a pair.
#pragma once

#include <cstddef>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/consumed_buffer.h"

namespace readers {

/// Reads a file from start to end in pieces.
class FileStream {
 public:
  /// Throws ReadError when the file is a folder or cannot be read; `next` does the same, and refuses a device such as
  /// /dev/zero, which may have no end. A pipe can be read only once, so it must not be opened twice.
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
  bool device_ = false;
  std::unique_ptr<char[]> piece_;
};

/// The whole content of a file. Its reader may release what it has read, so that a long file is not held twice, as text
/// and as numbers.
class FileText {
 public:
  /// Both throw what FileStream throws; the second one reads what is left of a file.
  explicit FileText(const std::string& path);
  explicit FileText(FileStream& stream);

  /// The content of standard input. Throws ReadError.
  static FileText of_standard_input();

  /// All bytes. Views of what was released must not be used any more.
  [[nodiscard]] std::string_view view() const { return content_.bytes(); }

  /// Releases what precedes a position in the text.
  void release_before(const char* position) { content_.give_back_before(position); }

 private:
  FileText() : content_(0) {}

  platform::ConsumedBuffer content_;
};

/// Returns the file in the same folder whose name is that of `path` with the extension `extension` (lower case, with
/// dot) in any letter case. If there are several, the one spelled most like `path` is chosen. Throws ReadError when the
/// folder cannot be listed.
std::optional<std::string> find_beside(const std::string& path, const std::string& extension);

/// Returns the extension of the name in lower case with its dot; it is empty when the name has none.
std::string extension_of(const std::string& path);

}  // namespace readers
