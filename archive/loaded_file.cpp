#include "archive/loaded_file.h"

#include <algorithm>
#include <optional>
#include <string_view>
#include <utility>

#include "readers/archive.h"
#include "readers/comtrade/comtrade.h"
#include "readers/content_hash.h"
#include "readers/file_access.h"
#include "readers/pqdif/pqdif.h"
#include "readers/record.h"
#include "readers/table/rows.h"
#include "readers/text.h"

namespace archive {

namespace {

constexpr std::size_t head_size = 4096;

/// Returns whether some of the first lines have at least two fields and only numbers in them, as a table of samples
/// does.
bool has_rows_of_numbers(std::string_view head) {
  if (head.find('\0') != head.npos && !readers::is_utf16(head)) return false;
  if (readers::is_utf16(head)) return true;
  readers::Lines lines(head);
  while (const auto line = lines.next()) {
    if (lines.at_end()) return false;  // the last line may be cut
    if (readers::is_separated_by_blanks(*line)) return true;
    for (const char separator : {';', '\t', ','}) {
      const auto fields = readers::split_fields(*line, separator);
      if (fields.size() < 2) continue;
      const bool numbers = std::all_of(fields.begin(), fields.end(), [](std::string_view field) {
        std::string text(field);
        std::replace(text.begin(), text.end(), ',', '.');
        return readers::parse_number(text).has_value();
      });
      if (numbers) return true;
    }
  }
  return false;
}

/// Returns whether the second line counts channels as that of a COMTRADE configuration does: "12,8A,4D".
bool is_configuration(std::string_view head) {
  readers::Lines lines(head);
  lines.next();
  const auto counts = lines.next();
  const auto fields = counts ? readers::split_fields(*counts, ',') : std::vector<std::string_view>();
  return fields.size() == 3 && readers::parse_count(fields[0]) && fields[1].ends_with('A');
}

/// Returns whether a file may be a record, by its first bytes and where they leave it open by its name.
bool may_be_record(const std::string& name, std::string_view head) {
  const std::string extension = readers::extension_of(name);
  if (readers::is_pqdif(head) || readers::is_single_comtrade(head)) return true;
  if (readers::is_one_of(extension, {".cff", ".pqd", ".pqdif", ".csv", ".tsv"})) return true;
  if (readers::is_one_of(extension, {".dat", ".hdr", ".inf"})) return false;
  return extension == ".cfg" ? is_configuration(head) : has_rows_of_numbers(head);
}

/// Reads the rest of a file. `bytes` holds its first piece.
void read_rest(readers::FileStream& stream, std::string& bytes) {
  bytes.reserve(std::max(bytes.size(), stream.stated_size()));
  for (std::string_view piece = stream.next(); !piece.empty(); piece = stream.next()) bytes += piece;
}

std::string content_of(const std::string& path) {
  readers::FileStream stream(path);
  std::string bytes;
  read_rest(stream, bytes);
  return bytes;
}

LoadedFile record_of(readers::RecordContents contents) {
  LoadedFile loaded;
  loaded.kind = FileKind::record;
  if (contents.data_name.empty() && readers::is_gzip(contents.bytes)) {
    contents.bytes = readers::gunzipped(contents.name, contents.bytes);
    if (contents.name.ends_with(".gz")) contents.name.resize(contents.name.size() - 3);
  }
  readers::Sha256 hash;
  hash.add(contents.bytes);
  hash.add(contents.data);
  loaded.sha256 = hash.hex();
  loaded.contents = std::move(contents);
  return loaded;
}

}  // namespace

struct FileLoader::OpenZip {
  OpenZip(const FoundFile& file, std::string stamp_now, std::string&& content)
      : path(file.path), stamp(std::move(stamp_now)), bytes(std::move(content)), zip(readers::inert(path), bytes) {}

  /// Returns the names of all records, each pair by its .cfg file.
  [[nodiscard]] std::vector<std::string> records() const {
    std::vector<std::string> found;
    for (std::size_t i = 0; i < zip.names().size(); i++) {
      const std::string& name = zip.names()[i];
      const std::string extension = readers::extension_of(name);
      if (readers::is_one_of(extension, {".dat", ".hdr", ".inf"})) continue;
      const bool pair = extension == ".cfg" && zip.beside(i, ".dat");
      if (pair || may_be_record(name, zip.content(i))) found.push_back(name);
    }
    return found;
  }

  [[nodiscard]] LoadedFile load(const std::string& member) const {
    const auto name_of = [&](std::size_t index) { return path + ":" + zip.names()[index]; };
    const std::size_t index = zip.chosen(member);
    const bool config = readers::extension_of(member) == ".cfg";
    const std::size_t none = zip.names().size();
    const std::size_t data = config ? zip.beside(index, ".dat").value_or(none) : none;
    readers::RecordContents contents{name_of(index), zip.content(index), "", ""};
    if (data != none) {
      contents.data_name = name_of(data);
      contents.data = zip.content(data);
    }
    return record_of(std::move(contents));
  }

  std::string path;
  std::string stamp;
  std::string bytes;
  readers::ZipFile zip;  ///< refers to `bytes`
};

FileLoader::FileLoader() = default;
FileLoader::~FileLoader() = default;

FileLoader::OpenZip& FileLoader::zip_of(const FoundFile& file, const std::string& stamp, std::string&& bytes) {
  zip_.reset();
  zip_ = std::make_unique<OpenZip>(file, stamp, std::move(bytes));
  return *zip_;
}

LoadedFile FileLoader::load(const FoundFile& file, const std::string& stamp) {
  if (!file.member.empty()) {
    const bool open = zip_ && zip_->path == file.path && zip_->stamp == stamp;
    return (open ? *zip_ : zip_of(file, stamp, content_of(file.path))).load(file.member);
  }
  if (!file.data.empty()) return record_of({file.path, content_of(file.path), file.data, content_of(file.data)});
  readers::FileStream stream(file.path);
  std::string bytes(stream.next());
  LoadedFile loaded;
  if (readers::is_zip(bytes)) {
    read_rest(stream, bytes);
    const OpenZip& zip = zip_of(file, stamp, std::move(bytes));
    loaded.members = zip.records();
    if (!loaded.members.empty()) loaded.kind = FileKind::zip;
    if (loaded.members.empty() && file.named) static_cast<void>(zip.zip.chosen(""));  // says what it holds instead
    return loaded;
  }
  const std::string_view head = std::string_view(bytes).substr(0, head_size);
  if (readers::is_gzip(bytes)) {
    read_rest(stream, bytes);
    LoadedFile record = record_of({file.path, std::move(bytes), "", ""});
    const bool wanted = file.named || may_be_record(record.contents.name, record.contents.bytes.substr(0, head_size));
    return wanted ? std::move(record) : loaded;
  }
  if (!file.named && !may_be_record(file.path, head)) return loaded;
  read_rest(stream, bytes);
  return record_of({file.path, std::move(bytes), "", ""});
}

}  // namespace archive
