#include "archive/found_files.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <set>
#include <system_error>

#include "archive/named_files.h"
#include "platform/utf8_path.h"
#include "readers/archive.h"
#include "readers/file_access.h"
#include "readers/text.h"

namespace archive {

namespace {

namespace fs = std::filesystem;

class Search {
 public:
  void add(const std::string& path) {
    std::error_code error;
    const fs::file_status status = fs::status(platform::utf8_path(path), error);
    if (fs::is_directory(status)) {
      add_folder(path, path);
    } else if (fs::exists(status)) {
      add_named(path);
    } else if (const auto named = readers::split_archive_path(path); !named.inner.empty()) {
      add_once({named.archive, "", named.archive, true, named.inner});
    } else {
      const auto matches = matches_of(path);
      if (matches.empty()) {
        throw readers::ReadError(readers::inert(path), "", "does not exist", "check the path");
      }
      for (const std::string& match : matches) add(match);
    }
  }

  FoundFiles found;

 private:
  /// Adds a file unless it was found before under the same or another spelling of its path.
  void add_once(FoundFile file) {
    const std::string key = stored_path(file) + '\n' + file.member;
    if (seen_.insert(key).second) found.files.push_back(std::move(file));
  }

  void add_named(const std::string& path) {
    const std::string extension = readers::extension_of(path);
    if (extension == ".cfg") {
      add_once({path, readers::find_beside(path, ".dat").value_or(""), path, true});
    } else if (const auto config = extension == ".dat" ? readers::find_beside(path, ".cfg") : std::nullopt) {
      add_once({*config, path, path, true});
    } else {
      add_once({path, "", path, true});
    }
  }

  void add_folder(const std::string& folder, const std::string& root) {
    found.folders.push_back(folder);
    std::error_code error;
    std::vector<fs::directory_entry> entries;
    for (fs::directory_iterator entry(platform::utf8_path(folder), error); !error && entry != fs::directory_iterator();
         entry.increment(error)) {
      if (!entry->path().filename().string().starts_with('.')) entries.push_back(*entry);
    }
    if (error) {
      found.complaints.emplace_back(readers::inert(folder), "", "cannot be listed: " + error.message(),
                                    "check that the folder is there and its read permission, then run the command "
                                    "again");
      return;
    }
    std::sort(entries.begin(), entries.end());
    add_files(entries, root);
    for (const fs::directory_entry& entry : entries) {
      // Links to folders are not followed, because they could lead in a circle.
      if (entry.is_directory(error) && !entry.is_symlink(error)) add_folder(entry.path().string(), root);
    }
  }

  /// Adds the files of one folder. The .dat file of each .cfg file is looked up in a table, because a folder may hold a
  /// hundred thousand pairs.
  void add_files(const std::vector<fs::directory_entry>& entries, const std::string& root) {
    std::map<std::string, std::vector<std::string>> data_files;
    std::error_code error;
    for (const fs::directory_entry& entry : entries) {
      const std::string path = entry.path().string();
      if (readers::extension_of(path) == ".dat") data_files[key_of(entry.path())].push_back(path);
    }
    for (const fs::directory_entry& entry : entries) {
      if (!entry.is_regular_file(error)) continue;
      const std::string path = entry.path().string();
      const std::string extension = readers::extension_of(path);
      if (readers::is_one_of(extension, {".dat", ".hdr", ".inf"})) continue;
      const auto pair = extension == ".cfg" ? data_files.find(key_of(entry.path())) : data_files.end();
      add_once({path, pair == data_files.end() ? "" : best_of(pair->second, entry.path()), root, false});
    }
  }

  static std::string key_of(const fs::path& path) { return readers::lower_case(path.stem().string()); }

  /// Chooses the .dat file that is spelled most like the .cfg file, as the readers do.
  static std::string best_of(const std::vector<std::string>& data_files, const fs::path& config) {
    for (const std::string& data : data_files) {
      if (platform::utf8_path(data).stem() == config.stem()) return data;
    }
    return data_files.front();
  }

  std::set<std::string> seen_;
};

}  // namespace

FoundFiles find_files(const std::vector<std::string>& paths) {
  Search search;
  for (const std::string& path : paths) search.add(path);
  return std::move(search.found);
}

bool names_several(const std::string& path) {
  std::error_code ignored;
  const fs::file_status status = fs::status(platform::utf8_path(path), ignored);
  if (fs::exists(status)) return fs::is_directory(status);
  return path.find_first_of("*?") != path.npos && !matches_of(path).empty();
}

std::string stored_path(const FoundFile& file) {
  std::error_code error;
  const auto absolute = fs::absolute(platform::utf8_path(file.path), error);
  return error ? file.path : absolute.lexically_normal().string();
}

std::string stamp_of(const FoundFile& file) {
  const std::string stamp = stamp_of_one(file.path);
  if (stamp.empty() || file.data.empty()) return stamp;
  const std::string data = stamp_of_one(file.data);
  return data.empty() ? data : stamp + " " + data;
}

}  // namespace archive
