// Tests the forms in which dipx analyse shows its findings, except the whole text and the JSON document.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>
#include <vector>

#include "outputs/figures_text.h"
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

/// Returns the fields of a line without quotation marks.
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
  ASSERT_EQ(document["events"].size(), 1U);
  const auto& dip = document["events"][0];
  const auto& course = dip["course"];
  ASSERT_EQ(course["segments"].size(), 2U);
  ASSERT_EQ(rows.size(), 3U);
  const auto heading = fields(rows[0]);
  for (std::size_t s = 0; s < 2; s++) {
    const auto& segment = course["segments"][s];
    const auto row = fields(rows[s + 1]);
    ASSERT_EQ(row.size(), heading.size());
    const auto field = [&](const std::string& name) {
      const auto at = std::find(heading.begin(), heading.end(), name);
      EXPECT_NE(at, heading.end()) << name;
      return at == heading.end() ? std::string() : row[static_cast<std::size_t>(at - heading.begin())];
    };
    const auto expect = [&](const std::string& name, const json& figure) {
      EXPECT_EQ(std::stod(field(name)), figure.get<double>()) << name;
    };
    EXPECT_EQ(field("file"), "record.csv");
    EXPECT_EQ(field("event"), "1");
    EXPECT_EQ(field("kind"), "dip");
    expect("event_start_s", dip["start"]["time_s"]);
    expect("event_end_s", dip["end"]["time_s"]);
    expect("event_duration_s", dip["duration_s"]);
    expect("extreme_v", dip["extreme"]["voltage_v"]);
    expect("extreme_percent_of_reference", dip["extreme"]["percent"]);
    expect("reference_v", dip["reference"]["voltage_v"]);
    EXPECT_EQ(field("reference"), dip["reference"]["kind"].get<std::string>());
    EXPECT_EQ(field("event_phases"), dip["phases"].get<std::string>());
    EXPECT_EQ(field("en50160_cell"), dip["en50160_cell"].get<std::string>());
    EXPECT_EQ(field("unipede_cell"), dip["classes"]["unipede_cell"].get<std::string>());
    EXPECT_EQ(field("ieee1159_class"), dip["classes"]["ieee_1159"].get<std::string>());
    EXPECT_EQ(field("c4_110_type"), "II");
    expect("dip_energy_s", dip["indices"]["energy_s"]);
    expect("lost_v_s", dip["indices"]["lost_v_s"]);
    // The table has two significant digits of an uncertainty, rounded up, and as many of its figure.
    const auto expect_pair = [&](const std::string& name, const json& figure, const json& plus_minus) {
      const double unit = std::pow(10, std::floor(std::log10(plus_minus.get<double>())) - 1);
      EXPECT_NEAR(std::stod(field(name)), std::round(figure.get<double>() / unit) * unit, 1e-6 * unit) << name;
      EXPECT_NEAR(std::stod(field(name + "_plus_minus")), std::ceil(plus_minus.get<double>() / unit - 1e-6) * unit,
                  1e-6 * unit)
          << name;
    };
    expect_pair("course_start_s", course["start_s"], course["start_s_plus_minus"]);
    expect_pair("course_end_s", course["end_s"], course["end_s_plus_minus"]);
    expect("explained_percent", course["explained_percent"]);
    EXPECT_EQ(field("segment"), std::to_string(s + 1));
    expect("segment_start_s", segment["start_s"]);
    expect("segment_end_s", segment["end_s"]);
    EXPECT_EQ(field("type"), segment["type"]["letter"].get<std::string>());
    EXPECT_EQ(field("category_code"), "7");
    EXPECT_EQ(field("category"), "two-phase dip with zero sequence, C and A");
    EXPECT_EQ(field("phases_below_90_percent_of_before"), "AC");
    // Sequences have the digits of a third of the voltages' joint uncertainty.
    double squares = 0;
    for (const auto& voltage : segment["voltage"])
      squares += std::pow(voltage["voltage_v_plus_minus"].get<double>(), 2);
    const double sequence_plus_minus = std::sqrt(squares) / 3;
    const auto expect_within = [&](const std::string& name, const json& figure, double plus_minus) {
      const double unit = std::pow(10, std::floor(std::log10(plus_minus)) - 1);
      EXPECT_NEAR(std::stod(field(name)), std::round(figure.get<double>() / unit) * unit, 1e-6 * unit) << name;
    };
    expect_within("positive_sequence_v", segment["sequences"]["positive_v"], sequence_plus_minus);
    expect_within("negative_sequence_v", segment["sequences"]["negative_v"], sequence_plus_minus);
    expect_within("zero_sequence_v", segment["sequences"]["zero_v"], sequence_plus_minus);
    const double unbalance = segment["unbalance_percent"];
    expect_within("unbalance_percent", unbalance,
                  (100 + unbalance) * sequence_plus_minus / segment["sequences"]["positive_v"].get<double>());
    for (std::size_t phase = 0; phase < 3; phase++) {
      const std::string letter(1, "abc"[phase]);
      const auto& angle = course["point_on_wave"][phase];
      expect_pair("point_on_wave_" + letter + "_deg", angle["degrees"], angle["degrees_plus_minus"]);
      const auto& voltage = segment["voltage"][phase];
      expect_pair("voltage_" + letter + "_v", voltage["voltage_v"], voltage["voltage_v_plus_minus"]);
      // The share has the digits of the voltage.
      EXPECT_NEAR(std::stod(field("voltage_" + letter + "_percent_of_before")), voltage["percent_of_before"],
                  voltage["voltage_v_plus_minus"].get<double>() / voltage["voltage_v"].get<double>() * 5)
          << letter;
      const auto& jump = segment["phase_jump"][phase];
      expect_pair("phase_jump_" + letter + "_deg", jump["degrees"], jump["degrees_plus_minus"]);
    }
  }
}

TEST_F(Outputs, CsvHasARowIfThereIsNoEvent) {
  synth::DipDescription flat;
  flat.depths = {0};
  write_csv(flat, "record.csv");
  const auto result = dipx({"analyse", "record.csv", "--csv"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(lines(result.out).size(), 2U);
}

TEST_F(Outputs, JsonHasThePhasorsBeforeTheDip) {
  synth::DipDescription dip = two_steps();
  dip.volts = 120;
  dip.harmonics = {{5, 0.1}};
  write_csv(dip, "record.csv");
  const auto document = json::parse(dipx({"analyse", "record.csv", "--json"}).out);
  const auto& before = document["events"][0]["course"]["level_before"]["voltage"];
  const double degrees[] = {0, -120, 120};
  for (std::size_t phase = 0; phase < 3; phase++) {
    EXPECT_NEAR(before[phase]["voltage_v"], 120, 0.001) << "the harmonic is not part of the fundamental";
    EXPECT_NEAR(before[phase]["degrees"], degrees[phase], 0.001);
  }
}

TEST_F(Outputs, QuietPrintsALinePerEvent) {
  write_csv(two_steps(), "record.csv");
  const auto result = dipx({"analyse", "record.csv", "-q"});
  ASSERT_EQ(lines(result.out).size(), 1U) << result.out;
  EXPECT_TRUE(result.out.starts_with("record.csv: event 1, dip   0.2")) << result.out;
  EXPECT_TRUE(
      result.out.ends_with(" ms, residual 40.0 % of the pre-event voltage, AC; segments of the level before: E "
                           "(AC) 40.0 %, then E (AC) 70.0 %; 1 note\n"))
      << result.out;
  synth::DipDescription flat;
  flat.depths = {0};
  write_csv(flat, "record.csv");
  EXPECT_TRUE(dipx({"analyse", "record.csv", "-q"}).out.starts_with("record.csv: no events   Urms(1/2) from 100.0 % "));
}

TEST_F(Outputs, AllowOneFormAtATime) {
  write_csv(two_steps(), "record.csv");
  for (const std::vector<std::string>& pair :
       {std::vector<std::string>{"--json", "--csv"}, {"--json", "-q"}, {"--csv", "-q"}}) {
    EXPECT_EQ(dipx({"analyse", "record.csv", pair[0], pair[1]}).status, 1) << pair[0] << pair[1];
  }
}

TEST_F(Outputs, TextKeepsWithinATerminalsWidth) {
  write_csv(two_steps(), "record.csv");
  // Notes above the events are whole sentences on lines of their own.
  const auto text = dipx({"analyse", "record.csv"}).out;
  ASSERT_NE(text.find("\nevent 1: "), std::string::npos) << text;
  for (const auto& line : lines(text.substr(text.find("\nevent 1: ")))) {
    const auto width = std::count_if(line.begin(), line.end(), [](unsigned char c) { return (c & 0xC0) != 0x80; });
    EXPECT_LE(width, 80) << line;
  }
}

TEST_F(Outputs, TextNamesAnInterruptionWithinItsDip) {
  synth::DipDescription gone;
  gone.depths = {100};
  write_csv(gone, "record.csv");
  const auto text = dipx({"analyse", "record.csv"}).out;
  const auto dip = text.find("\nevent 1: dip   ");
  const auto interruption = text.find("\nevent 2: interruption   ");
  ASSERT_NE(dip, std::string::npos) << text;
  ASSERT_NE(interruption, std::string::npos) << text;
  EXPECT_NE(text.find(" below 90 % of the pre-event voltage: ABC\n", dip), std::string::npos) << text;
  EXPECT_NE(text.find("\n  Trips: ITIC, IEEE 1668; not covered: SEMI F47 (the curve says nothing about\n", dip),
            std::string::npos)
      << text;
  EXPECT_NE(
      text.find("IEC 61000-4-11 class 2, IEC 61000-4-11 class 3\n  (interruptions have a test of their own)\n", dip),
      std::string::npos)
      << text;
  EXPECT_NE(text.find("\n  cell X2 of EN 50160, UNIPEDE 100 % for 100 to 500 ms, type III of C4.110, IEEE\n", dip),
            std::string::npos)
      << text;
  EXPECT_NE(text.find(": 0.0 % of the pre-event voltage 230.0 V\n", interruption), std::string::npos) << text;
  EXPECT_NE(text.find(" below 5 % of the pre-event voltage: ABC\n", interruption), std::string::npos) << text;
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

TEST_F(Outputs, HaveNoColoursForADumbTerminalOrIfTheUserRefuses) {
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

/// The lines that a command shows on a terminal of a width, without colours.
std::vector<std::string> lines_on_terminal(const std::vector<std::string>& arguments, unsigned short columns) {
  const Terminal terminal(columns);
  EXPECT_EQ(dipx(arguments, "/dev/null", terminal.name()).status, 0);
  std::istringstream shown(without_colours(terminal.text()));
  std::vector<std::string> lines;
  for (std::string line; std::getline(shown, line);) lines.push_back(line);
  return lines;
}

TEST_F(Outputs, HaveNoLineThatIsWiderThanTheTerminal) {
  const std::string example = DIPX_EXAMPLES "/rte_08_volts.csv";
  for (const unsigned short columns : std::vector<unsigned short>{54, 64, 80}) {
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"analyse", example}, {"analyse", example, "-q"}, {"info", example}, {"explain"}}) {
      const auto lines = lines_on_terminal(arguments, columns);
      EXPECT_FALSE(lines.empty());
      for (const std::string& line : lines) EXPECT_LE(outputs::columns_of(line), columns) << line;
    }
  }
}

TEST_F(Outputs, AreBrokenForATerminalOnlyWhereTheyAreTooWide) {
  const std::string example = DIPX_EXAMPLES "/rte_08_volts.csv";
  std::string text;
  for (const std::string& line : lines_on_terminal({"analyse", example}, 500)) text += line + '\n';
  EXPECT_EQ(text, dipx({"analyse", example}).out);
}

TEST_F(Outputs, ListEventsInColumnsOnATerminal) {
  write_csv(two_steps(), "record.csv");
  const auto lines = lines_on_terminal({"analyse", "record.csv", "-q"}, 100);
  ASSERT_EQ(lines.size(), 2U);
  EXPECT_TRUE(lines[0].starts_with("record.csv  1 event")) << lines[0];
  EXPECT_TRUE(lines[1].starts_with("  1  dip  ")) << lines[1];
  // The columns are those of the line for scripts.
  const auto piped = dipx({"analyse", "record.csv", "-q"}).out;
  std::istringstream words(lines[1]);
  std::string number, kind, start, second, duration, unit, percent;
  words >> number >> kind >> start >> second >> duration >> unit >> percent;
  for (const std::string& part : {kind + "   " + start + " s", duration + ' ' + unit, "residual " + percent + " %"}) {
    EXPECT_NE(piped.find(part), std::string::npos) << part << " in " << piped;
  }
}

TEST_F(Outputs, HaveATableForExcel) {
  write_csv(two_steps(), "record.csv");
  const auto plain = dipx({"analyse", "record.csv", "--csv"}).out;
  EXPECT_EQ(dipx({"analyse", "record.csv", "--csv", "--csv-dialect", "plain"}).out, plain);
  const auto excel = dipx({"analyse", "record.csv", "record.csv", "--csv", "--csv-dialect", "excel"}).out;
  EXPECT_TRUE(
      excel.starts_with("\xEF\xBB\xBF"
                        "file;start_time;"))
      << excel.substr(0, 40);
  EXPECT_EQ(excel.find("\xEF\xBB\xBF", 3), std::string::npos) << "one mark is enough";
  const auto refused = dipx({"analyse", "record.csv", "--csv-dialect", "excel"});
  EXPECT_EQ(refused.status, 1);
  EXPECT_NE(refused.err.find("--csv"), std::string::npos) << refused.err;
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

TEST_F(Outputs, NeverOverwriteAFileThatIsReadFromStandardInput) {
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

TEST_F(Outputs, NameTheSideOfTheTransformerOfTheVoltages) {
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

}  // namespace
