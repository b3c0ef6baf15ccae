#include "command/progress.h"

#include <fmt/format.h>
#include <unistd.h>

#include "platform/descriptors.h"
#include "readers/text.h"

namespace command {

namespace {

constexpr auto patience = std::chrono::seconds(1);
constexpr auto pause = std::chrono::milliseconds(200);

/// Errors are ignored here, because a line of progress is not important enough for a message.
void write_line(int terminal, const std::string& text) {
  const std::string line = "\r\033[K" + text;
  [[maybe_unused]] const auto written = write(terminal, line.data(), static_cast<unsigned>(line.size()));
}

}  // namespace

Progress::Progress(bool wanted) : start_(std::chrono::steady_clock::now()) {
  if (!wanted || !platform::is_terminal(STDERR_FILENO) || platform::is_pipe(STDOUT_FILENO)) return;
  terminal_ = platform::kept_copy(STDERR_FILENO);
  if (terminal_ >= 0) thread_ = std::thread([this] { run(); });
}

Progress::~Progress() {
  finish();
}

void Progress::stage(const std::string& what, double done) {
  const std::lock_guard lock(mutex_);
  what_ = what;
  done_ = done;
}

void Progress::finish() {
  if (!thread_.joinable()) return;
  {
    const std::lock_guard lock(mutex_);
    ended_ = true;
  }
  wake_.notify_one();
  thread_.join();
  close(terminal_);
}

void Progress::run() {
  std::unique_lock lock(mutex_);
  const auto ended = [this] { return ended_; };
  if (wake_.wait_until(lock, start_ + patience, ended)) return;
  do {
    draw();
  } while (!wake_.wait_for(lock, pause, ended));
  write_line(terminal_, "");
}

void Progress::draw() const {
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(std::chrono::steady_clock::now() - start_);
  const std::string share = done_ < 0 ? "" : fmt::format(", {:.0f} %", 100 * done_);
  write_line(terminal_, fmt::format("{}{}, {} s", readers::inert(what_), share, seconds.count()));
}

}  // namespace command
