#include "archive/add.h"

#include <fmt/format.h>
#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <ctime>
#include <deque>
#include <memory>
#include <numeric>
#include <optional>
#include <set>
#include <system_error>
#include <utility>

#include "archive/analysed_record.h"
#include "archive/batch.h"
#include "archive/found_files.h"
#include "archive/known_files.h"
#include "archive/pending_events.h"
#include "archive/worker.h"
#include "readers/text.h"

namespace archive {

namespace {

using Clock = std::chrono::steady_clock;

/// A file, or a record in a zip file, that has to be read.
struct Task {
  FoundFile file;
  std::string stamp;
  std::size_t records = 1;  ///< in its file

  [[nodiscard]] std::string name() const { return file.member.empty() ? file.path : file.path + ":" + file.member; }
};

/// A worker and what it is doing.
struct Slot {
  std::unique_ptr<Worker> worker;
  std::optional<Task> task;
  std::string sha256;  ///< of the record that is being analysed; empty while it is loaded
  Clock::time_point deadline;
};

/// Returns the date and time in UTC to the second, ISO 8601.
std::string now_text() {
  const std::time_t now = std::time(nullptr);
  std::tm parts{};
  gmtime_r(&now, &parts);
  char text[32];
  const std::size_t length = std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts);
  return {text, length};
}

class Run {
 public:
  Run(Store& store, const AddSettings& settings)
      : settings_(settings),
        worker_settings_{settings.how, origin_of(settings.how), settings.memory_mb},
        known_(store, worker_settings_.origin, settings.retry),
        batch_(store),
        slots_(std::max<std::size_t>(settings.jobs, 1)) {
    store.query("SELECT analysis FROM stored_refusals WHERE analysis LIKE 'path-%'", {},
                [this](const Row& row) { unread_.insert(text_of(row[0])); });
  }

  AddSummary add(FoundFiles found) {
    summary_.complaints = std::move(found.complaints);
    summary_.files = total_ = found.files.size();
    files_ = std::move(found.files);
    store_parameters();
    while (!is_stopped() && give_out_tasks()) {
      wait();
      stop_late_workers();
      batch_.write_if_due();
      forget_written();
      report();
    }
    batch_.write();
    complain_about_vanished();
    summary_.seconds = std::chrono::duration<double>(Clock::now() - start_).count();
    return std::move(summary_);
  }

 private:
  [[nodiscard]] bool is_stopped() const { return settings_.is_stopped && settings_.is_stopped(); }

  void store_parameters() {
    const Origin& origin = worker_settings_.origin;
    StoredUnit unit;
    unit.tables = {
        {&parameters_table(), {{origin.parameters, origin.version, options_text(settings_.how), now_text()}}}};
    batch_.add(std::move(unit));
    batch_.write();
  }

  // --- giving out tasks ---

  /// Gives each idle worker a task. Returns false when there is nothing left to do or to wait for.
  bool give_out_tasks() {
    bool busy = false;
    for (Slot& slot : slots_) {
      if (!slot.task) {
        auto task = next_task();
        if (task) begin(slot, std::move(*task));
      }
      busy = busy || slot.task;
    }
    return busy;
  }

  std::optional<Task> next_task() {
    while (waiting_.empty() && next_file_ < files_.size() && !is_stopped()) {
      consider(files_[next_file_++]);
      batch_.write_if_due();
      report();
    }
    if (waiting_.empty()) return std::nullopt;
    Task task = std::move(waiting_.front());
    waiting_.pop_front();
    return task;
  }

  /// Makes tasks of a file, or none if the store knows all records in it.
  void consider(FoundFile& file) {
    const std::string stamp = stamp_of(file);
    if (stamp.empty()) {
      note_vanished(file);
      return;
    }
    const auto parts = file.member.empty() ? known_.parts_of(file, stamp) : std::nullopt;
    if (!parts || (parts->empty() && file.named)) {
      waiting_.push_back({std::move(file), stamp});
      return;
    }
    if (parts->empty()) {
      summary_.no_record++;
      done_++;
      return;
    }
    total_ += parts->size() - 1;
    for (const KnownFiles::Part& part : *parts) {
      if (is_done(part.sha256)) {
        done_++;
        continue;
      }
      FoundFile member = file;
      member.member = part.member;
      waiting_.push_back({std::move(member), stamp, parts->size()});
    }
  }

  /// Returns whether a record need not be analysed, and counts it.
  bool is_done(const std::string& sha256) {
    if (!settings_.shard.holds(sha256)) {
      summary_.other_shard++;
      return true;
    }
    if (in_work_.count(sha256) == 0 && !known_.has(sha256)) return false;
    summary_.known++;
    return true;
  }

  void begin(Slot& slot, Task task) {
    if (!slot.worker) slot.worker = std::make_unique<Worker>(worker_settings_);
    slot.sha256.clear();
    slot.worker->load(task.file, task.stamp);
    slot.task = std::move(task);
    slot.deadline = deadline();
  }

  [[nodiscard]] Clock::time_point deadline() const {
    return Clock::now() +
           std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(settings_.timeout_s));
  }

  // --- answers ---

  void wait() {
    std::vector<pollfd> descriptors;
    std::vector<Slot*> busy;
    auto until = Clock::now() + Batch::longest_wait;
    for (Slot& slot : slots_) {
      if (!slot.task) continue;
      descriptors.push_back({slot.worker->descriptor(), POLLIN, 0});
      busy.push_back(&slot);
      until = std::min(until, slot.deadline);
    }
    const auto rest = std::chrono::duration<double, std::milli>(until - Clock::now()).count();
    const int count = poll(descriptors.data(), descriptors.size(), std::max(0, static_cast<int>(std::ceil(rest))));
    if (count < 0 && errno != EINTR) throw std::system_error(errno, std::generic_category(), "waiting for workers");
    if (count <= 0) return;
    for (std::size_t i = 0; i < busy.size(); i++) {
      if (descriptors[i].revents != 0) take_from(*busy[i]);
    }
  }

  void take_from(Slot& slot) {
    if (!slot.worker->receive()) {
      const std::string end = slot.worker->kill();
      slot.worker.reset();
      refuse(slot, reason_crashed, fmt::format("its worker process {}; please report the record", end));
      return;
    }
    while (const auto answer = slot.worker ? slot.worker->next() : std::nullopt) take(slot, *answer);
  }

  void take(Slot& slot, const Message& answer) {
    const std::string kind = answer.at("kind");
    if (kind == "none") {
      store_file(*slot.task, "", 0);
      summary_.no_record++;
      finish(slot);
    } else if (kind == "zip") {
      take_members(slot, answer.at("members"));
    } else if (kind == "record") {
      take_hash(slot, answer.at("sha256"));
    } else if (kind == "analysed") {
      take_rows(slot, rows_in(answer.at("tables")));
    } else {
      const std::string reason = answer.at("reason");
      // After a lack of memory the worker ends by itself.
      if (reason == reason_memory) slot.worker.reset();
      const std::string message = answer.at("message");
      refuse(slot, reason, reason == reason_memory ? message : complaint_without_name(*slot.task, message));
    }
  }

  void take_members(Slot& slot, const std::vector<std::string>& members) {
    const Task archive = *slot.task;
    total_ += members.size() - 1;
    // The records come next, while a worker still has the archive in memory.
    for (auto member = members.rbegin(); member != members.rend(); ++member) {
      Task task = archive;
      task.file.member = *member;
      task.records = members.size();
      waiting_.push_front(std::move(task));
    }
    slot.task.reset();
  }

  void take_hash(Slot& slot, const std::string& sha256) {
    if (is_done(sha256)) {
      slot.worker->forget();
      store_file(*slot.task, sha256, slot.task->records);
      finish(slot);
      return;
    }
    in_work_.insert(sha256);
    slot.sha256 = sha256;
    slot.deadline = deadline();
    slot.worker->analyse(key_of(sha256));
  }

  void take_rows(Slot& slot, std::vector<TableRows> tables) {
    std::size_t events = 0;
    std::string refusal;
    for (const TableRows& one : tables) {
      if (one.table == &events_table()) events = one.rows.size();
      constexpr std::size_t outcome = 4;
      constexpr std::size_t reason = 3;
      const bool refused = one.table == &analyses_table() && text_of(one.rows.front()[outcome]) == "refused";
      if (refused) refusal = reason_not_analysable;
      if (one.table == &refusals_table() && !refusal.empty() && !one.rows.empty()) {
        refusal = text_of(one.rows.front()[reason]);
      }
    }
    if (settings_.announce) add_pending(tables);
    summary_.events += events;
    if (refusal.empty()) {
      summary_.read++;
    } else {
      summary_.refused[refusal]++;
    }
    store(slot, std::move(tables));
  }

  // --- storing ---

  [[nodiscard]] std::string key_of(const std::string& sha256) const {
    return analysis_key(sha256, worker_settings_.origin);
  }

  [[nodiscard]] std::string unread_key_of(const Task& task) const {
    return unread_key(stored_path(task.file) + ":" + task.file.member, worker_settings_.origin);
  }

  static Row file_row(const Task& task, const std::string& sha256, std::size_t records) {
    return {stored_path(task.file), task.file.member, task.stamp, whole(records), sha256};
  }

  /// Returns an empty unit for a file, which removes what is no longer true about it.
  StoredUnit unit_for(const Task& task) {
    StoredUnit unit;
    unit.path = stored_path(task.file);
    unit.stamp = task.stamp;
    const std::string unread = unread_key_of(task);
    if (unread_.erase(unread) > 0) unit.replaced.push_back(unread);
    return unit;
  }

  void store_file(const Task& task, const std::string& sha256, std::size_t records) {
    StoredUnit unit = unit_for(task);
    unit.tables = {{&files_table(), {file_row(task, sha256, records)}}};
    batch_.add(std::move(unit));
  }

  /// Stores the rows of the record in a slot.
  void store(Slot& slot, std::vector<TableRows> tables) {
    StoredUnit unit = unit_for(*slot.task);
    if (settings_.retry) unit.replaced.push_back(key_of(slot.sha256));
    unit.tables = std::move(tables);
    stored_.push_back(slot.sha256);
    unit.tables.push_back({&files_table(), {file_row(*slot.task, slot.sha256, slot.task->records)}});
    batch_.add(std::move(unit));
    finish(slot);
  }

  /// The store itself knows the records whose rows are written.
  void forget_written() {
    if (!batch_.empty()) return;
    for (const std::string& sha256 : stored_) in_work_.erase(sha256);
    stored_.clear();
  }

  void finish(Slot& slot) {
    slot.task.reset();
    slot.sha256.clear();
    done_++;
  }

  // --- refusals ---

  /// Complaints of the readers begin with the name of the file, which `refuse` adds.
  static std::string complaint_without_name(const Task& task, const std::string& message) {
    const std::string name = readers::inert(task.name()) + ": ";
    return message.starts_with(name) ? message.substr(name.size()) : message;
  }

  void refuse(Slot& slot, const std::string& reason, const std::string& cause) {
    const Task& task = *slot.task;
    if (stamp_of(task.file).empty()) {
      note_vanished(task.file);
      slot.task.reset();
      return;
    }
    summary_.refused[reason]++;
    const std::string message = task.name() + ": " + cause;
    if (!slot.sha256.empty()) {
      const RecordIdentity identity{slot.sha256, key_of(slot.sha256), task.name()};
      store(slot, {{&analyses_table(), {analysis_row(identity, worker_settings_.origin, {})}},
                   {&refusals_table(), {refusal_row(identity, 0, 0, reason, message)}}});
      return;
    }
    StoredUnit unit;
    const std::string key = unread_key_of(task);
    unread_.insert(key);
    unit.replaced = {key};
    unit.tables = {{&refusals_table(), {refusal_row({"", key, task.name()}, 0, 0, reason, message)}}};
    batch_.add(std::move(unit));
    finish(slot);
  }

  void stop_late_workers() {
    const auto now = Clock::now();
    for (Slot& slot : slots_) {
      if (!slot.task || slot.deadline > now) continue;
      slot.worker.reset();
      refuse(slot, reason_timeout,
             fmt::format("took longer than {:g} s; allow more with --timeout", settings_.timeout_s));
    }
  }

  void note_vanished(const FoundFile& file) {
    if (vanished_++ == 0) first_vanished_ = readers::inert(file.path);
    done_++;
  }

  void complain_about_vanished() {
    if (vanished_ == 0) return;
    const std::string others = vanished_ == 1 ? "" : fmt::format(", as have {} more files", vanished_ - 1);
    summary_.complaints.emplace_back(first_vanished_, "", "has vanished during the run" + others,
                                     "check that the folder is still there, then run the command again");
  }

  // --- progress ---

  void report() {
    const double seconds = std::chrono::duration<double>(Clock::now() - start_).count();
    const double rate = static_cast<double>(done_) / std::max(seconds, 1e-3);
    const double left = static_cast<double>(total_ - std::min(done_, total_)) / std::max(rate, 1e-9);
    const std::size_t refused = summary_.all_refused();
    settings_.report_stage(
        fmt::format("{} of {} records{}, {:.0f} a second, {:.0f} s left", done_, total_,
                    refused == 0 ? "" : fmt::format(", {} refused", refused), rate, done_ == 0 ? 0 : left),
        total_ == 0 ? 1 : static_cast<double>(done_) / static_cast<double>(total_));
  }

  const AddSettings& settings_;
  WorkerSettings worker_settings_;
  KnownFiles known_;
  Batch batch_;
  AddSummary summary_;
  std::vector<FoundFile> files_;
  std::size_t next_file_ = 0;
  std::deque<Task> waiting_;
  std::set<std::string> unread_;     ///< keys of files whose content could not be read
  std::set<std::string> in_work_;    ///< records of this run, which the store may not know yet
  std::vector<std::string> stored_;  ///< those of them whose rows were handed to the batch
  std::size_t total_ = 0;
  std::size_t done_ = 0;
  std::size_t vanished_ = 0;
  std::string first_vanished_;
  Clock::time_point start_ = Clock::now();
  std::vector<Slot> slots_;
};

}  // namespace

bool Shard::holds(const std::string& sha256) const {
  if (of <= 1 || sha256.size() < 16) return true;
  return std::stoull(sha256.substr(0, 16), nullptr, 16) % of == number - 1;
}

std::size_t AddSummary::all_refused() const {
  return std::accumulate(refused.begin(), refused.end(), std::size_t{0},
                         [](std::size_t sum, const auto& reason) { return sum + reason.second; });
}

AddSummary add_records(Store& store, const std::vector<std::string>& paths, const AddSettings& settings) {
  Run run(store, settings);
  settings.report_stage("looking for records", -1);
  return run.add(find_files(paths));
}

AddSummary add_files(Store& store, FoundFiles files, const AddSettings& settings) {
  return Run(store, settings).add(std::move(files));
}

}  // namespace archive
