#include "files/whole_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>
#include <system_error>

#include "files/unfinished.h"

namespace files {

namespace {

/// Renames a file unless there is one of that name already, even one that has just been made.
bool rename_beside(const char* name, const char* target) {
  if (renameat2(AT_FDCWD, name, AT_FDCWD, target, RENAME_NOREPLACE) == 0) return true;
  if (errno != EINVAL && errno != ENOSYS) return false;
  return link(name, target) == 0 && unlink(name) == 0;  // for file systems that cannot do it in one step
}

/// A temporary file that is removed again unless it was renamed.
class Draft {
 public:
  explicit Draft(const std::filesystem::path& target) : name_(target.string() + ".XXXXXX") {
    const SignalsHeld held;
    descriptor_ = mkostemp(name_.data(), O_CLOEXEC);
    if (descriptor_ >= 0) unfinished_.emplace(name_);
  }
  Draft(const Draft&) = delete;
  Draft& operator=(const Draft&) = delete;
  ~Draft() {
    const SignalsHeld held;
    if (descriptor_ >= 0) {
      close(descriptor_);
      unlink(name_.c_str());
    }
    unfinished_.reset();
  }

  bool write(const std::string& bytes) const {
    if (descriptor_ < 0) return false;
    for (std::size_t done = 0; done < bytes.size();) {
      const ssize_t count = ::write(descriptor_, bytes.data() + done, bytes.size() - done);
      if (count < 0 && errno != EINTR) return false;
      if (count > 0) done += static_cast<std::size_t>(count);
    }
    const mode_t mask = umask(0);
    umask(mask);
    return fchmod(descriptor_, 0666 & ~mask) == 0 && fsync(descriptor_) == 0;
  }

  bool rename_to(const std::filesystem::path& target, Existing existing) {
    const bool renamed = existing == Existing::kept ? rename_beside(name_.c_str(), target.c_str())
                                                    : std::rename(name_.c_str(), target.c_str()) == 0;
    if (!renamed) return false;
    close(descriptor_);
    descriptor_ = -1;
    unfinished_.reset();
    return true;
  }

 private:
  std::string name_;
  int descriptor_;
  std::optional<Unfinished> unfinished_;
};

[[noreturn]] void fail(const std::filesystem::path& file) {
  throw std::system_error(errno, std::generic_category(), file.string());
}

/// Returns whether the file is a device or pipe. These are written in place, because a rename would replace them by a
/// file.
bool is_written_in_place(const std::filesystem::path& file) {
  std::error_code ignored;
  return std::filesystem::exists(file, ignored) && !std::filesystem::is_regular_file(file, ignored) &&
         !std::filesystem::is_directory(file, ignored);
}

void write_in_place(const std::filesystem::path& file, const std::string& bytes) {
  std::FILE* stream = std::fopen(file.c_str(), "wb");
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
