#include "archive/watch.h"

#include <fmt/format.h>
#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <set>
#include <system_error>
#include <utility>

#include "archive/folder_changes.h"
#include "archive/inbox.h"
#include "readers/text.h"

namespace archive {

namespace {

using Clock = std::chrono::steady_clock;

/// So many files are added at a time, so that events are announced soon although many files wait.
constexpr std::size_t most_files = 500;
constexpr std::size_t most_events = 1000;
constexpr auto heartbeat = std::chrono::seconds(10);
constexpr auto shortest_pause = std::chrono::milliseconds(100);

Clock::duration seconds(double count) {
  return std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(count));
}

class Watch {
 public:
  Watch(Store& store, const std::string& folder, const WatchSettings& settings)
      : store_(store), settings_(settings), add_(settings.add), inbox_(folder, settings.settle_s) {
    add_.announce = static_cast<bool>(settings.announce);
    add_.report_stage = [this](const std::string&, double) { settings_.report(state_); };
  }

  void run() {
    const auto complaints = search();
    // Later the folder may come and go, but at the beginning it is probably mistyped.
    if (inbox_.folders().empty() && !complaints.empty()) throw complaints.front();
    announce_pending();
    while (!is_stopped()) {
      if (Clock::now() >= next_rescan_ || (changed_ && Clock::now() >= next_search_)) search();
      add_complete();
      announce_pending();
      report();
      wait();
    }
  }

 private:
  [[nodiscard]] bool is_stopped() const { return settings_.add.is_stopped && settings_.add.is_stopped(); }

  std::vector<readers::ReadError> search() {
    const auto begin = Clock::now();
    auto complaints = inbox_.search(begin);
    changed_ = changes_.watch(inbox_.folders());
    problems_.clear();
    for (const readers::ReadError& complaint : complaints) problems_.emplace_back(complaint.what());
    const auto end = Clock::now();
    next_rescan_ = end + seconds(settings_.rescan_s);
    // A search of a large folder must not take all the time, however many files arrive.
    next_search_ = end + std::max<Clock::duration>(shortest_pause, 10 * (end - begin));
    return complaints;
  }

  void add_complete() {
    FoundFiles found;
    found.files = inbox_.take_complete(Clock::now(), most_files);
    if (found.files.empty()) return;
    const AddSummary summary = add_files(store_, std::move(found), add_);
    state_.records += summary.read;
    state_.events += summary.events;
    state_.refused += summary.all_refused();
    announcing_ = announcing_ || summary.events > 0;
    settings_.added(summary);
  }

  /// Announces the events that are stored and were not announced, also those of an earlier watch that was killed.
  void announce_pending() {
    if (Clock::now() >= next_retry_) {
      failed_.clear();
      announcing_ = true;
      next_retry_ = Clock::now() + seconds(settings_.rescan_s);
    }
    if (!settings_.announce || !std::exchange(announcing_, false)) return;
    bool postponed = false;
    for (const PendingEvent& event : pending_events(store_, most_events + failed_.size())) {
      if (failed_.count(event.key) > 0) continue;
      if (postponed || is_stopped()) return;
      const Announcement end = settings_.announce(event);
      if (end == Announcement::done) {
        forget_pending(store_, event);
        state_.announced++;
        announcing_ = true;  // there may be more than the query returns
      } else {
        failed_.insert(event.key);
        postponed = end == Announcement::postponed;
      }
      settings_.report(state_);
    }
  }

  void report() {
    constexpr std::size_t most_named = 10;
    state_.waiting = inbox_.waiting();
    state_.waiting_files = inbox_.first_waiting(most_named);
    state_.problems = problems_;
    if (!failed_.empty()) {
      state_.problems.push_back(fmt::format("{} could not be announced; they are tried again later",
                                            readers::plural(failed_.size(), "event")));
    }
    settings_.report(state_);
  }

  void wait() {
    auto until = std::min({next_rescan_, next_retry_, Clock::time_point(Clock::now() + heartbeat)});
    if (const auto look = inbox_.next_look(Clock::now())) until = std::min(until, *look);
    if (changed_) until = std::min(until, next_search_);
    if (announcing_) until = Clock::now();
    pollfd descriptors[] = {{settings_.stop, POLLIN, 0}, {changes_.descriptor(), POLLIN, 0}};
    const double rest = std::chrono::duration<double, std::milli>(until - Clock::now()).count();
    // While a search is due anyway, the kernel's news can wait.
    const nfds_t count = changed_ ? 1 : 2;
    if (poll(descriptors, count, std::max(0, static_cast<int>(std::ceil(rest)))) < 0 && errno != EINTR) {
      throw std::system_error(errno, std::generic_category(), "waiting for files");
    }
    changed_ = changes_.take() || changed_;
  }

  Store& store_;
  const WatchSettings& settings_;
  AddSettings add_;
  Inbox inbox_;
  FolderChanges changes_;
  WatchState state_;
  std::vector<std::string> problems_;  ///< of the last search
  std::set<Row> failed_;               ///< keys of events whose announcement has failed and was not repeated yet
  bool changed_ = false;               ///< something has happened in the folder since the last search
  bool announcing_ = true;             ///< there may be events to announce
  Clock::time_point next_search_;
  Clock::time_point next_rescan_;
  Clock::time_point next_retry_;
};

}  // namespace

void watch(Store& store, const std::string& folder, const WatchSettings& settings) {
  Watch(store, folder, settings).run();
}

}  // namespace archive
