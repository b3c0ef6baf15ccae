// Tests dipx watch as a service: what arrives is analysed once, however often it is killed.
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <random>
#include <thread>

#include "tests/command/archive_fixture.h"

namespace {

namespace fs = std::filesystem;

#ifdef DIPX_SANITIZED
constexpr int records_of_round = 3;  // The sanitizers make each record ten times as slow.
#else
constexpr int records_of_round = 20;
#endif

class Watch : public tests::Archiving {
 protected:
  Watch() { fs::create_directory("inbox"); }

  /// Starts a watch of inbox with a short settling time.
  pid_t start(const std::string& store, std::vector<std::string> more = {}) {
    std::vector<std::string> words = {"watch", "inbox", store, "--settle", "0.2", "--jobs", "2"};
    words.insert(words.end(), more.begin(), more.end());
    return tests::started(words, null_.get(), out_.descriptor(), err_.descriptor());
  }

  /// Ends a watch as systemd does, and returns its status.
  static int ended(pid_t watch) {
    kill(watch, SIGTERM);
    return tests::status_of(watch);
  }

  static void pause(int milliseconds) { std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds)); }

  /// Waits up to a minute until a condition holds. Returns whether it does.
  template <typename Condition>
  static bool soon(Condition condition) {
    for (int tries = 0; tries < 1200; tries++) {
      if (condition()) return true;
      pause(50);
    }
    return false;
  }
  static bool holds(const std::string& store, const std::string& from, std::int64_t rows) {
    return soon([&] { return fs::exists(store) && has_schema(store) && count(store, from) == rows; });
  }
  static bool has_schema(const std::string& store) {
    try {
      archive::open_store(store, archive::StoreUse::read);
      return true;
    } catch (const std::exception&) {
      return false;  // it is being made
    }
  }

  static nlohmann::json health() {
    const std::string bytes = tests::bytes_of("health.json");
    return bytes.empty() ? nlohmann::json::object() : nlohmann::json::parse(bytes);
  }
  static std::vector<std::string> lines_of(const std::string& file) {
    std::ifstream in(file);
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
  }

  tests::Stream out_;
  tests::Stream err_;
  tests::Descriptor null_{open("/dev/null", O_RDONLY | O_CLOEXEC)};
};

TEST_F(Watch, AnalysesWhatArrivesAsArchiveAddDoes) {
  make_records(3, "inbox");
  const pid_t watch = start("events.db", {"--health", "health.json", "--rescan", "3600"});
  EXPECT_TRUE(holds("events.db", "records", 3)) << err_.text();
  // A folder that is made later is watched too, and a pair may arrive in any order and with a pause.
  make_records(5, "later");
  fs::create_directories("inbox/new/folder");
  fs::rename("later/r4.dat", "inbox/new/folder/r4.dat");
  fs::rename("later/r5.cfg", "inbox/r5.cfg");
  const nlohmann::json incomplete = {"inbox/r5.cfg"};
  EXPECT_TRUE(soon([&] { return health()["waiting_files"] == incomplete; })) << health();
  pause(500);
  EXPECT_EQ(count("events.db", "records"), 3);
  fs::rename("later/r4.cfg", "inbox/new/folder/r4.cfg");
  fs::rename("later/r5.dat", "inbox/r5.dat");
  EXPECT_TRUE(holds("events.db", "records", 5)) << err_.text();
  EXPECT_TRUE(soon([] { return health().value("records", 0) == 5; })) << health();
  EXPECT_EQ(health()["state"], "healthy");
  EXPECT_EQ(ended(watch), 0);
  EXPECT_EQ(health()["state"], "stopped");
  EXPECT_EQ(health()["events"], 5);
  EXPECT_EQ(err_.text(), "");
  add("undisturbed.db", {"inbox"});
  EXPECT_EQ(content("events.db"), content("undisturbed.db"));
}

TEST_F(Watch, SearchesAgainForWhatTheKernelDoesNotReport) {
  const pid_t watch = start("events.db", {"--rescan", "0.3"});
  const tests::Descriptor open_file(open("inbox/r.csv", O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
  pause(500);  // an empty file is known to the watch by now, and that it grows is not reported while it stays open
  tests::MadeRecord(230, 0.4, 1600).lower("A", 0.1, 0.25, 100).write_csv("r.csv");
  const std::string bytes = tests::bytes_of("r.csv");
  ASSERT_EQ(write(open_file.get(), bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
  EXPECT_TRUE(holds("events.db", "events", 1)) << err_.text();
  EXPECT_EQ(ended(watch), 0);
}

TEST_F(Watch, RunsACommandForEachEvent) {
  make_records(2, "inbox");
  std::ofstream("inbox/none.csv") << "neither\na record\n";
  const std::string command =
      "cat >>json; printf '%s %s %s\\n' \"$DIPX_KIND\" \"$DIPX_NUMBER\" \"$DIPX_DURATION_S\" >>variables";
  const pid_t watch = start("events.db", {"--on-event", command});
  EXPECT_TRUE(soon([] { return lines_of("variables").size() == 2; })) << err_.text();
  EXPECT_TRUE(holds("events.db", "pending_events", 0));
  EXPECT_EQ(ended(watch), 0);
  const auto durations = rows("events.db", "SELECT duration_s FROM events ORDER BY sha256");
  EXPECT_EQ(lines_of("variables").at(0), fmt::format("dip 1 {}", *archive::number_of(durations.at(0).at(0))));
  std::set<std::string> announced;
  for (const std::string& line : lines_of("json")) announced.insert(line);
  const std::string exported = archive({"export", "events.db", "--format", "json-lines"}).out;
  for (const std::string& line : announced) EXPECT_NE(exported.find(line + "\n"), std::string::npos) << line;
  EXPECT_EQ(announced.size(), 2U);
  EXPECT_EQ(lines_of("json").size(), 2U);
}

TEST_F(Watch, RepeatsACommandThatFailsAndSaysSo) {
  make_records(1, "inbox");
  const pid_t first = start("events.db", {"--on-event", "exit 7", "--rescan", "0.3", "--health", "health.json"});
  EXPECT_TRUE(soon([] { return health().value("state", "") == "failing"; })) << health();
  EXPECT_EQ(ended(first), 0);
  EXPECT_NE(err_.text().find("r1.cfg: the command for its event ended with status 7; it will be repeated\n"),
            std::string::npos)
      << err_.text();
  EXPECT_EQ(count("events.db", "pending_events"), 1);
  // A command that hangs is killed with everything that it has started.
  const pid_t second = start("events.db", {"--on-event", "sleep 1000", "--on-event-timeout", "0.2"});
  EXPECT_TRUE(soon([&] { return err_.text().find("took longer than 0.2 s") != std::string::npos; })) << err_.text();
  EXPECT_EQ(ended(second), 0);
  const pid_t third = start("events.db", {"--on-event", "echo told >>told"});
  EXPECT_TRUE(holds("events.db", "pending_events", 0)) << err_.text();
  EXPECT_EQ(ended(third), 0);
  EXPECT_EQ(lines_of("told").size(), 1U);
}

TEST_F(Watch, KilledAtAnyMomentNothingIsLostOrDoubled) {
  constexpr int rounds = 10;
  constexpr int records = rounds * records_of_round;
  make_records(records, "rec");
  std::mt19937 generator(std::random_device{}());
  const std::string command = "printf '%s\\n' \"$DIPX_SHA256\" >>told";
  int killed = 0;
  for (int round = 0; round < rounds; round++) {
    const pid_t watch = start("events.db", {"--on-event", command});
    for (int i = 1 + round * records_of_round; i <= (round + 1) * records_of_round; i++) {
      for (const char* extension : {"dat", "cfg"}) {
        fs::rename(fmt::format("rec/r{}.{}", i, extension), fmt::format("inbox/r{}.{}", i, extension));
      }
    }
    pause(200 + static_cast<int>(generator() % 400));
    kill(watch, SIGKILL);
    killed += tests::status_of(watch) == -1 ? 1 : 0;
  }
  EXPECT_EQ(killed, rounds);
  const pid_t watch = start("events.db", {"--on-event", command, "--health", "health.json"});
  // There may be nothing left to do, but a signal must not come before the watch can handle it.
  EXPECT_TRUE(soon([] { return health().value("state", "") == "healthy"; })) << err_.text();
  EXPECT_TRUE(holds("events.db", "records", records)) << err_.text();
  EXPECT_TRUE(holds("events.db", "pending_events", 0)) << err_.text();
  EXPECT_EQ(ended(watch), 0);
  add("again.db", {"inbox"});
  EXPECT_EQ(content("events.db"), content("again.db"));
  EXPECT_EQ(archive({"export", "events.db", "--segments"}).out, archive({"export", "again.db", "--segments"}).out);
  EXPECT_EQ(count("events.db", "events"), records);
  // Every event was announced, and again at most the one at which a watch was killed.
  std::map<std::string, int> told;
  for (const std::string& sha256 : lines_of("told")) told[sha256]++;
  EXPECT_EQ(told.size(), static_cast<std::size_t>(records));
  EXPECT_LE(lines_of("told").size(), static_cast<std::size_t>(records + killed));
}

TEST_F(Watch, EndsAtOnceInTheMiddleOfALongRun) {
  make_records(15 * records_of_round, "inbox");
  const pid_t watch = start("events.db");
  EXPECT_TRUE(soon([&] { return fs::exists("events.db") && has_schema("events.db"); }));
  pause(300);
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(ended(watch), 0);
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(30));
  add("events.db", {"inbox"});
  add("undisturbed.db", {"inbox"});
  EXPECT_EQ(content("events.db"), content("undisturbed.db"));
}

TEST_F(Watch, TellsSystemdWhenItIsReadyAndWhenItEnds) {
  const tests::Descriptor manager(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  const std::string name = (folder.path() / "notify").string();
  ASSERT_LT(name.size(), sizeof address.sun_path);
  std::memcpy(address.sun_path, name.data(), name.size());
  ASSERT_EQ(bind(manager.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  setenv("NOTIFY_SOCKET", name.c_str(), 1);
  make_records(1, "inbox");
  const pid_t watch = start("events.db", {"--on-event", "echo \"socket=$NOTIFY_SOCKET\" >>seen"});
  unsetenv("NOTIFY_SOCKET");
  const auto message = [&] {
    std::string text(4096, '\0');
    const ssize_t size = recv(manager.get(), text.data(), text.size(), 0);
    text.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
    return text;
  };
  EXPECT_TRUE(message().starts_with("READY=1\nSTATUS=0 records analysed")) << err_.text();
  EXPECT_TRUE(message().starts_with("WATCHDOG=1\nSTATUS="));
  EXPECT_TRUE(soon([] { return !lines_of("seen").empty(); })) << err_.text();
  kill(watch, SIGTERM);
  std::string last;
  do {
    last = message();
  } while (last.starts_with("WATCHDOG=1"));
  EXPECT_EQ(last, "STOPPING=1");
  EXPECT_EQ(tests::status_of(watch), 0);
  EXPECT_EQ(lines_of("seen"), (std::vector<std::string>{"socket="}));
}

TEST_F(Watch, RefusesWhatCannotWork) {
  const auto refused = [](std::vector<std::string> arguments, int status, const std::string& complaint) {
    arguments.insert(arguments.begin(), "watch");
    const auto result = tests::dipx(arguments);
    EXPECT_EQ(result.status, status) << result.err;
    EXPECT_EQ(result.err, "dipx: " + complaint + "\n");
  };
  refused({"missing", "events.db"}, 2, "missing: does not exist; check the path");
  refused({"inbox", "inbox/events.db"}, 1,
          "inbox/events.db: the database must not lie in the folder that is watched; choose another folder for it");
  refused({"inbox", "events.db", "--health", "./inbox/deep/../h"}, 1,
          "./inbox/deep/../h: the file for --health must not lie in the folder that is watched; choose another folder "
          "for it");
  std::ofstream("text.db") << std::string(5000, 'x');
  refused({"inbox", "text.db", "--health", "health.json"}, 4,
          "text.db: file is not a database; name a file that dipx archive add has made, or a new one");
  EXPECT_EQ(health()["state"], "failing");
  EXPECT_EQ(health()["problems"].at(0).get<std::string>().substr(0, 9), "text.db: ");
}

TEST_F(Watch, ContinuesWhileTheFolderIsAway) {
  make_records(2, "inbox");
  const pid_t watch = start("events.db", {"--rescan", "0.3", "--health", "health.json"});
  EXPECT_TRUE(holds("events.db", "records", 2)) << err_.text();
  fs::rename("inbox", "away");
  EXPECT_TRUE(soon([] { return health().value("state", "") == "failing"; })) << health();
  make_records(3, "away");
  fs::rename("away", "inbox");
  EXPECT_TRUE(holds("events.db", "records", 3)) << err_.text();
  EXPECT_TRUE(soon([] { return health().value("state", "") == "healthy"; })) << health();
  EXPECT_EQ(ended(watch), 0);
  EXPECT_EQ(err_.text(), "dipx: inbox: does not exist; check the path\n");
}

TEST_F(Watch, LeavesACommandThatIsRunningWhenItEndsToTheNextWatch) {
  make_records(1, "inbox");
  const pid_t watch = start("events.db", {"--on-event", "touch started; sleep 1000"});
  EXPECT_TRUE(soon([] { return fs::exists("started"); })) << err_.text();
  EXPECT_EQ(ended(watch), 0);
  EXPECT_EQ(err_.text(),
            "dipx: inbox/r1.cfg: the command for its event was still running when the watch was ended; it will be "
            "repeated\ndipx: 1 event could not be announced; they are tried again later\n");
  const pid_t next = start("events.db", {"--on-event", "echo $DIPX_KIND >>seen"});
  EXPECT_TRUE(soon([] { return !lines_of("seen").empty(); })) << err_.text();
  EXPECT_EQ(ended(next), 0);
  EXPECT_EQ(lines_of("seen"), (std::vector<std::string>{"dip"}));
}

TEST_F(Watch, SaysWhyACommandHasFailed) {
  make_records(1, "inbox");
  const pid_t watch = start("events.db", {"--on-event", "touch started; kill -SEGV $$"});
  EXPECT_TRUE(soon([&] { return err_.text().find("ended by signal 11; it will be repeated") != std::string::npos; }))
      << err_.text();
  EXPECT_EQ(ended(watch), 0);
  // The kernel starts no command with an argument of more than 128 KB; a file of options can hold one.
  std::ofstream("options") << "on-event = true " << std::string(200000, 'x') << "\n";
  const pid_t other = start("events.db", {"--options", "options"});
  EXPECT_TRUE(soon([&] { return err_.text().find("cannot be started: Argument list too long") != std::string::npos; }))
      << err_.text();
  EXPECT_EQ(ended(other), 0);
}

TEST_F(Watch, NeedsAHealthFileThatCanBeWrittenAtItsStartOnly) {
  const auto refused = tests::dipx({"watch", "inbox", "events.db", "--health", "missing/h"});
  EXPECT_EQ(refused.status, 4);
  EXPECT_NE(refused.err.find("missing/h"), std::string::npos) << refused.err;
  fs::create_directory("state");
  const pid_t watch = start("events.db", {"--health", "state/h", "--rescan", "0.3"});
  EXPECT_TRUE(soon([] { return fs::exists("state/h"); })) << err_.text();
  fs::remove_all("state");
  make_records(1, "inbox");
  EXPECT_TRUE(holds("events.db", "records", 1)) << "records are analysed although nobody can be told of it";
  pause(1500);
  EXPECT_EQ(ended(watch), 0);
}

}  // namespace
