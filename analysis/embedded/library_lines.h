// The library prints its trace to standard output and standard error whatever its host does there. The command keeps
// both for itself: while a LibraryLines lives, those lines go to standard error or nowhere.
#pragma once

namespace analysis::embedded {

class LibraryLines {
 public:
  /// `show`: to standard error; otherwise they are dropped. Throws std::system_error when a descriptor cannot be moved.
  explicit LibraryLines(bool show);
  LibraryLines(const LibraryLines&) = delete;
  LibraryLines& operator=(const LibraryLines&) = delete;
  ~LibraryLines();

 private:
  int saved_out_;
  int saved_err_;
};

}  // namespace analysis::embedded
