// Finds the files that may be records, by their names: the files of a pair come together.
#pragma once

#include <string>
#include <vector>

#include "readers/record.h"

namespace archive {

/// A file, or a pair of files, that may be a record or hold records.
struct FoundFile {
  std::string path;    ///< as the user would name it; of a pair the .cfg file
  std::string data;    ///< the .dat file of a pair; otherwise empty
  std::string root;    ///< the argument by which it was found
  bool named = false;  ///< the user named this very file, so it must be a record

  /// The member of a zip file, once it is known; empty: the file itself.
  std::string member = {};
};

struct FoundFiles {
  std::vector<FoundFile> files;
  std::vector<std::string> folders;            ///< that were searched
  std::vector<readers::ReadError> complaints;  ///< folders that cannot be listed
};

/// Returns the files that the paths name: files, folders with everything in them, and patterns such as "*.cfg" where no
/// file has that name. Files come in the order of the paths and of their names, each of them once. Hidden files and
/// pipes in folders are left out. Throws readers::ReadError if a path names nothing.
FoundFiles find_files(const std::vector<std::string>& paths);

/// Returns whether a path may name more than one file: a folder, or a pattern that files match and none has as its
/// name.
bool names_several(const std::string& path);

/// Returns the path under which a store keeps a file, whatever the current folder is.
std::string stored_path(const FoundFile& file);

/// Returns the size and the time of change of a file, or of both files of a pair; empty if there is no such file.
std::string stamp_of(const FoundFile& file);

}  // namespace archive
