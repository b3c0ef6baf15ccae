#include "command/health_file.h"

#include <unistd.h>

#include <ctime>
#include <nlohmann/json.hpp>
#include <system_error>

#include "files/whole_file.h"

namespace command {

namespace {

using Json = nlohmann::ordered_json;
using Clock = std::chrono::steady_clock;

std::string now_text() {
  const std::time_t now = std::time(nullptr);
  std::tm parts{};
  gmtime_r(&now, &parts);
  char text[32];
  return {text, std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts)};
}

}  // namespace

void HealthFile::write(const archive::WatchState& state) {
  if (file_.empty()) return;
  constexpr auto shortest = std::chrono::seconds(1);
  constexpr auto longest = std::chrono::seconds(10);
  const auto age = Clock::now() - written_;
  if (written_once_ && (age < shortest || (age < longest && state == last_))) return;
  last_ = state;
  try {
    write_now(state.problems.empty() ? "healthy" : "failing", state.problems);
  } catch (const std::system_error&) {
    if (!written_once_) throw;
  }
  written_once_ = true;
  written_ = Clock::now();
}

void HealthFile::write_end(const std::string& problem) {
  if (file_.empty()) return;
  try {
    write_now(problem.empty() ? "stopped" : "failing", problem.empty() ? last_.problems : std::vector{problem});
  } catch (const std::system_error&) {
    // The reason for which the watch ends is reported in other ways too.
  }
}

void HealthFile::write_now(const std::string& state, const std::vector<std::string>& problems) {
  const Json document = {{"state", state},
                         {"time", now_text()},
                         {"process", getpid()},
                         {"records", last_.records},
                         {"events", last_.events},
                         {"refused", last_.refused},
                         {"waiting", last_.waiting},
                         {"waiting_files", last_.waiting_files},
                         {"announced", last_.announced},
                         {"problems", problems}};
  files::write_whole(file_, document.dump(2, ' ', false, Json::error_handler_t::replace) + "\n");
}

}  // namespace command
