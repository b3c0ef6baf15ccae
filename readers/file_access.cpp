#include "readers/file_access.h"

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <system_error>
#include <tuple>

#include "platform/descriptors.h"
#include "platform/opened_file.h"
#include "platform/utf8_path.h"
#include "readers/record.h"
#include "readers/text.h"

namespace readers {
namespace {

namespace fs = std::filesystem;

// A piece is small enough to stay in a fast cache while it is processed.
constexpr std::size_t piece_size = std::size_t{1} << 18;

[[noreturn]] void refuse_unreadable(const std::string& name, const std::error_code& error) {
  throw ReadError(inert(name), "", "cannot be read: " + error.message(), "check the path and its read permission");
}

std::error_code last_error() {
  return {errno, std::generic_category()};
}

/// Refuses what a device gives. A device that gives nothing, as /dev/null does, is an empty file.
void check_device(const std::string& name, bool device, std::size_t bytes) {
  if (!device || bytes == 0) return;
  throw ReadError(inert(name), "", "is a device, not a record", "name a file, or - for a pipe to standard input");
}

}  // namespace

FileStream::FileStream(const std::string& path) : path_(path), piece_(new char[piece_size]) {
  const fs::path file = platform::utf8_path(path);
  std::error_code ignored;
  if (fs::is_directory(file, ignored)) {
    throw ReadError(inert(path), "", "is a folder, not a record", "name a file in it");
  }
  file_.reset(platform::opened_file(file, "rb"));
  if (!file_) refuse_unreadable(path, last_error());
  std::setvbuf(file_.get(), nullptr, _IONBF, 0);
  std::error_code unknown;
  const auto size = fs::is_regular_file(file, unknown) ? fs::file_size(file, unknown) : 0;
  if (!unknown) stated_size_ = static_cast<std::size_t>(size);
  device_ = platform::is_device(fileno(file_.get()));
}

std::string_view FileStream::next() {
  const std::size_t count = std::fread(piece_.get(), 1, piece_size, file_.get());
  if (count < piece_size && std::ferror(file_.get())) refuse_unreadable(path_, last_error());
  check_device(path_, device_, count);
  return {piece_.get(), count};
}

FileText::FileText(FileStream& stream) : content_(stream.stated_size()) {
  for (std::string_view piece = stream.next(); !piece.empty(); piece = stream.next()) content_.append(piece);
}

FileText::FileText(const std::string& path) : FileText(*std::make_unique<FileStream>(path)) {}

FileText FileText::of_standard_input() {
  const bool device = platform::is_device(fileno(stdin));
  FileText text;
  const std::unique_ptr<char[]> block(new char[piece_size]);
  while (const std::size_t count = std::fread(block.get(), 1, piece_size, stdin)) {
    check_device("standard input", device, count);
    text.content_.append({block.get(), count});
  }
  if (std::ferror(stdin)) refuse_unreadable("standard input", last_error());
  return text;
}

std::optional<std::string> find_beside(const std::string& path, const std::string& extension) {
  const fs::path named = platform::utf8_path(path);
  const std::string stem = named.stem().string();
  const std::string wanted = lower_case(stem) + extension;

  std::error_code error;
  const fs::path folder = named.has_parent_path() ? named.parent_path() : fs::path(".");
  fs::directory_iterator entry(folder, error);
  // The best match has the same stem and an extension in the same letter case as that of `path`; the next best has the
  // same stem; after that, any other match will do.
  std::optional<std::tuple<bool, bool, std::string>> best;
  const bool small_letters = named.extension().string() == extension_of(path);
  for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
    const fs::path candidate = entry->path().filename();
    if (lower_case(candidate.string()) != wanted) continue;
    const bool other_letters = (candidate.extension().string() == extension) != small_letters;
    const std::tuple rank(candidate.stem().string() != stem, other_letters, candidate.string());
    if (!best || rank < *best) best = rank;
  }
  if (error) refuse_unreadable(folder.string(), error);
  if (!best) return std::nullopt;
  return (named.parent_path() / platform::utf8_path(std::get<2>(*best))).string();
}

std::string extension_of(const std::string& path) {
  return lower_case(platform::utf8_path(path).extension().string());
}

}  // namespace readers
