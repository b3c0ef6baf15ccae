// The forms in which dipx analyse shows what it found, beside the whole text and the JSON document.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <vector>

#include "outputs/csv.h"
#include "tests/command/dipx_command.h"
#include "tests/command/synth_record.h"
#include "tests/command/terminal.h"
#include "tests/core/working_folder.h"

namespace {

using nlohmann::json;
using tests::dipx;
using tests::Terminal;
using tests::write_csv;

synth::DipDescription two_steps() {
  synth::DipDescription dip;
  dip.phases = "CA";
  dip.durations = {0.2, 0.3};
  dip.depths = {60, 30};
  return dip;
}

/// The fields of a line without quotation marks in it.
std::vector<std::string> fields(const std::string& line) {
  std::vector<std::string> list(1);
  bool quoted = false;
  for (const char c : line) {
    if (c == '"') quoted = !quoted;
    if (c == ',' && !quoted) {
      list.emplace_back();
    } else if (c != '"') {
      list.back() += c;
    }
  }
  return list;
}

class Outputs : public testing::Test {
 protected:
  static std::vector<std::string> lines(const std::string& text) {
    std::vector<std::string> list;
    for (std::size_t at = 0; at < text.size();) {
      const std::size_t end = text.find('\n', at);
      list.push_back(text.substr(at, end - at));
      at = end + 1;
    }
    return list;
  }
  tests::WorkingFolder folder;
};

TEST_F(Outputs, CsvHasARowPerSegmentWithTheFiguresOfTheJson) {
  write_csv(two_steps(), "record.csv");
  const auto document = json::parse(dipx({"analyse", "record.csv", "--json"}).out);
  const auto rows = lines(dipx({"analyse", "record.csv", "--csv"}).out);
  const auto& dip = document["dips"][0];
  ASSERT_EQ(dip["segments"].size(), 2U);
  ASSERT_EQ(rows.size(), 3U);
  const auto heading = fields(rows[0]);
  for (std::size_t s = 0; s < 2; s++) {
    const auto& segment = dip["segments"][s];
    const auto row = fields(rows[s + 1]);
    ASSERT_EQ(row.size(), heading.size());
    const auto field = [&](const std::string& name) {
      return row[static_cast<std::size_t>(std::find(heading.begin(), heading.end(), name) - heading.begin())];
    };
    EXPECT_EQ(field("file"), "record.csv");
    EXPECT_EQ(field("dip"), "1");
    EXPECT_EQ(field("kind"), "dip");
    EXPECT_EQ(std::stod(field("dip_start_s")), dip["start"]["time_s"]);
    EXPECT_EQ(std::stod(field("dip_end_s")), dip["end"]["time_s"]);
    EXPECT_EQ(std::stod(field("duration_s")), dip["duration_s"]);
    EXPECT_EQ(std::stod(field("residual_percent")), dip["residual_voltage"]["percent"]);
    EXPECT_EQ(std::stod(field("depth_percent")), dip["depth_percent"]);
    EXPECT_EQ(field("en50160_cell"), dip["en50160_cell"].get<std::string>());
    EXPECT_EQ(field("segment"), std::to_string(s + 1));
    EXPECT_EQ(std::stod(field("segment_start_s")), segment["start"]["time_s"]);
    EXPECT_EQ(std::stod(field("segment_end_s")), segment["end"]["time_s"]);
    EXPECT_EQ(field("category_code"), "7");
    EXPECT_EQ(field("category"), "two-phase dip with zero sequence, C and A");
    EXPECT_EQ(field("phases_below"), "AC");
    EXPECT_EQ(std::stod(field("unbalance_percent")), segment["unbalance_percent"]);
    EXPECT_EQ(field("not_analysed"), "");
    for (std::size_t phase = 0; phase < 3; phase++) {
      const std::string letter(1, "abc"[phase]);
      EXPECT_EQ(std::stod(field("point_on_wave_" + letter + "_deg")), dip["point_on_wave"][phase]["degrees"]);
      EXPECT_EQ(std::stod(field("residual_" + letter + "_v")), segment["residual_voltage"][phase]["voltage_v"]);
      EXPECT_NEAR(std::stod(field("residual_" + letter + "_percent")),
                  segment["residual_voltage"][phase]["percent"].get<double>(), 1e-9);
      EXPECT_EQ(std::stod(field("phase_jump_" + letter + "_deg")), segment["phase_jump"][phase]["degrees"]);
    }
  }
}

TEST_F(Outputs, CsvHasPerCentOfTheDeclaredVoltageWhereItIsGiven) {
  write_csv(two_steps(), "record.csv");
  for (const bool given : {false, true}) {
    std::vector<std::string> arguments = {"analyse", "record.csv", "--csv"};
    if (given) arguments.insert(arguments.end(), {"--nominal", "200"});
    const auto rows = lines(dipx(arguments).out);
    ASSERT_EQ(rows.size(), 3U);
    const auto heading = fields(rows[0]);
    const auto row = fields(rows[2]);
    ASSERT_EQ(row.size(), heading.size());
    int columns = 0;
    for (std::size_t i = 0; i < heading.size(); i++) {
      const auto at = heading[i].find("_of_declared");
      if (at == std::string::npos) continue;
      columns++;
      const auto own = std::find(heading.begin(), heading.end(), heading[i].substr(0, at)) - heading.begin();
      const double percent = std::stod(row[static_cast<std::size_t>(own)]);
      if (given) {
        EXPECT_NEAR(std::stod(row[i]), percent * 230 / 200, 0.01) << heading[i];
      } else {
        EXPECT_EQ(row[i], "") << heading[i];
      }
    }
    EXPECT_EQ(columns, 4);
  }
}

TEST_F(Outputs, CsvHasARowForADipWithoutSegmentsToo) {
  synth::DipDescription lasting;
  lasting.durations = {1};
  lasting.length = 1;
  write_csv(lasting, "record.csv");
  const auto rows = lines(dipx({"analyse", "record.csv", "--csv"}).out);
  ASSERT_EQ(rows.size(), 2U);
  EXPECT_EQ(fields(rows[1]).size(), fields(rows[0]).size());
  EXPECT_TRUE(rows[1].ends_with(",,,,not_recovered")) << rows[1];
}

TEST_F(Outputs, CsvIsItsHeadingAloneWhereThereIsNoDip) {
  synth::DipDescription flat;
  flat.depths = {0};
  write_csv(flat, "record.csv");
  const auto result = dipx({"analyse", "record.csv", "--csv"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(lines(result.out).size(), 1U);
}

TEST_F(Outputs, CsvHoldsNothingThatASpreadsheetWouldCalculate) {
  EXPECT_EQ(outputs::csv_field("=1+1"), "'=1+1");
  EXPECT_EQ(outputs::csv_field("+1"), "'+1");
  EXPECT_EQ(outputs::csv_field("-1"), "'-1");
  EXPECT_EQ(outputs::csv_field("@SUM(A1)"), "'@SUM(A1)");
  EXPECT_EQ(outputs::csv_field("\t=1+1"), " =1+1");
  EXPECT_EQ(outputs::csv_field("Line 3, \"east\""), "\"Line 3, \"\"east\"\"\"");
  EXPECT_EQ(outputs::csv_field("two\nlines"), "two lines");
  EXPECT_EQ(outputs::csv_field(""), "");
  EXPECT_EQ(outputs::csv_field("plain"), "plain");
  write_csv(two_steps(), "=cmd.csv");
  EXPECT_TRUE(lines(dipx({"analyse", "=cmd.csv", "--csv"}).out)[1].starts_with("'=cmd.csv,"));
}

TEST_F(Outputs, JsonHasThePhasorsBeforeTheDip) {
  synth::DipDescription dip = two_steps();
  dip.volts = 120;
  dip.harmonics = {{5, 0.1}};
  write_csv(dip, "record.csv");
  const auto document = json::parse(dipx({"analyse", "record.csv", "--json"}).out);
  const auto& before = document["dips"][0]["before_dip"];
  const double degrees[] = {0, -120, 120};
  for (std::size_t phase = 0; phase < 3; phase++) {
    EXPECT_NEAR(before[phase]["voltage_v"], 120, 0.001) << "the harmonic is no part of the fundamental";
    EXPECT_NEAR(before[phase]["degrees"], degrees[phase], 0.001);
  }
}

TEST_F(Outputs, QuietPrintsALinePerDip) {
  write_csv(two_steps(), "record.csv");
  const auto result = dipx({"analyse", "record.csv", "-q"});
  ASSERT_EQ(lines(result.out).size(), 1U) << result.out;
  EXPECT_TRUE(result.out.starts_with("record.csv: dip 1   0.30")) << result.out;
  EXPECT_NE(result.out.find(" ms, residual 40.0 %, two-phase dip with zero sequence, C and A (7), then two-phase dip"),
            std::string::npos)
      << result.out;
  synth::DipDescription shallow;
  shallow.depths = {12};
  shallow.durations = {0.04};
  write_csv(shallow, "record.csv");
  EXPECT_TRUE(dipx({"analyse", "record.csv", "--quiet"})
                  .out.ends_with(", not analysed: less than 14 % deep and shorter than five cycles\n"));
  shallow.depths = {0};
  write_csv(shallow, "record.csv");
  EXPECT_EQ(dipx({"analyse", "record.csv", "-q"}).out, "");
}

TEST_F(Outputs, TakesOneFormAtATime) {
  write_csv(two_steps(), "record.csv");
  for (const std::vector<std::string>& pair :
       {std::vector<std::string>{"--json", "--csv"}, {"--json", "-q"}, {"--csv", "-q"}}) {
    EXPECT_EQ(dipx({"analyse", "record.csv", pair[0], pair[1]}).status, 1) << pair[0] << pair[1];
  }
}

TEST_F(Outputs, TextKeepsWithinAScreen) {
  write_csv(two_steps(), "record.csv");
  const auto text = dipx({"analyse", "record.csv"}).out;
  const auto dip = lines(text.substr(text.find("\ndip 1")));
  EXPECT_LE(dip.size(), 24U);
  for (const auto& line : dip) {
    const auto width = std::count_if(line.begin(), line.end(), [](unsigned char c) { return (c & 0xC0) != 0x80; });
    EXPECT_LE(width, 80) << line;
  }
}

TEST_F(Outputs, TextNamesAnInterruption) {
  synth::DipDescription gone;
  gone.depths = {100};
  write_csv(gone, "record.csv");
  const auto text = dipx({"analyse", "record.csv"}).out;
  EXPECT_NE(text.find("\n  interruption, residual voltage "), std::string::npos) << text;
  EXPECT_NE(text.find(" (0.0 %) in U"), std::string::npos) << text;
  EXPECT_NE(text.find(", depth 100.0 %\n"), std::string::npos) << text;
  EXPECT_NE(text.find("\n  below ITIC, below SEMI F47, cell X2 of EN 50160 (by the pre-event voltage)\n"),
            std::string::npos);
}

std::string without_colours(std::string text) {
  for (std::size_t at = text.find('\033'); at != std::string::npos; at = text.find('\033')) {
    text.erase(at, text.find('m', at) - at + 1);
  }
  return text;
}

TEST_F(Outputs, ColoursTextOnATerminalOnly) {
  setenv("TERM", "xterm", 1);
  unsetenv("NO_COLOR");
  synth::DipDescription dip = two_steps();
  write_csv(dip, "record.csv");
  for (const char* form : {"--channels=1,2,3", "-q"}) {
    const auto piped = dipx({"analyse", "record.csv", form}).out;
    EXPECT_EQ(piped.find('\033'), std::string::npos);
    const Terminal terminal;
    EXPECT_EQ(dipx({"analyse", "record.csv", form}, "/dev/null", terminal.name()).status, 0);
    const auto shown = terminal.text();
    EXPECT_NE(shown.find("\033[31m"), std::string::npos);
    EXPECT_EQ(without_colours(shown), piped);
  }
}

TEST_F(Outputs, ColoursNothingForADumbTerminalOrWhereTheUserSaysNo) {
  write_csv(two_steps(), "record.csv");
  const auto shown = [] {
    const Terminal terminal;
    dipx({"analyse", "record.csv", "-q"}, "/dev/null", terminal.name());
    return terminal.text();
  };
  setenv("TERM", "dumb", 1);
  unsetenv("NO_COLOR");
  EXPECT_EQ(shown(), dipx({"analyse", "record.csv", "-q"}).out);
  setenv("TERM", "xterm", 1);
  setenv("NO_COLOR", "1", 1);
  EXPECT_EQ(shown(), dipx({"analyse", "record.csv", "-q"}).out);
  unsetenv("NO_COLOR");
}

TEST_F(Outputs, ShowsNoEscapesFromAFilesName) {
  write_csv(two_steps(), "red\033[31m.csv");
  for (const char* form : {"--csv", "-q", "--channels=1,2,3"}) {
    EXPECT_EQ(dipx({"analyse", "red\033[31m.csv", form}).out.find('\033'), std::string::npos) << form;
  }
  const auto refused = dipx({"analyse", "missing\033[31m.cfg"});
  EXPECT_EQ(refused.status, 2);
  EXPECT_EQ(refused.err.find('\033'), std::string::npos);
}

// --- files that must not be written to -------------------------------------------------------------------------------

TEST_F(Outputs, AreNeverTheRecordItself) {
  ASSERT_EQ(dipx({"synth", "-o", "record.cfg"}).status, 0);
  std::filesystem::create_hard_link("record.dat", "another name");
  const std::string before = tests::bytes_of("record.cfg") + tests::bytes_of("record.dat");
  for (const char* option : {"--report", "--svg"}) {
    for (const char* file : {"record.cfg", "./record.dat", "another name"}) {
      const auto result = dipx({"analyse", "record.cfg", option, file});
      EXPECT_EQ(result.status, 1) << option << " " << file;
      EXPECT_EQ(result.err,
                std::string("dipx: ") + option + ": " + file + " is the record itself; name another file\n");
      EXPECT_EQ(result.out, "");
    }
  }
  EXPECT_TRUE(tests::bytes_of("record.cfg") + tests::bytes_of("record.dat") == before);
}

TEST_F(Outputs, AreNeverAFileThatIsReadFromStandardInput) {
  write_csv(two_steps(), "record.csv");
  const auto before = tests::bytes_of("record.csv");
  const auto result = dipx({"analyse", "-", "--svg", "record.csv"}, "record.csv");
  EXPECT_EQ(result.status, 1) << result.err;
  EXPECT_TRUE(tests::bytes_of("record.csv") == before);
}

TEST_F(Outputs, AreDifferentFilesUnlessTheyAreDevices) {
  write_csv(two_steps(), "record.csv");
  const auto same = dipx({"analyse", "record.csv", "--svg", "figure", "--report", "./figure"});
  EXPECT_EQ(same.status, 1);
  EXPECT_EQ(same.err, "dipx: --report and --svg name the same file, figure\n");
  EXPECT_FALSE(std::filesystem::exists("figure"));
  EXPECT_EQ(dipx({"analyse", "record.csv", "--svg", "/dev/null", "--report", "/dev/null"}).status, 0);
}

// --- what is said beside the figures ---------------------------------------------------------------------------------

TEST_F(Outputs, TellWhichSideOfTheTransformerTheVoltagesAreOf) {
  ASSERT_EQ(dipx({"synth", "-o", "record.cfg"}).status, 0);
  auto cfg = tests::bytes_of("record.cfg");
  for (auto at = cfg.find(",1,1,P"); at != std::string::npos; at = cfg.find(",1,1,P", at))
    cfg.replace(at, 6, ",110000,100,S");
  std::ofstream("record.cfg", std::ios::binary) << cfg;
  const auto result = dipx({"analyse", "record.cfg", "--svg", "figure.svg"});
  EXPECT_NE(result.out.find("(secondary values, transformer 110000:100)\n"), std::string::npos) << result.out;
  EXPECT_NE(tests::bytes_of("figure.svg").find("secondary values, transformer 110000:100<"), std::string::npos);
  const auto voltage = json::parse(dipx({"analyse", "record.cfg", "--json"}).out)["voltages"][1];
  EXPECT_EQ(voltage["side"], "secondary");
  EXPECT_EQ(voltage["transformer_primary"], 110000);
  EXPECT_EQ(voltage["transformer_secondary"], 100);
}

TEST_F(Outputs, TellWhereDipsWereJoined) {
  auto close_by = two_steps();
  close_by.phases = "A";
  close_by.durations = {0.1, 0.15, 0.1};
  close_by.depths = {60, 0, 30};
  write_csv(close_by, "record.csv");
  const auto document = json::parse(dipx({"analyse", "record.csv", "--json"}).out);
  ASSERT_EQ(document["dips"].size(), 1U);
  const double start = document["dips"][0]["start"]["time_s"];
  std::string note;
  for (const auto& one : document["notes"]) {
    if (one.get<std::string>().starts_with("Dip 1 joins 2 dips ")) note = one;
  }
  char first[64];
  std::snprintf(first, sizeof first, "counts each: %.4f s, ", start);
  EXPECT_NE(note.find(first), std::string::npos) << document["notes"];
  EXPECT_NE(note.find(" ms at 40.0 %; 0.5"), std::string::npos) << note;
  EXPECT_NE(note.find(" ms at 70.0 %. "), std::string::npos) << note;
  close_by.depths = {60, 15, 30};
  write_csv(close_by, "record.csv");
  EXPECT_EQ(dipx({"analyse", "record.csv", "--json"}).out.find("joins"), std::string::npos);
}

}  // namespace
