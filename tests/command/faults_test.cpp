// Tests the command with full disks, signals, false headers and hostile names.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "tests/command/dipx_command.h"
#include "tests/command/nobody.h"
#include "tests/core/full_folder.h"
#include "tests/core/working_folder.h"

namespace {

using tests::bytes_of;
using tests::dipx;
using tests::FullFolder;

constexpr const char* example = DIPX_EXAMPLES "/rte_00.cfg";
using Names = std::set<std::string>;

class Faults : public testing::Test {
 protected:
  static Names names_in(const std::filesystem::path& path) {
    Names names;
    for (const auto& entry : std::filesystem::directory_iterator(path)) names.insert(entry.path().filename());
    return names;
  }
  /// Returns the options that draw into a file; a command built without its page lacks one of them.
  static std::vector<std::string> drawn() {
    std::vector<std::string> options = {"--svg"};
    if (dipx({"analyse", "--help"}).out.find("--html") != std::string::npos) options.emplace_back("--html");
    return options;
  }
  static void write(const std::string& file, const std::string& bytes) {
    std::ofstream(file, std::ios::binary) << bytes;
  }

  tests::WorkingFolder folder;
};

// --- full disks ------------------------------------------------------------------------------------------------------

TEST_F(Faults, AFullFolderGetsNoFileAndTheCommandReportsIt) {
  for (const std::size_t room : {0U, 4096U, 40960U}) {  // none, less than any of them, less than a table
    const FullFolder full(folder.path() / "full", room);
    if (!full.is_there()) GTEST_SKIP() << "no file system of its own for this process";
    for (const char* file : {"full/dip.csv", "full/dip.cff"}) {
      const auto result = dipx({"synth", "-o", file});
      EXPECT_EQ(result.status, 4);
      EXPECT_EQ(result.out, "");
      EXPECT_EQ(result.err, std::string("dipx: ") + file +
                                ": No space left on device; free some space, or name a file on another disk\n");
      EXPECT_TRUE(full.is_untouched()) << file << " " << room;
    }
    // Of the pair, only the configuration would fit.
    const auto pair = dipx({"synth", "-o", "full/dip.cfg"});
    EXPECT_EQ(pair.status, 4);
    EXPECT_NE(pair.err.find("No space left on device"), std::string::npos) << pair.err;
    EXPECT_TRUE(full.is_untouched()) << room;
  }
}

TEST_F(Faults, AFullFolderGetsNoReport) {
  const FullFolder full(folder.path() / "full", 0);
  if (!full.is_there()) GTEST_SKIP() << "no file system of its own for this process";
  const auto result = dipx({"analyse", example, "--report", "full/report.txt"});
  EXPECT_EQ(result.status, 4);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err,
            "dipx: full/report.txt: No space left on device; free some space, or name a file on another disk\n");
  EXPECT_TRUE(full.is_untouched());
}

TEST_F(Faults, AFullFolderGetsNoFigureAndNoPage) {
  for (const std::string& option : drawn()) {
    ASSERT_EQ(dipx({"analyse", example, option, "whole"}).status, 0) << option;
    const std::size_t most = bytes_of("whole").size() - 1;
    for (const std::size_t room : {std::size_t{0}, std::size_t{4096}, most / 4096 * 4096}) {
      const FullFolder full(folder.path() / "full", room);
      if (!full.is_there()) GTEST_SKIP() << "no file system of its own for this process";
      const auto result = dipx({"analyse", example, option, "full/drawn"});
      EXPECT_EQ(result.status, 4) << option << " " << room;
      EXPECT_EQ(result.out, "") << option << " " << room;
      EXPECT_EQ(result.err,
                "dipx: full/drawn: No space left on device; free some space, or name a file on another disk\n")
          << option << " " << room;
      EXPECT_TRUE(full.is_untouched()) << option << " " << room;
    }
  }
}

TEST_F(Faults, AReportThatIsCutShortInTheTemporaryFolderIsRejected) {
  ASSERT_EQ(dipx({"synth", "-o", "steps.csv", "--rate", "1600", "--depth", "10,20,30,40,50,60", "--duration",
                  "0.4,0.4,0.4,0.4,0.4,0.4"})
                .status,
            0);
  ASSERT_EQ(dipx({"analyse", "steps.csv", "--report", "whole.txt"}).status, 0);
  for (const std::size_t room : {0U, 4096U}) {
    const FullFolder full(folder.path() / "full", room);
    if (!full.is_there()) GTEST_SKIP() << "no file system of its own for this process";
    const bool fits = bytes_of("whole.txt").size() <= room;
    setenv("TMPDIR", (folder.path() / "full").c_str(), 1);
    const auto result = dipx({"analyse", "steps.csv", "--report", "report.txt"});
    unsetenv("TMPDIR");
    EXPECT_EQ(result.status, fits ? 0 : 4) << room;
    EXPECT_EQ(std::filesystem::exists("report.txt"), fits) << room;
    std::filesystem::remove("report.txt");
    EXPECT_TRUE(full.is_untouched()) << room;
  }
}

TEST_F(Faults, AFolderThatCannotBeWrittenToGetsNoFile) {
#ifdef DIPX_SANITIZED
  if (getuid() == 0) GTEST_SKIP() << "LeakSanitizer cannot inspect a process that runs as the user \"nobody\"";
#endif
  std::filesystem::create_directory("closed");
  std::filesystem::permissions("closed", std::filesystem::perms(0555));
  std::filesystem::permissions(".", std::filesystem::perms(0755));
  const tests::Nobody nobody;
  if (faccessat(AT_FDCWD, DIPX_COMMAND, X_OK, AT_EACCESS) != 0 || faccessat(AT_FDCWD, example, R_OK, AT_EACCESS) != 0) {
    GTEST_SKIP() << "the user \"nobody\" may not run " DIPX_COMMAND;
  }
  const auto table = dipx({"synth", "-o", "closed/dip.csv"});
  EXPECT_EQ(table.status, 4);
  EXPECT_EQ(table.err, "dipx: closed/dip.csv: Permission denied; name a folder that you may write to\n");
  const auto report = dipx({"analyse", example, "--report", "closed/report.txt"});
  EXPECT_EQ(report.status, 4);
  EXPECT_EQ(report.err, "dipx: closed/report.txt: Permission denied; name a folder that you may write to\n");
  EXPECT_EQ(names_in("closed"), Names{});
}

// --- signals ---------------------------------------------------------------------------------------------------------

/// A run of the command whose output nobody looks at.
class Running {
 public:
  explicit Running(const std::vector<std::string>& arguments)
      : nowhere_(open("/dev/null", O_RDWR | O_CLOEXEC)),
        process_(tests::started(arguments, nowhere_.get(), nowhere_.get(), nowhere_.get())) {}

  /// Sends the signal as soon as `due`. Returns how the run ended: -signal, or its status if it ended before.
  template <typename Condition>
  int ended_by(int signal, Condition due) const {
    siginfo_t over{};
    while (!due()) {
      if (waitid(P_PID, static_cast<id_t>(process_), &over, WEXITED | WNOHANG | WNOWAIT) != 0 || over.si_pid != 0)
        break;
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    kill(process_, signal);
    int state = 0;
    waitpid(process_, &state, 0);
    return WIFSIGNALED(state) ? -WTERMSIG(state) : WEXITSTATUS(state);
  }

 private:
  tests::Descriptor nowhere_;
  pid_t process_;
};

class Signals : public Faults, public testing::WithParamInterface<int> {};

TEST_P(Signals, RemoveAFileThatIsBeingWritten) {
  ASSERT_EQ(dipx({"synth", "--length", "60", "-o", "whole.csv"}).status, 0);
  std::filesystem::create_directory("out");
  int cut = 0;
  for (int attempt = 0; attempt < 20 && cut < 3; attempt++) {
    const Running run({"synth", "--length", "60", "-o", "out/dip.csv"});
    const int end = run.ended_by(GetParam(), [] { return !std::filesystem::is_empty("out"); });
    if (end == -GetParam()) {
      // A signal that arrives during the rename is held back until the rename is done.
      cut += names_in("out").empty() ? 1 : 0;
    } else {
      EXPECT_EQ(end, 0);
    }
    if (names_in("out").empty()) continue;
    EXPECT_EQ(names_in("out"), Names{"dip.csv"});
    EXPECT_TRUE(bytes_of("out/dip.csv") == bytes_of("whole.csv"));
    std::filesystem::remove("out/dip.csv");
  }
  EXPECT_GT(cut, 0) << "no run was still writing when the signal came";
}

TEST_P(Signals, RemoveTheTemporaryFilesOfAnAnalysis) {
  ASSERT_EQ(dipx({"synth", "--length", "59", "-o", "long.cff", "--binary"}).status, 0);
  std::filesystem::create_directory("temporary");
  setenv("TMPDIR", (folder.path() / "temporary").c_str(), 1);
  const auto start = std::chrono::steady_clock::now();
  ASSERT_EQ(dipx({"analyse", "long.cff", "--report", "report.txt"}).status, 0);
  const auto whole_run = std::chrono::steady_clock::now() - start;
  std::filesystem::remove("report.txt");
  int cut = 0;
  for (int part = 0; part < 12; part++) {
    const Running run({"analyse", "long.cff", "--report", "report.txt"});
    const auto from = std::chrono::steady_clock::now();
    const int end = run.ended_by(GetParam(), [&] {
      // The last ones are sent when the temporary folder appears.
      return part >= 8 ? !names_in("temporary").empty()
                       : std::chrono::steady_clock::now() - from > whole_run * part / 8;
    });
    cut += end == -GetParam() ? 1 : 0;
    EXPECT_EQ(names_in("temporary"), Names{}) << part;
    const Names left = names_in(".");
    EXPECT_TRUE(left == (Names{"long.cff", "temporary"}) || left == (Names{"long.cff", "report.txt", "temporary"}))
        << testing::PrintToString(left);
    std::filesystem::remove("report.txt");
  }
  unsetenv("TMPDIR");
  EXPECT_GT(cut, 0);
}

INSTANTIATE_TEST_SUITE_P(ThatEndProcesses, Signals, testing::Values(SIGINT, SIGTERM, SIGHUP));

// --- claims ----------------------------------------------------------------------------------------------------------

/// The most memory, in kilobytes, that `dipx info FILE` held.
struct Reading {
  tests::CommandResult result;
  long kilobytes;
};

Reading read_by_info(const std::string& file) {
  const tests::Stream out;
  const tests::Stream err;
  const tests::Descriptor in(open("/dev/null", O_RDONLY | O_CLOEXEC));
  const pid_t process = tests::started({"info", file}, in.get(), out.descriptor(), err.descriptor());
  int state = 0;
  rusage used{};
  if (wait4(process, &state, 0, &used) != process) std::abort();
  return {{WIFEXITED(state) ? WEXITSTATUS(state) : -1, out.text(), err.text()}, used.ru_maxrss};
}

TEST_F(Faults, HugeClaimsOfAHeaderAreJudgedBeforeMemoryIsTaken) {
  const auto config = [](const std::string& counts, const std::string& last, const std::string& type) {
    return "Station,Recorder,1999\n" + counts +
           "\n1,Ua,A,,V,1,0,0,-32767,32767,1,1,P\n2,Ub,B,,V,1,0,0,-32767,32767,1,1,P\n3,Uc,C,,V,1,0,0,-32767,32767,1,"
           "1,P\n50\n1\n1600," +
           last + "\n01/01/2020,00:00:00.000\n01/01/2020,00:00:00.000\n" + type + "\n1\n";
  };
  const std::string rows = "1,0,1,2,3\n2,625,4,5,6\n";
  write("sane.cfg", config("3,3A,0D", "2", "ASCII"));
  write("sane.dat", rows);
  const Reading sane = read_by_info("sane.cfg");
  ASSERT_EQ(sane.result.status, 0) << sane.result.err;
  const long most = sane.kilobytes + 16 * 1024;

  struct Claim {
    const char* counts;
    const char* last;
    const char* type;
    int status;
    const char* said;
  };
  for (const Claim& claim :
       {Claim{"999999,999999A,0D", "2", "ASCII", 2, "claim.cfg: line "},
        {"999999,999996A,3D", "2", "BINARY", 2, "claim.cfg: line "},
        {"2147483648,2147483648A,0D", "2", "ASCII", 2, "claim.cfg: line 6"},
        {"18446744073709551615,18446744073709551615A,0D", "2", "ASCII", 2, "claim.cfg: line 6"},
        {"3,3A,0D", "2147483648", "ASCII", 0, "declares 2147483648 samples, but the data hold 2."},
        {"3,3A,0D", "2147483648", "BINARY", 0, "declares 2147483648 samples, but the data hold 1."},
        {"3,3A,0D", "4294967297", "FLOAT32", 0, "declares 4294967297 samples, but the data hold 1."}}) {
    write("claim.cfg", config(claim.counts, claim.last, claim.type));
    write("claim.dat", claim.type == std::string("ASCII") ? rows : std::string("\1\0\0\0", 4) + std::string(16, '\0'));
    const Reading claimed = read_by_info("claim.cfg");
    EXPECT_EQ(claimed.result.status, claim.status) << claim.counts << " " << claim.last;
    EXPECT_NE((claimed.result.out + claimed.result.err).find(claim.said), std::string::npos)
        << claimed.result.out << claimed.result.err;
    EXPECT_LT(claimed.kilobytes, most) << claim.counts << " " << claim.last;
  }
}

TEST_F(Faults, LongNamesTakeNoMoreMemoryThanTheyAreLong) {
  const auto config = [](const std::string& name) {
    return "Station,Recorder,1999\n3,3A,0D\n1," + name +
           ",A,,V,1,0,0,-32767,32767,1,1,P\n2,Ub,B,,V,1,0,0,-32767,32767,1,1,P\n3,Uc,C,,V,1,0,0,-32767,32767,1,1,P\n50\n"
           "1\n1600,2\n01/01/2020,00:00:00.000\n01/01/2020,00:00:00.000\nASCII\n1\n";
  };
  const std::string rows = "1,0,1,2,3\n2,625,4,5,6\n";
  write("sane.cfg", config("Ua"));
  write("sane.dat", rows);
  const long most = read_by_info("sane.cfg").kilobytes + 16 * 1024;
  for (const std::string piece : {"_A", "A", "_a_1", "ua-ub", "u", "1", " u"}) {
    std::string name = "Ua";
    while (name.size() < 65536) name += piece;
    write("long.cfg", config(name));
    write("long.dat", rows);
    write("long.csv", "t," + name + ",Ub,Uc\n0,1,2,3\n0.001,4,5,6\n");
    for (const std::string file : {"long.cfg", "long.csv"}) {
      const auto start = std::chrono::steady_clock::now();
      const Reading reading = read_by_info(file);
      EXPECT_EQ(reading.result.status, 0) << piece << " " << reading.result.err;
      EXPECT_LT(reading.kilobytes, most) << piece << " in " << file;
      EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5)) << piece << " in " << file;
      EXPECT_NE(reading.result.out.find("cut to 256"), std::string::npos) << reading.result.out;
      EXPECT_LT(reading.result.out.size(), 4000U) << piece << " in " << file;
    }
  }
}

// --- numbers from damaged bytes --------------------------------------------------------------------------------------

/// Expects that no text has a number without end or one that is none.
void expect_finite(const std::string& text) {
  for (const char* bad : {"nan", "inf,", "inf ", "inf\"", "-inf"}) EXPECT_EQ(text.find(bad), std::string::npos) << bad;
  std::size_t digits = 0;
  for (std::size_t i = 0; i < text.size(); i++) {
    digits = text[i] >= '0' && text[i] <= '9' ? digits + 1 : 0;
    ASSERT_LT(digits, 25U) << text.substr(i - std::min<std::size_t>(i, 60), 100);
  }
}

TEST_F(Faults, DamagedVoltagesAndTimesAreDrawnWithFiniteNumbers) {
  ASSERT_EQ(dipx({"synth", "-o", "dip.cfg", "--rate", "1600"}).status, 0);
  const std::string sound = bytes_of("dip.dat");
  // A field of the 101st row is replaced: its time stamp, or the voltage of phase A.
  const auto damaged = [&](std::size_t field, const std::string& value) {
    std::size_t at = 0;
    for (int row = 0; row < 100; row++) at = sound.find('\n', at) + 1;
    for (std::size_t i = 0; i < field; i++) at = sound.find(',', at) + 1;
    return std::string(sound).replace(at, sound.find_first_of(",\r\n", at) - at, value);
  };
  for (const std::string value :
       {"1500000000000000000000", "-1500000000000000000000", "1e300", "-1e300", "3e38", "5e28"}) {
    for (const std::size_t field : {1U, 2U}) {
      write("dip.dat", damaged(field, value));
      std::vector<std::string> arguments = {"analyse", "dip.cfg"};
      for (const std::string& option : drawn()) {
        arguments.push_back(option);
        arguments.push_back("drawn" + option);
      }
      const auto result = dipx(arguments);
      EXPECT_EQ(result.status, 0) << value << " " << result.err;
      expect_finite(result.out);
      expect_finite(bytes_of("drawn--svg"));
      EXPECT_NE(result.out.find(field == 1 ? "more than a century away from the others" : "which no grid has"),
                std::string::npos)
          << value << " " << result.out;
      EXPECT_NE(result.out.find("residual voltage"), std::string::npos) << "the dip itself is measured";
    }
  }
}

// --- hostile names ---------------------------------------------------------------------------------------------------

/// Expects that a text contains no control character that a terminal obeys, except line ends.
void expect_harmless(const std::string& text) {
  for (std::size_t i = 0; i < text.size(); i++) {
    const auto byte = static_cast<unsigned char>(text[i]);
    ASSERT_TRUE((byte >= 0x20 && byte != 0x7F) || byte == '\n') << i << " of " << testing::PrintToString(text);
    ASSERT_FALSE(byte == 0xC2 && static_cast<unsigned char>(text[i + 1]) < 0xA0) << "a control character of two bytes";
  }
}

class HostileNames : public Faults, public testing::WithParamInterface<const char*> {
 protected:
  /// The figure that an analysis draws, and its page where the command makes pages.
  static std::vector<std::string> documents_of(const std::vector<std::string>& record) {
    std::vector<std::string> documents;
    for (const std::string& option : drawn()) {
      std::vector<std::string> arguments = {"analyse", option, "document"};
      arguments.insert(arguments.end(), record.begin(), record.end());
      EXPECT_EQ(dipx(arguments).status, 0) << option;
      documents.push_back(bytes_of("document"));
    }
    return documents;
  }
};

TEST_P(HostileNames, NeverReachTheTerminalOrTheDocumentRaw) {
  const std::string name = GetParam();
  ASSERT_EQ(dipx({"synth", "-o", "dip.cfg", "--rate", "1600"}).status, 0);
  std::string config = bytes_of("dip.cfg");
  config.replace(0, config.find(','), name);  // the station
  for (const char* channel : {"Ua", "Ub", "Uc"}) config.replace(config.find(channel), 2, channel + name);
  write("dip.cfg", config);
  for (const std::vector<std::string>& arguments : {std::vector<std::string>{"info", "dip.cfg"},
                                                    {"analyse", "dip.cfg"},
                                                    {"analyse", "--set", "9", "dip.cfg"},
                                                    {"analyse", "--channels", "x,2,3", "dip.cfg"},
                                                    {"analyse", "--json", "--channels", "1,2,3", "dip.cfg"}}) {
    const auto result = dipx(arguments);
    expect_harmless(result.out);
    expect_harmless(result.err);
    EXPECT_NE(result.out + result.err, "");
  }
  // Documents contain the printable characters of the name, and none of them as markup.
  const std::string json = dipx({"analyse", "--json", "--channels", "1,2,3", "dip.cfg"}).out;
  ASSERT_TRUE(nlohmann::json::accept(json));
  EXPECT_NE(json.find("Ua"), std::string::npos);
  for (const std::string& document : documents_of({"--channels", "1,2,3", "dip.cfg"})) {
    expect_harmless(document);
    EXPECT_NE(document.find("Ua"), std::string::npos);
    EXPECT_EQ(document.find("<script>alert"), std::string::npos);
  }

  // A cell that is not a number is cited.
  write("table.csv", "t,Ua" + name + ",Ub,Uc\n0,1,2,3\n0.001,1," + name + ",3\n");
  const auto refused = dipx({"analyse", "table.csv"});
  EXPECT_NE(refused.status, 0);
  expect_harmless(refused.err);
}

INSTANTIATE_TEST_SUITE_P(Of, HostileNames,
                         testing::Values("\x1b[2J\x1b]0;title\x07", "\xe2\x80\xae\xe2\x81\xa6",
                                         "\xc2\x9b"
                                         "31m\xc2\x90q",
                                         "a\x08\x08\x0c\x7f", "<script>alert(1)</script>", "\x80\xfe\xff",
                                         "'; rm -rf / #", "=1+1", "%s%n%5$n", "\x01\x02\x1b\x1b["));

TEST_P(HostileNames, NeverComeBackRawFromTheCommandLine) {
  const std::string name = GetParam() + std::string("\r\n\t\x1b[A");
  for (const std::vector<std::string>& arguments : {std::vector<std::string>{name},
                                                    {"analyse", example, name},
                                                    {"analyse", example, "--" + name},
                                                    {"analyse", example, "--" + name + "=1"},
                                                    {"analyse", example, "--set", name},
                                                    {"analyse", example, "--part", name},
                                                    {"analyse", example, "--rate", name},
                                                    {"analyse", example, "--nominal", name},
                                                    {"analyse", example, "--charset", name},
                                                    {"analyse", example, "--fail-on", name},
                                                    {"analyse", example, "--reference", name},
                                                    {"analyse", example, "--dip-threshold", name},
                                                    {"analyse", example, "--svg", "f.svg", "--event", name},
                                                    {"info", example, name},
                                                    {"explain", name},
                                                    {"synth", name},
                                                    {"synth", "--depth", name},
                                                    {"synth", "--phases", name},
                                                    {"synth", "--harmonics", name},
                                                    {"synth", "--format", name},
                                                    {"synth", "-o", name + "."},
                                                    {"selftest", name}}) {
    const auto result = dipx(arguments);
    const bool known = arguments.size() == 4 && arguments[2] == "--charset";  // iconv ignores what it does not know
    EXPECT_TRUE(result.status != 0 || known) << testing::PrintToString(arguments);
    EXPECT_TRUE(!result.err.empty() || known) << testing::PrintToString(arguments);
    expect_harmless(result.out);
    expect_harmless(result.err);
  }
}

TEST_F(Faults, AFileWithAHostileNameIsNamedHarmlessly) {
  const std::string name = "\x1b[2Jx\x07.csv";
  write(name, "no table");
  const auto result = dipx({"analyse", name});
  EXPECT_EQ(result.status, 2);
  expect_harmless(result.err);
}

}  // namespace
