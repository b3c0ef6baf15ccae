#include "files/whole_file.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <memory>
#include <optional>
#include <system_error>

#include "files/unfinished.h"
#include "platform/opened_file.h"

namespace files {

namespace {

/// A temporary file that is removed again unless it was renamed.
class Draft {
 public:
  explicit Draft(const std::filesystem::path& target) : name_(target) {
    const SignalsHeld held;
    descriptor_ = new_file(name_);
    if (descriptor_ >= 0) unfinished_.emplace(name_);
  }
  Draft(const Draft&) = delete;
  Draft& operator=(const Draft&) = delete;
  ~Draft() {
    const SignalsHeld held;
    if (descriptor_ >= 0) {
      std::error_code ignored;
      close(descriptor_);
      std::filesystem::remove(name_, ignored);
    }
    unfinished_.reset();
  }

  bool write(const std::string& bytes) const {
    if (descriptor_ < 0) return false;
    constexpr std::size_t most = std::size_t{1} << 30;
    for (std::size_t done = 0; done < bytes.size();) {
      const auto piece = static_cast<unsigned>(std::min(bytes.size() - done, most));
      const auto count = ::write(descriptor_, bytes.data() + done, piece);
      if (count < 0 && errno != EINTR) return false;
      if (count > 0) done += static_cast<std::size_t>(count);
    }
    return finish(descriptor_);
  }

  bool rename_to(const std::filesystem::path& target, Existing existing) {
    if (!rename_file(name_, target, existing)) return false;
    close(descriptor_);
    descriptor_ = -1;
    unfinished_.reset();
    return true;
  }

 private:
  std::filesystem::path name_;
  int descriptor_;
  std::optional<Unfinished> unfinished_;
};

[[noreturn]] void fail(const std::filesystem::path& file) {
  throw std::system_error(errno, std::generic_category(), file.string());
}

void write_in_place(const std::filesystem::path& file, const std::string& bytes) {
  std::FILE* stream = platform::opened_file(file, "wb");
  const bool opened = stream != nullptr;
  const bool written = opened && std::fwrite(bytes.data(), 1, bytes.size(), stream) == bytes.size();
  if (!(opened && std::fclose(stream) == 0 && written)) fail(file);
}

/// Returns the target of a link, which is written so that the link itself remains. The target need not exist.
std::filesystem::path behind_links(const std::filesystem::path& file) {
  constexpr int most_links = 40;
  std::error_code error;
  std::filesystem::path path = file;
  for (int i = 0; i < most_links && std::filesystem::is_symlink(path, error); i++) {
    const auto target = std::filesystem::read_symlink(path, error);
    if (error) break;
    path = path.parent_path() / target;  // an absolute target replaces the folder
  }
  if (std::filesystem::is_symlink(path, error)) {
    errno = ELOOP;
    fail(file);
  }
  return path;
}

}  // namespace

bool is_same_file(const std::filesystem::path& one, const std::filesystem::path& other) {
  std::error_code ignored;
  if (is_written_in_place(one)) return false;
  const auto full = [&](const std::filesystem::path& name) {
    return std::filesystem::weakly_canonical(std::filesystem::absolute(behind_links(name), ignored), ignored);
  };
  return std::filesystem::equivalent(one, other, ignored) || full(one) == full(other);
}

void write_whole(const std::filesystem::path& file, const std::string& bytes) {
  write_whole({{file, bytes}});
}

bool would_replace(const std::filesystem::path& file) {
  std::error_code ignored;
  return std::filesystem::exists(file, ignored) && !is_written_in_place(file);
}

std::vector<std::filesystem::path> write_whole(const std::vector<NamedBytes>& files, Existing existing) {
  std::vector<std::filesystem::path> replaced;
  for (const auto& [file, bytes] : files) {
    if (!would_replace(file)) continue;
    if (existing == Existing::kept) {
      errno = EEXIST;
      fail(file);
    }
    replaced.push_back(file);
  }
  std::vector<std::unique_ptr<Draft>> drafts;
  for (const auto& [file, bytes] : files) {
    drafts.push_back(is_written_in_place(file) ? nullptr : std::make_unique<Draft>(behind_links(file)));
    if (drafts.back() != nullptr && !drafts.back()->write(bytes)) fail(file);
    // This is checked before any file is replaced, because a failing rename would come too late for the files before
    // it.
    if (std::error_code ignored; std::filesystem::is_directory(file, ignored)) {
      errno = EISDIR;
      fail(file);
    }
  }
  // A signal between the renames would leave files that do not belong together.
  const SignalsHeld held;
  for (std::size_t i = 0; i < files.size(); i++) {
    const auto& [file, bytes] = files[i];
    if (drafts[i] == nullptr) {
      write_in_place(file, bytes);
    } else if (!drafts[i]->rename_to(behind_links(file), existing)) {
      fail(file);
    }
  }
  return replaced;
}

}  // namespace files
