#include "readers/archive.h"

#include <fmt/format.h>
#include <zip.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <filesystem>
#include <limits>
#include <memory>
#include <system_error>

#include "platform/utf8_path.h"
#include "readers/comtrade/comtrade.h"
#include "readers/file_access.h"
#include "readers/pqdif/pqdif.h"
#include "readers/record.h"
#include "readers/text.h"

namespace readers {
namespace {

// A file of a few kilobytes can claim to hold terabytes. Waveforms are noisy and shrink to a third or a tenth; a text
// table of dead channels shrinks to a hundredth.
constexpr std::uint64_t always_allowed = std::uint64_t{64} << 20;
constexpr std::uint64_t most_bytes = std::uint64_t{4} << 30;
constexpr std::uint64_t most_ratio = 250;

/// Throws ReadError if content has become unreasonably large.
void check_size(const std::string& file, std::uint64_t compressed, std::uint64_t size) {
  const bool too_dense = size > always_allowed && size / most_ratio > compressed;
  if (!too_dense && size <= most_bytes) return;
  throw ReadError(file, "",
                  fmt::format("its content grows beyond {} MB from {} compressed bytes, more than a record can",
                              (too_dense ? always_allowed : most_bytes) >> 20, compressed),
                  "extract it with another program and check what it holds");
}

std::string list_of(const ZipFile& zip, const std::vector<std::size_t>& indices) {
  constexpr std::size_t most = 20;
  std::string list;
  for (std::size_t i = 0; i < std::min(indices.size(), most); i++) {
    list += (i == 0 ? "" : ", ") + inert(zip.names()[indices[i]]);
  }
  if (indices.size() > most) list += fmt::format(" and {} more", indices.size() - most);
  return list;
}

std::string error_text(int code) {
  zip_error_t error;
  zip_error_init_with_code(&error, code);
  std::string text = zip_error_strerror(&error);
  zip_error_fini(&error);
  return inert(text);
}

bool is_table_name(const std::string& extension) {
  return is_one_of(extension, {".csv", ".tsv", ".txt"});
}

}  // namespace

bool is_zip(std::string_view content) {
  return content.starts_with("PK\x03\x04") || content.starts_with("PK\x05\x06");
}

bool is_gzip(std::string_view content) {
  return content.starts_with("\x1F\x8B\x08");
}

std::string gunzipped(const std::string& file, std::string_view content) {
  constexpr std::size_t piece_size = std::size_t{1} << 18;
  constexpr int window_of_gzip = 15 + 16;
  z_stream stream{};
  if (inflateInit2(&stream, window_of_gzip) != Z_OK) throw std::bad_alloc();
  const std::unique_ptr<z_stream, int (*)(z_stream*)> owner(&stream, inflateEnd);
  const std::unique_ptr<char[]> piece(new char[piece_size]);
  std::string result;
  std::string_view rest = content;
  int status = Z_OK;
  while (status == Z_OK || (status == Z_STREAM_END && is_gzip(rest))) {
    if (status == Z_STREAM_END) inflateReset(&stream);  // a gzip file may consist of several members
    const auto given = static_cast<uInt>(std::min<std::size_t>(rest.size(), std::numeric_limits<uInt>::max()));
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(rest.data()));
    stream.avail_in = given;
    stream.next_out = reinterpret_cast<Bytef*>(piece.get());
    stream.avail_out = piece_size;
    status = inflate(&stream, Z_NO_FLUSH);
    rest.remove_prefix(given - stream.avail_in);
    result.append(piece.get(), piece_size - stream.avail_out);
    check_size(file, content.size(), result.size());
  }
  if (status == Z_STREAM_END) return result;
  throw ReadError(file, fmt::format("byte {}", content.size() - rest.size()),
                  rest.empty() ? "the compressed data end too early" : "the compressed data are damaged",
                  "copy the file again in binary mode");
}

ArchivePath split_archive_path(const std::string& path) {
  std::error_code ignored;
  if (std::filesystem::exists(platform::utf8_path(path), ignored)) return {path, ""};
  for (std::size_t colon = path.find(':'); colon != path.npos; colon = path.find(':', colon + 1)) {
    const std::string archive = path.substr(0, colon);
    if (std::filesystem::is_regular_file(platform::utf8_path(archive), ignored))
      return {archive, path.substr(colon + 1)};
  }
  return {path, ""};
}

struct ZipFile::Handle {
  zip_t* zip = nullptr;
};

ZipFile::ZipFile(const std::string& file, std::string_view content) : file_(file), handle_(new Handle) {
  std::unique_ptr<Handle> handle(handle_);
  zip_error_t error;
  zip_error_init(&error);
  zip_source_t* source = zip_source_buffer_create(content.data(), content.size(), 0, &error);
  if (source != nullptr) handle->zip = zip_open_from_source(source, ZIP_RDONLY, &error);
  const int code = zip_error_code_zip(&error);
  zip_error_fini(&error);
  if (handle->zip == nullptr) {
    if (source != nullptr) zip_source_free(source);
    throw ReadError(file_, "", "is not a complete zip file: " + error_text(code), "copy the file again in binary mode");
  }
  const zip_int64_t count = zip_get_num_entries(handle->zip, 0);
  for (zip_int64_t i = 0; i < count; i++) {
    const char* name = zip_get_name(handle->zip, static_cast<zip_uint64_t>(i), 0);
    const std::string text = name == nullptr ? "" : name;
    if (text.empty() || text.ends_with('/') || text.starts_with("__MACOSX/")) continue;
    names_.push_back(text);
    entries_.push_back(static_cast<std::size_t>(i));
  }
  static_cast<void>(handle.release());
}

ZipFile::~ZipFile() {
  zip_discard(handle_->zip);
  delete handle_;
}

std::string ZipFile::content(std::size_t index) const {
  const std::string name = file_ + ":" + inert(names_[index]);
  zip_stat_t stat;
  zip_stat_init(&stat);
  if (zip_stat_index(handle_->zip, entries_[index], 0, &stat) != 0) {
    throw ReadError(name, "", "cannot be read from the archive", "copy the archive again in binary mode");
  }
  if ((stat.valid & ZIP_STAT_ENCRYPTION_METHOD) != 0 && stat.encryption_method != ZIP_EM_NONE) {
    throw ReadError(name, "", "is encrypted", "extract it with its password, and name the extracted file");
  }
  const std::unique_ptr<zip_file_t, int (*)(zip_file_t*)> opened(zip_fopen_index(handle_->zip, entries_[index], 0),
                                                                 zip_fclose);
  const auto refuse = [&](zip_error_t* error) {
    throw ReadError(name, "", "cannot be read from the archive: " + inert(zip_error_strerror(error)),
                    "copy the archive again in binary mode, or extract it with another program");
  };
  if (!opened) refuse(zip_get_error(handle_->zip));
  check_size(name, stat.comp_size, stat.size);
  std::string result;
  constexpr std::size_t piece_size = std::size_t{1} << 18;
  const std::unique_ptr<char[]> piece(new char[piece_size]);
  for (;;) {
    const zip_int64_t count = zip_fread(opened.get(), piece.get(), piece_size);
    if (count < 0) refuse(zip_file_get_error(opened.get()));
    if (count <= 0) return result;
    result.append(piece.get(), static_cast<std::size_t>(count));
    check_size(name, stat.comp_size, result.size());
  }
}

std::optional<std::size_t> ZipFile::beside(std::size_t index, std::string_view extension) const {
  const std::filesystem::path named = platform::utf8_path(names_[index]);
  const std::string wanted = lower_case((named.parent_path() / named.stem()).generic_string()) + std::string(extension);
  for (std::size_t i = 0; i < names_.size(); i++) {
    if (lower_case(names_[i]) == wanted) return i;
  }
  return std::nullopt;
}

std::vector<std::size_t> ZipFile::records() const {
  std::vector<std::size_t> records;
  std::vector<std::size_t> tables;
  std::vector<std::size_t> configurations;
  for (std::size_t i = 0; i < names_.size(); i++) {
    const std::string extension = extension_of(names_[i]);
    if (is_one_of(extension, {".cff", ".pqd", ".pqdif"}) || (extension == ".cfg" && beside(i, ".dat"))) {
      records.push_back(i);
    } else if (extension == ".cfg") {
      configurations.push_back(i);
    } else if (is_table_name(extension)) {
      tables.push_back(i);
    } else if (!is_one_of(extension, {".dat", ".hdr", ".inf"})) {
      const std::string bytes = content(i);
      if (is_single_comtrade(bytes) || is_pqdif(bytes)) records.push_back(i);
    }
  }
  return !records.empty() ? records : !tables.empty() ? tables : configurations;
}

std::size_t ZipFile::chosen(const std::string& inner) const {
  if (!inner.empty()) {
    for (const bool any_case : {false, true}) {
      for (std::size_t i = 0; i < names_.size(); i++) {
        if (any_case ? lower_case(names_[i]) == lower_case(inner) : names_[i] == inner) return i;
      }
    }
  }
  const std::vector<std::size_t> found = records();
  if (inner.empty() && found.size() == 1) return found[0];
  if (!inner.empty()) {
    throw ReadError(file_, "", "holds no file " + cited(inner),
                    found.empty() ? "it has no records" : "name one of its records: " + list_of(*this, found));
  }
  if (found.empty()) {
    std::vector<std::size_t> all(names_.size());
    for (std::size_t i = 0; i < all.size(); i++) all[i] = i;
    throw ReadError(
        file_, "", "holds no record" + (all.empty() ? std::string() : ", only " + list_of(*this, all)),
        "a record in an archive is a .cfg with its .dat, a .cff, a PQDIF file (.pqd, .pqdif), or a table (.csv, .tsv, "
        ".txt)");
  }
  throw ReadError(file_, "", fmt::format("holds {} records: {}", found.size(), list_of(*this, found)),
                  "choose one, as in " + file_ + ":" + inert(names_[found[0]]));
}

}  // namespace readers
