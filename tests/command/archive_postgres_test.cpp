// Tests archives in PostgreSQL with a real server in a temporary folder. They are skipped where no server is installed.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <random>
#include <thread>

#include "archive/store_error.h"
#include "tests/command/archive_fixture.h"

namespace {

namespace fs = std::filesystem;

/// A server with a database in a folder of its own. It listens only to a socket in this folder.
class Server {
 public:
  Server() {
    const fs::path versions = "/usr/lib/postgresql";
    std::error_code missing;
    for (const auto& version : fs::directory_iterator(versions, missing)) programs_ = version.path() / "bin";
    if (programs_.empty()) return;
    std::string name = (fs::temp_directory_path() / "dipx-server-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) std::abort();
    folder_ = name;
    // The server refuses to run as root.
    if (geteuid() == 0) {
      as_user_ = "setpriv --reuid=postgres --regid=postgres --clear-groups ";
      shell("chown postgres " + name);
    }
    shell(fmt::format("cd / && {}{}/initdb -D {}/data -A trust -U dipx -E UTF8 --locale=C --no-sync >{}/log 2>&1",
                      as_user_, programs_.string(), name, name));
    start();
  }
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;
  ~Server() {
    if (process_ > 0) stop(SIGINT);
    if (!folder_.empty()) fs::remove_all(folder_);
  }

  [[nodiscard]] bool installed() const { return !programs_.empty(); }

  void start() {
    process_ = fork();
    if (process_ == 0) {
      const std::string line =
          fmt::format("cd / && exec {}{}/postgres -D {}/data -k {} -c listen_addresses='' -c fsync=off >>{}/log 2>&1",
                      as_user_, programs_.string(), folder_.string(), folder_.string(), folder_.string());
      execl("/bin/sh", "sh", "-c", line.c_str(), nullptr);
      _exit(127);
    }
    const std::string ready = fmt::format("{}/pg_isready -q -h {} -U dipx", programs_.string(), folder_.string());
    for (int tries = 0; tries < 1200 && std::system(ready.c_str()) != 0; tries++) {
      std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
  }

  /// SIGINT ends the server in order; SIGQUIT ends it at once, so that it has to recover at its next start.
  void stop(int signal) {
    kill(process_, signal);
    tests::status_of(process_);
    process_ = 0;
  }

  /// Makes an empty database and returns its URL.
  [[nodiscard]] std::string made(const std::string& name) const {
    shell(fmt::format("{}/createdb -h {} -U dipx {}", programs_.string(), folder_.string(), name));
    return fmt::format("postgresql://dipx@/{}?host={}", name, folder_.string());
  }

 private:
  static void shell(const std::string& line) {
    if (std::system(line.c_str()) != 0) throw std::runtime_error("failed: " + line);
  }

  fs::path programs_;
  fs::path folder_;
  std::string as_user_;
  pid_t process_ = 0;
};

class ArchivePostgres : public tests::Archiving {
 protected:
  static void SetUpTestSuite() {
#ifdef DIPX_HAS_POSTGRES
    server = std::make_unique<Server>();
#endif
  }
  static void TearDownTestSuite() {
    server.reset();
  }
  void SetUp() override {
    if (!server) GTEST_SKIP() << "dipx was built without PostgreSQL";
    if (!server->installed()) GTEST_SKIP() << "no PostgreSQL server is installed";
  }

  pid_t start(const std::vector<std::string>& more) {
    std::vector<std::string> words = {"archive", "add"};
    words.insert(words.end(), more.begin(), more.end());
    return tests::started(words, null_.get(), out_.descriptor(), err_.descriptor());
  }

  static inline std::unique_ptr<Server> server;
  tests::Stream out_;
  tests::Stream err_;
  tests::Descriptor null_{open("/dev/null", O_RDONLY | O_CLOEXEC)};
};

TEST_F(ArchivePostgres, HoldsTheSameRowsAsAFile) {
  make_records(30);
  std::ofstream("rec/bad\tname\\.csv") << "t,Ua\n0,x\n";
  const std::string url = server->made("same");
  const auto summary = add(url, {"rec"});
  EXPECT_EQ(number_in(summary, "records analysed"), 30);
  EXPECT_EQ(number_in(add(url, {"rec"}), "known already"), 31);
  add("file.db", {"rec"});
  EXPECT_EQ(content(url), content("file.db"));
  EXPECT_EQ(archive({"export", url}).out, archive({"export", "file.db"}).out);
  EXPECT_EQ(archive({"report", url}).out, archive({"report", "file.db"}).out);
  const auto again = add(url, {"rec", "--retry"});
  EXPECT_EQ(number_in(again, "refused"), 1);
  EXPECT_EQ(content(url), content("file.db"));
}

TEST_F(ArchivePostgres, MergesWithFiles) {
  make_records(10);
  const std::string url = server->made("merged");
  add("one.db", {"rec", "--shard", "1/2"});
  add("two.db", {"rec", "--shard", "2/2"});
  add("whole.db", {"rec"});
  EXPECT_EQ(number_in(archive({"merge", url, "one.db", "two.db"}).out, "records copied"), 10);
  EXPECT_EQ(content(url), content("whole.db"));
  EXPECT_EQ(number_in(archive({"merge", "back.db", url}).out, "records copied"), 10);
  EXPECT_EQ(content("back.db"), content("whole.db"));
}

TEST_F(ArchivePostgres, LosesAndDoublesNothingWhenRunsAreKilled) {
  make_records(200);
  add("undisturbed.db", {"rec"});
  const std::string url = server->made("killed");
  std::mt19937 generator(std::random_device{}());
  int killed = 0;
  for (int round = 0; round < 6; round++) {
    const pid_t one = start({url, "rec", "--jobs", "1"});
    const pid_t other = start({url, "rec", "--jobs", "1"});
    // The first runs are killed early, before they can have finished.
    std::this_thread::sleep_for(std::chrono::milliseconds(generator() % (50U << round)));
    for (const pid_t run : {one, other}) {
      kill(run, SIGKILL);
      killed += tests::status_of(run) == -1 ? 1 : 0;
    }
  }
  EXPECT_GT(killed, 0);
  add(url, {"rec"});
  EXPECT_EQ(content(url), content("undisturbed.db"));
}

TEST_F(ArchivePostgres, AServerThatGoesAwayEndsTheRunWithOneLine) {
  make_records(20);
  add("undisturbed.db", {"rec"});
  const std::string url = server->made("away");
  ASSERT_EQ(mkfifo("wait.csv", 0600), 0);
  const pid_t run = start({url, "wait.csv", "rec", "--jobs", "1"});
  int pipe = -1;
  for (int tries = 0; tries < 1000 && pipe < 0; tries++) {
    pipe = open("wait.csv", O_WRONLY | O_NONBLOCK | O_CLOEXEC);
    if (pipe < 0) std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  ASSERT_GE(pipe, 0);
  server->stop(SIGQUIT);
  close(pipe);
  EXPECT_EQ(tests::status_of(run), 4);
  const std::string complaint = err_.text();
  EXPECT_TRUE(complaint.starts_with("dipx: postgresql://dipx@/away")) << complaint;
  EXPECT_EQ(std::count(complaint.begin(), complaint.end(), '\n'), 1) << complaint;
  server->start();
  add(url, {"rec"});
  EXPECT_EQ(count(url, "events"), 20);
  EXPECT_EQ(content(url), content("undisturbed.db"));
}

TEST_F(ArchivePostgres, IsFilledByAWatchThatAnnouncesEachEvent) {
  make_records(3);
  const std::string url = server->made("watched");
  const pid_t watch = tests::started({"watch", "rec", url, "--settle", "0.1", "--on-event", "cat >>told"}, null_.get(),
                                     out_.descriptor(), err_.descriptor());
  const auto told = [] {
    const std::string lines = tests::bytes_of("told");
    return std::count(lines.begin(), lines.end(), '\n');
  };
  for (int tries = 0; tries < 1200 && told() < 3; tries++) std::this_thread::sleep_for(std::chrono::milliseconds(50));
  kill(watch, SIGTERM);
  EXPECT_EQ(tests::status_of(watch), 0) << err_.text();
  EXPECT_EQ(told(), 3);
  EXPECT_EQ(count(url, "pending_events"), 0);
  add("undisturbed.db", {"rec"});
  EXPECT_EQ(content(url), content("undisturbed.db"));
}

TEST_F(ArchivePostgres, OtherDatabasesAreRefused) {
  make_records(1);
  const std::string url = server->made("other");
  const auto empty = archive({"export", url});
  EXPECT_EQ(empty.status, 4);
  EXPECT_NE(empty.err.find("holds no results of dipx; fill it with dipx archive add"), std::string::npos) << empty.err;
  add(url, {"rec"});
  const auto store = archive::open_store(url, archive::StoreUse::write);
  const auto run = [&](const std::string& sql) { store->query(sql, {}, [](const auto&) {}); };
  run("DROP TABLE pending_events");
  run("UPDATE dipx_schema SET version = 1");
  EXPECT_EQ(count(url, "events"), 1);  // an older schema can be read, and is brought up to date when it is written
  add(url, {"rec"});
  EXPECT_EQ(count(url, "pending_events"), 0);
  EXPECT_EQ(count(url, "dipx_schema WHERE version = " + std::to_string(archive::schema_version)), 1);
  run("UPDATE dipx_schema SET version = 99");
  const auto newer = archive({"add", url, "rec"});
  EXPECT_EQ(newer.status, 4);
  EXPECT_NE(newer.err.find("has version 99 of the schema"), std::string::npos) << newer.err;
  const auto nowhere = archive({"add", "postgresql://dipx:secret@/x?host=/nowhere", "rec"});
  EXPECT_EQ(nowhere.status, 4);
  EXPECT_TRUE(nowhere.err.starts_with("dipx: postgresql://dipx@/x?host=/nowhere: ")) << nowhere.err;
  EXPECT_EQ(nowhere.err.find("secret"), std::string::npos);
}

}  // namespace
