// Reads files that may be records, recognises them by their content, and hashes what they hold.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "archive/found_files.h"
#include "readers/open_record.h"

namespace archive {

/// What a file turned out to be.
enum class FileKind {
  no_record,  ///< it is something else, and the user did not name it
  zip,        ///< it holds records
  record
};

struct LoadedFile {
  FileKind kind = FileKind::no_record;
  std::vector<std::string> members;  ///< of a zip file, the records in it
  readers::RecordContents contents;  ///< of a record, unpacked
  std::string sha256;                ///< of a record: of its unpacked bytes, .cfg before .dat
};

/// Loads files one after another. The latest zip file stays open, because its records are usually loaded in turn.
class FileLoader {
 public:
  FileLoader();
  FileLoader(const FileLoader&) = delete;
  FileLoader& operator=(const FileLoader&) = delete;
  ~FileLoader();

  /// `stamp` is that of the file (stamp_of). Throws readers::ReadError, also if the user named a file that is not a
  /// record.
  LoadedFile load(const FoundFile& file, const std::string& stamp);

 private:
  struct OpenZip;
  OpenZip& zip_of(const FoundFile& file, const std::string& stamp, std::string&& bytes);

  std::unique_ptr<OpenZip> zip_;
};

}  // namespace archive
