#include "readers/file_access.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <system_error>
#include <tuple>

#include "readers/record.h"
#include "readers/text.h"

namespace readers {
namespace {

namespace fs = std::filesystem;

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

[[noreturn]] void refuse_unreadable(const std::string& name, const std::error_code& error) {
  throw ReadError(inert(name), "", "cannot be read: " + error.message(), "check the name and the right to read it");
}

std::error_code last_error() {
  return {errno, std::generic_category()};
}

/// Reads to the end rather than by a stated size: pipes have none.
std::string read_all(std::FILE* file, const std::string& name) {
  std::string content;
  std::array<char, 1 << 16> block;
  while (const std::size_t count = std::fread(block.data(), 1, block.size(), file)) content.append(block.data(), count);
  if (std::ferror(file)) refuse_unreadable(name, last_error());
  return content;
}

}  // namespace

std::string read_file(const std::string& path) {
  std::error_code ignored;
  if (fs::is_directory(path, ignored)) {
    throw ReadError(inert(path), "", "is a folder, not a record", "name a file in it");
  }
  const std::unique_ptr<std::FILE, CloseFile> file(std::fopen(path.c_str(), "rb"));
  if (!file) refuse_unreadable(path, last_error());
  return read_all(file.get(), path);
}

std::string read_standard_input() {
  return read_all(stdin, "standard input");
}

std::optional<std::string> find_beside(const std::string& path, const std::string& extension) {
  const fs::path named(path);
  const std::string stem = named.stem().string();
  const std::string wanted = lower_case(stem) + extension;

  std::error_code error;
  const fs::path folder = named.has_parent_path() ? named.parent_path() : fs::path(".");
  fs::directory_iterator entry(folder, error);
  // Best is the same stem with the extension in capitals or not like that of `path`, then the same stem, then any.
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
  return (named.parent_path() / std::get<2>(*best)).string();
}

std::string extension_of(const std::string& path) {
  return lower_case(fs::path(path).extension().string());
}

}  // namespace readers
