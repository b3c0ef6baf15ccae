#include "readers/record_hashes.h"

#include <filesystem>
#include <string_view>
#include <utility>

#include "platform/utf8_path.h"
#include "readers/archive.h"
#include "readers/content_hash.h"
#include "readers/file_access.h"
#include "readers/text.h"

namespace readers {

namespace {

/// Returns a name without folders that is text in any case.
std::string plain_name(const std::string& path) {
  return inert(platform::utf8_path(path).filename().string());
}

ContentHash hash_of(const std::string& name, std::string_view content) {
  return {plain_name(name), content.size(), sha256_hex(content)};
}

ContentHash hash_of_file(const std::string& path) {
  Sha256 hash;
  std::size_t bytes = 0;
  FileStream stream(path);
  for (;;) {
    const std::string_view piece = stream.next();
    if (piece.empty()) return {plain_name(path), bytes, hash.hex()};
    hash.add(piece);
    bytes += piece.size();
  }
}

/// Returns the hash of the file that opens the record, and that of its partner if the record has two files.
std::vector<ContentHash> hashes_in_zip(const std::string& name, std::string_view content, const std::string& inner) {
  const ZipFile zip(name, content);
  std::size_t index = zip.chosen(inner);
  const std::string extension = extension_of(zip.names()[index]);
  const bool configuration = extension == ".cfg";
  const bool data = extension == ".dat";
  const auto partner = configuration || data ? zip.beside(index, data ? ".cfg" : ".dat") : std::nullopt;
  if (!partner) return {hash_of(zip.names()[index], zip.content(index))};
  std::size_t second = *partner;
  if (data) std::swap(index, second);
  return {hash_of(zip.names()[index], zip.content(index)), hash_of(zip.names()[second], zip.content(second))};
}

}  // namespace

std::vector<ContentHash> content_hashes(const std::string& path, const Record& record) {
  const ArchivePath named = split_archive_path(path);
  const bool several = record.sources.size() > 1;
  if (!several) {
    const FileText text(named.archive);
    const std::string_view content = text.view();
    if (is_zip(content)) return hashes_in_zip(named.archive, content, named.inner);
    if (is_gzip(content)) {
      const std::filesystem::path file = platform::utf8_path(named.archive);
      const bool gz = extension_of(named.archive) == ".gz";
      return {hash_of(gz ? file.stem().string() : named.archive, gunzipped(named.archive, content))};
    }
    return {hash_of(named.archive, content)};
  }
  std::vector<ContentHash> hashes;
  for (const std::string& source : record.sources) hashes.push_back(hash_of_file(source));
  return hashes;
}

}  // namespace readers
