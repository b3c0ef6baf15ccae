#include "archive/inbox.h"

#include <algorithm>
#include <filesystem>
#include <utility>

#include "readers/file_access.h"
#include "readers/text.h"

namespace archive {

namespace {

bool is_empty(const std::string& path) {
  std::error_code error;
  return std::filesystem::file_size(path, error) == 0 && !error;
}

bool is_unfinished_transfer(const std::string& path) {
  return readers::is_one_of(readers::extension_of(path), {".part", ".partial", ".filepart", ".tmp", ".crdownload"});
}

}  // namespace

Inbox::Inbox(std::string folder, double settle_s)
    : folder_(std::move(folder)),
      settle_(
          std::chrono::duration_cast<std::chrono::steady_clock::duration>(std::chrono::duration<double>(settle_s))) {}

std::vector<readers::ReadError> Inbox::search(Time now) {
  FoundFiles found;
  try {
    found = find_files({folder_});
  } catch (const readers::ReadError& error) {
    return {error};
  }
  folders_ = std::move(found.folders);
  std::set<std::string> present;
  for (const FoundFile& file : found.files) {
    if (is_unfinished_transfer(file.path)) continue;
    present.insert(file.path);
    look_at(file, now);
  }
  // A folder that cannot be listed at the moment may come back with the same files.
  if (found.complaints.empty()) forget_missing(present);
  return std::move(found.complaints);
}

void Inbox::look_at(const FoundFile& file, Time now) {
  std::string stamp = stamp_of(file);
  const auto known = seen_.find(file.path);
  if (known != seen_.end() && known->second.stamp == stamp && known->second.file.data == file.data) return;
  seen_[file.path] = {file, std::move(stamp), now};
  waiting_.insert(file.path);
}

void Inbox::forget_missing(const std::set<std::string>& present) {
  std::erase_if(seen_, [&](const auto& one) { return present.count(one.first) == 0; });
  std::erase_if(waiting_, [&](const std::string& path) { return present.count(path) == 0; });
}

bool Inbox::has_all(const FoundFile& file) {
  if (readers::extension_of(file.path) == ".cfg" && file.data.empty()) return false;
  return !is_empty(file.path) && (file.data.empty() || !is_empty(file.data));
}

std::vector<FoundFile> Inbox::take_complete(Time now, std::size_t most) {
  std::vector<FoundFile> complete;
  for (auto path = waiting_.begin(); path != waiting_.end() && complete.size() < most;) {
    Seen& seen = seen_.at(*path);
    std::string stamp = stamp_of(seen.file);
    if (stamp != seen.stamp) {
      seen.stamp = std::move(stamp);
      seen.since = now;
    }
    // A file without a stamp has vanished, which the next search notices.
    const bool ready = !seen.stamp.empty() && now - seen.since >= settle_ && has_all(seen.file);
    if (ready) complete.push_back(seen.file);
    path = ready ? waiting_.erase(path) : std::next(path);
  }
  return complete;
}

std::vector<std::string> Inbox::first_waiting(std::size_t most) const {
  std::vector<std::string> first;
  for (auto path = waiting_.begin(); path != waiting_.end() && first.size() < most; ++path) first.push_back(*path);
  return first;
}

std::optional<Inbox::Time> Inbox::next_look(Time now) const {
  std::optional<Time> next;
  for (const std::string& path : waiting_) {
    const Seen& seen = seen_.at(path);
    if (seen.stamp.empty() || !has_all(seen.file)) continue;
    if (seen.since + settle_ <= now) return now;
    next = std::min(next.value_or(Time::max()), seen.since + settle_);
  }
  return next;
}

}  // namespace archive
