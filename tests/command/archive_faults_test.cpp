// Tests that nothing is lost or doubled whatever happens to a run, and that a bad record costs only itself.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <random>
#include <thread>

#include "archive/sqlite.h"
#include "tests/command/archive_fixture.h"

namespace {

namespace fs = std::filesystem;

class ArchiveFaults : public tests::Archiving {
 protected:
  /// Starts dipx archive add without waiting for it.
  pid_t start(const std::vector<std::string>& more) {
    std::vector<std::string> words = {"archive", "add"};
    words.insert(words.end(), more.begin(), more.end());
    return tests::started(words, null_.get(), out_.descriptor(), err_.descriptor());
  }

  static void pause(int milliseconds) { std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds)); }

  /// Runs a line of the shell with $dipx as the command; returns its status.
  static int shell(const std::string& line) {
    const int status = std::system(("dipx='" DIPX_COMMAND "'; " + line).c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

  /// Expects one line on standard error that begins with the file, and this status.
  static void expect_one_line(const tests::CommandResult& result, int status, const std::string& file) {
    EXPECT_EQ(result.status, status);
    EXPECT_EQ(result.out, "");
    EXPECT_TRUE(result.err.starts_with("dipx: " + file + ": ")) << result.err;
    EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
    EXPECT_NE(result.err.find("; "), std::string::npos) << "no remedy: " << result.err;
  }

  tests::Stream out_;
  tests::Stream err_;
  tests::Descriptor null_{open("/dev/null", O_RDONLY | O_CLOEXEC)};
};

#ifdef DIPX_SANITIZED
constexpr int records = 60;  // The sanitizers make each record ten times as slow.
#else
constexpr int records = 400;
#endif

TEST_F(ArchiveFaults, KilledAtAnyMomentNothingIsLostOrDoubled) {
  make_records(records);
  const auto begin = std::chrono::steady_clock::now();
  add("undisturbed.db", {"rec"});
  const auto whole = std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - begin);
  std::mt19937 generator(std::random_device{}());
  int killed = 0;
  for (int round = 0; round < 12; round++) {
    const pid_t run = start({"killed.db", "rec", "--jobs", "2"});
    // A run that ends has nothing left for those after it, so that each has a part of the time.
    pause(static_cast<int>(generator() % static_cast<unsigned>(whole.count() / 6)));
    kill(run, SIGKILL);
    killed += tests::status_of(run) == -1 ? 1 : 0;
  }
  EXPECT_GT(killed, 0);
  const auto summary = add("killed.db", {"rec"});
  EXPECT_EQ(number_in(summary, "records analysed") + number_in(summary, "known already"), records);
  EXPECT_EQ(count("killed.db", "events"), records);
  EXPECT_EQ(content("killed.db"), content("undisturbed.db"));
  EXPECT_EQ(archive({"export", "killed.db"}).out, archive({"export", "undisturbed.db"}).out);
}

TEST_F(ArchiveFaults, TwoRunsAtTheSameTimeGiveTheSameRows) {
  make_records(60);
  add("undisturbed.db", {"rec"});
  const pid_t one = start({"shared.db", "rec", "--jobs", "2"});
  const pid_t other = start({"shared.db", "rec", "--jobs", "2"});
  EXPECT_EQ(tests::status_of(one), 0) << err_.text();
  EXPECT_EQ(tests::status_of(other), 0) << err_.text();
  EXPECT_EQ(content("shared.db"), content("undisturbed.db"));
}

TEST_F(ArchiveFaults, ManyRunsMayMakeTheDatabaseAtTheSameTime) {
  make_records(1);
  for (int round = 0; round < 4; round++) {
    const std::string database = fmt::format("shared_{}.db", round);
    std::vector<pid_t> runs;
    for (int i = 0; i < 6; i++) runs.push_back(start({database, "rec", "--jobs", "1"}));
    for (const pid_t run : runs) EXPECT_EQ(tests::status_of(run), 0) << err_.text();
    EXPECT_EQ(count(database, "events"), 1);
  }
}

TEST_F(ArchiveFaults, ARecordThatHangsCostsOnlyItself) {
  make_records(4);
  ASSERT_EQ(mkfifo("hang.csv", 0600), 0);
  const auto summary = add("events.db", {"hang.csv", "rec", "--timeout", "0.3"});
  EXPECT_EQ(number_in(summary, "records analysed"), 4);
  EXPECT_NE(summary.find("(1 timeout)"), std::string::npos) << summary;
  const auto refusals = rows("events.db", "SELECT reason, message FROM refusals");
  ASSERT_EQ(refusals.size(), 1U);
  EXPECT_EQ(archive::text_of(refusals[0][0]), "timeout");
  EXPECT_EQ(archive::text_of(refusals[0][1]), "hang.csv: took longer than 0.3 s; allow more with --timeout");
}

TEST_F(ArchiveFaults, ARecordThatCrashesCostsOnlyItself) {
  make_records(4);
  ASSERT_EQ(mkfifo("crash.csv", 0600), 0);
  const pid_t run = start({"events.db", "crash.csv", "rec", "--jobs", "1"});
  // The pipe can be opened for writing without waiting as soon as the worker reads it.
  int pipe = -1;
  for (int tries = 0; tries < 1000 && pipe < 0; tries++) {
    pipe = open("crash.csv", O_WRONLY | O_NONBLOCK | O_CLOEXEC);
    if (pipe < 0) pause(10);
  }
  ASSERT_GE(pipe, 0);
  pid_t worker = 0;
  std::ifstream(fmt::format("/proc/{0}/task/{0}/children", run)) >> worker;
  ASSERT_GT(worker, 0);
  kill(worker, SIGILL);  // The sanitizers catch SIGSEGV themselves.
  EXPECT_EQ(tests::status_of(run), 0) << err_.text();
  close(pipe);
  EXPECT_EQ(count("events.db", "records"), 4);
  const auto refusals = rows("events.db", "SELECT reason, message FROM refusals");
  ASSERT_EQ(refusals.size(), 1U);
  EXPECT_EQ(archive::text_of(refusals[0][0]), "crashed");
  EXPECT_NE(archive::text_of(refusals[0][1]).find("signal 4"), std::string::npos);
}

TEST_F(ArchiveFaults, WorkersEndWithTheRun) {
  ASSERT_EQ(mkfifo("hang.csv", 0600), 0);
  const pid_t run = start({"events.db", "hang.csv", "--jobs", "1"});
  int pipe = -1;
  for (int tries = 0; tries < 1000 && pipe < 0; tries++) {
    pipe = open("hang.csv", O_WRONLY | O_NONBLOCK | O_CLOEXEC);
    if (pipe < 0) pause(10);
  }
  ASSERT_GE(pipe, 0);
  close(pipe);
  pid_t worker = 0;
  std::ifstream(fmt::format("/proc/{0}/task/{0}/children", run)) >> worker;
  kill(run, SIGKILL);
  EXPECT_EQ(tests::status_of(run), -1);
  bool gone = false;
  for (int tries = 0; tries < 500 && !gone; tries++) {
    // A process that nobody has waited for yet is still listed, as a zombie.
    std::string state;
    std::ifstream about(fmt::format("/proc/{}/stat", worker));
    about >> state >> state >> state;
    gone = worker <= 0 || state.empty() || state == "Z" || state == "X";
    if (!gone) pause(10);
  }
  EXPECT_TRUE(gone);
}

TEST_F(ArchiveFaults, ARecordThatNeedsTooMuchMemoryCostsOnlyItself) {
#ifdef DIPX_SANITIZED
  GTEST_SKIP() << "sanitizers take memory of their own";
#endif
  make_records(4);
  tests::MadeRecord(230, 60, 6400).lower("A", 10, 10.2, 100).write_csv("long.csv");
  const auto summary = add("events.db", {"long.csv", "rec", "--memory", "6"});
  EXPECT_EQ(number_in(summary, "records analysed"), 4);
  const auto refusals = rows("events.db", "SELECT reason, message FROM refusals");
  ASSERT_EQ(refusals.size(), 1U);
  EXPECT_EQ(archive::text_of(refusals[0][0]), "memory");
  EXPECT_EQ(archive::text_of(refusals[0][1]), "long.csv: needs more than 6 MB of memory; allow more with --memory");
  // With more memory the same record is analysed after all.
  EXPECT_EQ(number_in(add("events.db", {"long.csv", "--retry"}), "records analysed"), 1);
  EXPECT_EQ(count("events.db", "refusals"), 0);
}

TEST_F(ArchiveFaults, OtherDatabasesAreRefused) {
  make_records(1);
  std::ofstream("text.db") << std::string(5000, 'x');
  expect_one_line(archive({"add", "text.db", "rec"}), 4, "text.db");
  archive::Sqlite("foreign.db", archive::Sqlite::Use::write).run("CREATE TABLE events (id INTEGER)");
  expect_one_line(archive({"add", "foreign.db", "rec"}), 4, "foreign.db");
  expect_one_line(archive({"export", "foreign.db"}), 4, "foreign.db");
  add("newer.db", {"rec"});
  archive::Sqlite("newer.db", archive::Sqlite::Use::write).run("PRAGMA user_version = 99");
  const auto newer = archive({"add", "newer.db", "rec"});
  expect_one_line(newer, 4, "newer.db");
  EXPECT_NE(newer.err.find("has version 99 of the schema"), std::string::npos) << newer.err;
  expect_one_line(archive({"add", "nowhere/events.db", "rec"}), 4, "nowhere/events.db");
  expect_one_line(archive({"export", "missing.db"}), 4, "missing.db");
  EXPECT_FALSE(fs::exists("missing.db"));
}

TEST_F(ArchiveFaults, MissingPathsAreRefusedBeforeAnythingIsDone) {
  make_records(1);
  expect_one_line(archive({"add", "events.db", "rec", "missing"}), 2, "missing");
  EXPECT_EQ(count("events.db", "records"), 0);
}

TEST_F(ArchiveFaults, AFolderThatVanishesIsReportedAndTheRestIsKept) {
  make_records(3);
  make_records(2, "gone");
  ASSERT_EQ(mkfifo("wait.csv", 0600), 0);
  const pid_t run = start({"events.db", "rec", "wait.csv", "gone", "--jobs", "1"});
  // The run has found all files when it waits for this pipe.
  int pipe = -1;
  for (int tries = 0; tries < 1000 && pipe < 0; tries++) {
    pipe = open("wait.csv", O_WRONLY | O_NONBLOCK | O_CLOEXEC);
    if (pipe < 0) pause(10);
  }
  ASSERT_GE(pipe, 0);
  fs::remove_all("gone");
  close(pipe);
  EXPECT_EQ(tests::status_of(run), 2);
  EXPECT_EQ(err_.text(),
            "dipx: gone/r1.cfg: has vanished during the run, as have 1 more files; check that the folder is still "
            "there, then run the command again\n");
  EXPECT_EQ(count("events.db", "records WHERE outcome = 'analysed'"), 3);
}

TEST_F(ArchiveFaults, AFullDiskLeavesTheStoreWhole) {
  make_records(400);
  add("undisturbed.db", {"rec"});
  add("small.db", {"rec/r1.cfg"});
  // Files cannot grow beyond 64 KB.
  EXPECT_EQ(shell("ulimit -f 128; $dipx archive add small.db rec >out.txt 2>err.txt"), 4);
  const std::string complaint = tests::bytes_of("err.txt");
  EXPECT_TRUE(complaint.starts_with("dipx: small.db: ")) << complaint;
  EXPECT_EQ(std::count(complaint.begin(), complaint.end(), '\n'), 1) << complaint;
  EXPECT_GE(count("small.db", "records"), 1);
  archive::Sqlite store("small.db", archive::Sqlite::Use::read);
  EXPECT_EQ(archive::text_of(store.value("PRAGMA integrity_check")), "ok");
  add("small.db", {"rec"});
  EXPECT_EQ(content("small.db"), content("undisturbed.db"));
}

}  // namespace
