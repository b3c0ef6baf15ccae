// Records in archives: zip files (.zip, .cfz and others) with one or more records, and single files compressed by gzip.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace readers {

/// Returns whether content is that of a zip file or of a gzip file, as its first bytes show.
bool is_zip(std::string_view content);
bool is_gzip(std::string_view content);

/// Returns what a gzip file holds. `file` is its name for messages. Throws ReadError if it is damaged or unreasonably
/// large.
std::string gunzipped(const std::string& file, std::string_view content);

/// The path of an archive and the name of a file in it, given as "archive.zip:folder/record.cfg".
struct ArchivePath {
  std::string archive;
  std::string inner;  ///< empty if none was named
};

/// Splits such a path at the colon after the name of an existing file; the path of a file that exists stays whole.
ArchivePath split_archive_path(const std::string& path);

/// The files in a zip file. They are read only when asked for.
class ZipFile {
 public:
  /// `file` is the archive's name for messages; `content` must outlive this object. Throws ReadError if it is damaged.
  ZipFile(const std::string& file, std::string_view content);
  ~ZipFile();
  ZipFile(const ZipFile&) = delete;
  ZipFile& operator=(const ZipFile&) = delete;

  /// The names of all files, in the archive's order; folders are left out. They are valid UTF-8 but may contain
  /// control characters.
  [[nodiscard]] const std::vector<std::string>& names() const { return names_; }

  /// Returns the content of a file by its index in `names`. Throws ReadError if it is damaged, encrypted or
  /// unreasonably large.
  [[nodiscard]] std::string content(std::size_t index) const;

  /// Returns the index of the file that has the same folder and stem as another and the extension (lower case, with
  /// dot), in any letter case.
  [[nodiscard]] std::optional<std::size_t> beside(std::size_t index, std::string_view extension) const;

  /// Returns the files by which records are opened: configurations that have their data beside them, single-file
  /// records and PQDIF files; if there are none, tables; if there are none of these either, configurations alone.
  [[nodiscard]] std::vector<std::size_t> records() const;

  /// Returns the record to open: the one that is named, in the exact spelling or else in any letter case, or the only
  /// one. Throws ReadError with a list of the records if there is no such record or the choice is open.
  [[nodiscard]] std::size_t chosen(const std::string& inner) const;

 private:
  struct Handle;

  std::string file_;
  Handle* handle_;
  std::vector<std::string> names_;
  std::vector<std::size_t> entries_;  ///< the entry of each name in the archive
};

}  // namespace readers
