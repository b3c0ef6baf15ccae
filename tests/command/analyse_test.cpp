// dipx analyse: what a user gets for records whose dips are known.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <iterator>
#include <memory>
#include <nlohmann/json.hpp>
#include <set>

#include "dipx_dll.h"
#include "readers/open_record.h"
#include "sagx/kernels/kernels.h"
#include "synth/record_file.h"
#include "synth/waveform.h"
#include "tests/command/dipx_command.h"
#include "tests/core/printed_lines.h"
#include "tests/core/working_folder.h"

namespace {

using nlohmann::json;
using tests::bytes_of;
using tests::dipx;

constexpr const char* example = DIPX_EXAMPLES "/rte_00.cfg";

/// A balanced three-phase sine that is lowered and turned for a while in some phases.
class Record {
 public:
  Record(double volts, double seconds, double samples_per_second = 6400, double hertz = 50) {
    waveform_.volts = volts;
    waveform_.frequency = waveform_.nominal_frequency = hertz;
    waveform_.rate = samples_per_second;
    waveform_.length = static_cast<std::size_t>(std::lround(seconds * samples_per_second));
  }

  /// Phases (as in "AC") stand at `volts` from `from` to `to` seconds.
  Record& lower(const std::string& phases, double from, double to, double volts) {
    return change(phases, from, to, [share = volts / waveform_.volts](synth::Phasor before) {
      return std::polar(share, std::arg(before));
    });
  }
  /// Phases are turned by `degrees` from `from` to `to` seconds.
  Record& turn(const std::string& phases, double from, double to, double degrees) {
    return change(phases, from, to,
                  [degrees](synth::Phasor before) { return synth::phasor(std::abs(before), degrees); });
  }

  [[nodiscard]] readers::Record made() const { return synth::record_of(waveform_); }

  void write_csv(const std::string& file) const { write(file, synth::csv_of(made())); }

  /// A COMTRADE pair, ASCII.
  void write_comtrade(const std::string& stem) const {
    const auto pair = synth::comtrade_of(made(), synth::ComtradeData::ascii);
    write(stem + ".cfg", pair.config);
    write(stem + ".dat", pair.data);
  }

 private:
  static void write(const std::string& file, const std::string& bytes) {
    std::ofstream(file, std::ios::binary) << bytes;
  }

  [[nodiscard]] synth::Factors factors_at(double time) const {
    const auto& stages = waveform_.stages;
    const auto last = std::find_if(stages.rbegin(), stages.rend(),
                                   [time](const auto& stage) { return stage.begin <= time && time < stage.end; });
    return last == stages.rend() ? synth::undisturbed : last->first;
  }

  /// What the phases are already is changed and not replaced: a stage over each piece of time in which it is constant.
  template <typename Change>
  Record& change(const std::string& phases, double from, double to, Change change) {
    std::set<double> cuts = {from, to};
    for (const auto& stage : waveform_.stages) {
      for (const double time : {stage.begin, stage.end}) {
        if (from < time && time < to) cuts.insert(time);
      }
    }
    std::vector<synth::Stage> added;
    for (auto begin = cuts.begin(), end = std::next(begin); end != cuts.end(); begin = end++) {
      synth::Factors factors = factors_at(*begin);
      for (const char phase : phases) {
        auto& factor = factors[static_cast<std::size_t>(phase - 'A')];
        factor = change(factor);
      }
      added.push_back({*begin, *end, factors, factors});
    }
    waveform_.stages.insert(waveform_.stages.end(), added.begin(), added.end());
    return *this;
  }

  synth::Waveform waveform_;
};

class Analyse : public testing::Test {
 protected:
  static json analysed(const std::vector<std::string>& more, const std::string& file = "record.csv") {
    std::vector<std::string> arguments = {"analyse", "--json", file};
    arguments.insert(arguments.end(), more.begin(), more.end());
    const auto result = dipx(arguments);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    return json::parse(result.out);
  }
  static json analysed(const Record& record, const std::vector<std::string>& more = {}) {
    record.write_csv("record.csv");
    return analysed(more);
  }
  static std::string text(const Record& record) {
    record.write_csv("record.csv");
    const auto result = dipx({"analyse", "record.csv"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    return result.out;
  }

  tests::WorkingFolder folder;
};

constexpr double half_cycle = 0.01;

TEST_F(Analyse, ShowsTheExamplesDip) {
  const auto result = dipx({"analyse", example});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.out, std::string(example) +
                            "\n"
                            "  COMTRADE 1999 BINARY, RTE DFR database, DATA_S2 record 0, 01/01/2000 00:00:00.000000\n"
                            "  3.281 s: 21000 samples at 6400 Hz, 128 per cycle of 50 Hz\n"
                            "  voltages v1, v2, v3\n"
                            "  pre-event voltage 62.49 kV, dip threshold 56.24 kV\n"
                            "  analysed at 0.000923971 times the recorded voltages; shown are the recorded ones\n"
                            "\n"
                            "1 dip\n"
                            "\n"
                            "dip 1   0.2787 s to 0.5589 s, 280.2 ms, 14.01 cycles\n"
                            "  dip, residual voltage 18.19 kV (29.1 %) in v1, depth 70.9 %\n"
                            "                                       v1                 v2                 v3\n"
                            "  lowest voltage       18.19 kV    29.1 % 63.78 kV   102.1 % 21.55 kV    34.5 %\n"
                            "  point on wave                     96.3°             336.0°             216.1°\n"
                            "  fastest change               3.115 MV/s         2.682 MV/s         3.388 MV/s\n"
                            "  segment 1  0.2842 s to 0.5452 s: two-phase dip with zero sequence, C and A (7)\n"
                            "    residual voltage   17.42 kV    27.9 % 78.44 kV   125.5 % 21.22 kV    34.0 %\n"
                            "    phase jump                     -19.4°              -4.7°              +4.3°\n"
                            "    2 phases below the threshold (AC), unbalance 47.0 %\n"
                            "  below ITIC, below SEMI F47, cell D2 of EN 50160 (by the pre-event voltage)\n");
}

TEST_F(Analyse, ReadsTheExampleFromItsDatFileToo) {
  EXPECT_EQ(json::parse(dipx({"analyse", "--json", DIPX_EXAMPLES "/rte_00.dat"}).out)["dips"],
            json::parse(dipx({"analyse", "--json", example}).out)["dips"]);
}

TEST_F(Analyse, FindsADipOfKnownPlaceDepthAndPhase) {
  const auto found = analysed(Record(230, 1).lower("B", 0.4, 0.5, 115));
  ASSERT_EQ(found["dips"].size(), 1U);
  const auto& dip = found["dips"][0];
  EXPECT_NEAR(dip["start"]["time_s"], 0.4, half_cycle);
  EXPECT_NEAR(dip["end"]["time_s"], 0.5, 2 * half_cycle) << "the one-cycle RMS recovers up to a cycle later";
  EXPECT_NEAR(dip["lowest_voltage"][0]["voltage_v"], 230, 0.01);
  EXPECT_NEAR(dip["lowest_voltage"][1]["voltage_v"], 115, 0.01);
  EXPECT_NEAR(dip["lowest_voltage"][1]["percent"], 50, 0.01);
  EXPECT_NEAR(dip["lowest_voltage"][2]["voltage_v"], 230, 0.01);
  EXPECT_TRUE(dip["recovered"]);
  EXPECT_TRUE(dip["analysed"]);
  EXPECT_TRUE(dip["not_analysed"].is_null());
  EXPECT_FALSE(dip["gradual_fall_doubtful"]);
  EXPECT_NEAR(dip["duration_s"].get<double>(),
              dip["end"]["time_s"].get<double>() - dip["start"]["time_s"].get<double>(), 1e-12);
  EXPECT_NEAR(dip["duration_cycles"].get<double>() * 0.02, dip["duration_s"].get<double>(), 1e-9);
}

TEST_F(Analyse, TakesARecordOf50To400VoltAsItIs) {
  for (const double volts : {51.0, 57.7, 230.0, 399.0}) {
    EXPECT_EQ(analysed(Record(volts, 0.4))["analysis_level_factor"], 1.0) << volts;
  }
}

TEST_F(Analyse, ScalesOtherLevelsForTheAnalysisAndBackForTheUser) {
  for (const double volts : {0.001, 49.0, 401.0, 400000.0}) {
    const auto found = analysed(Record(volts, 1).lower("A", 0.4, 0.5, 0.3 * volts));
    EXPECT_NEAR(found["analysis_level_factor"].get<double>() * volts, 57.735, 0.001) << volts;
    EXPECT_NEAR(found["pre_event_voltage_v"].get<double>() / volts, 1, 1e-6) << volts;
    EXPECT_NEAR(found["threshold_v"].get<double>() / volts, 0.9, 1e-6) << volts;
    ASSERT_EQ(found["dips"].size(), 1U) << volts;
    EXPECT_NEAR(found["dips"][0]["lowest_voltage"][0]["voltage_v"].get<double>() / volts, 0.3, 1e-4) << volts;
    EXPECT_TRUE(found["dips"][0]["analysed"]) << volts;
  }
}

TEST_F(Analyse, SaysTheFactor) {
  EXPECT_NE(text(Record(57735.026919, 0.4)).find("  analysed at 0.001 times the recorded voltages;"),
            std::string::npos);
  EXPECT_EQ(text(Record(230, 0.4)).find("analysed at"), std::string::npos);
}

TEST_F(Analyse, GivesEachOfSeveralDipsItsPlaceInTheWholeRecord) {
  const auto found =
      analysed(Record(230, 4).lower("A", 0.5, 0.6, 100).lower("B", 1.5, 1.7, 150).lower("ABC", 3.0, 3.3, 60));
  ASSERT_EQ(found["dips"].size(), 3U);
  const double starts[] = {0.5, 1.5, 3.0};
  const double ends[] = {0.6, 1.7, 3.3};
  const double lowest[] = {100, 150, 60};
  for (std::size_t i = 0; i < 3; i++) {
    const auto& dip = found["dips"][i];
    EXPECT_EQ(dip["number"], i + 1);
    EXPECT_NEAR(dip["start"]["time_s"], starts[i], half_cycle);
    EXPECT_NEAR(dip["end"]["time_s"], ends[i], 2 * half_cycle);
    const auto& phases = dip["lowest_voltage"];
    EXPECT_NEAR(std::min({phases[0]["voltage_v"].get<double>(), phases[1]["voltage_v"].get<double>(),
                          phases[2]["voltage_v"].get<double>()}),
                lowest[i], 0.05);
    EXPECT_TRUE(dip["analysed"]) << i;
  }
}

TEST_F(Analyse, ListsADipThatHasNotRecovered) {
  const Record record = Record(230, 1).lower("C", 0.7, 1, 46);
  const auto found = analysed(record);
  ASSERT_EQ(found["dips"].size(), 1U);
  const auto& dip = found["dips"][0];
  EXPECT_NEAR(dip["start"]["time_s"], 0.7, half_cycle);
  EXPECT_TRUE(dip["end"].is_null());
  EXPECT_TRUE(dip["duration_s"].is_null());
  EXPECT_FALSE(dip["recovered"]);
  EXPECT_FALSE(dip["analysed"]);
  EXPECT_EQ(dip["not_analysed"]["code"], "not_recovered");
  EXPECT_NEAR(dip["lowest_voltage"][2]["percent"], 20, 0.01);
  const auto summary = text(record);
  EXPECT_NE(summary.find(" s to the end of the record, "), std::string::npos) << summary;
  EXPECT_NE(summary.find("not analysed further: the voltage has not recovered by the end of the analysed stretch\n"),
            std::string::npos);
}

TEST_F(Analyse, ListsDipsNearAnEnd) {
  const auto at_start = analysed(Record(230, 1).lower("A", 0.06, 0.16, 115));
  ASSERT_EQ(at_start["dips"].size(), 1U);
  EXPECT_EQ(at_start["dips"][0]["not_analysed"]["code"], "near_start");
  EXPECT_NEAR(at_start["dips"][0]["lowest_voltage"][0]["percent"], 50, 0.01);
  const auto at_end = analysed(Record(230, 1).lower("A", 0.85, 0.95, 115));
  ASSERT_EQ(at_end["dips"].size(), 1U);
  EXPECT_EQ(at_end["dips"][0]["not_analysed"]["code"], "near_end");
  EXPECT_TRUE(at_end["dips"][0]["recovered"]);
}

TEST_F(Analyse, SaysWhyAShallowDipOrARestlessStretchIsLeft) {
  EXPECT_EQ(analysed(Record(230, 1).lower("A", 0.4, 0.44, 202))["dips"][0]["not_analysed"]["code"], "too_shallow");
  Record restless(230, 1);
  for (int cycle = 4; cycle < 50; cycle += 2) restless.lower("B", 0.02 * cycle, 0.02 * (cycle + 1), 218);
  EXPECT_EQ(analysed(restless.lower("A", 0.4, 0.5, 115))["dips"][0]["not_analysed"]["code"], "unstable");
}

TEST_F(Analyse, DoubtsAGradualFallWithLessThanFiveCyclesBeforeIt) {
  const auto found = analysed(Record(230, 1).lower("A", 0.085, 0.2, 115));
  EXPECT_TRUE(found["dips"][0]["gradual_fall_doubtful"]);
  EXPECT_TRUE(found["dips"][0]["analysed"]);
  EXPECT_NE(text(Record(230, 1).lower("A", 0.085, 0.2, 115))
                .find("less than five steady cycles lie before it: a gradual fall may be measured wrongly\n"),
            std::string::npos);
}

TEST_F(Analyse, LooksFurtherBackForTheLevelWhereTheVoltageHasSunkBeforeTheFall) {
  // The voltage settles at 94 %; the dip to 87 % is one of 7.4 % against the level just before it.
  const auto found = analysed(Record(230, 2).lower("ABC", 0.2, 2, 216).lower("ABC", 1.0, 1.2, 200));
  ASSERT_EQ(found["dips"].size(), 1U);
  const auto& dip = found["dips"][0];
  EXPECT_TRUE(dip["analysed"]);
  EXPECT_TRUE(dip["gradual_fall_doubtful"]);
  EXPECT_NEAR(dip["segments"][0]["residual_voltage"][0]["percent"], 100 * 200 / 230.0, 0.1);
  EXPECT_TRUE(dip["point_on_wave"].is_null()) << "no phase stood at 95 % before the fall";
}

TEST_F(Analyse, DoesNotLookBackBeyondTheDipBefore) {
  const auto found =
      analysed(Record(230, 3).lower("ABC", 0.5, 0.7, 100).lower("ABC", 0.7, 3, 216).lower("ABC", 1.5, 1.7, 200));
  ASSERT_EQ(found["dips"].size(), 2U);
  EXPECT_TRUE(found["dips"][0]["analysed"]);
  EXPECT_EQ(found["dips"][1]["not_analysed"]["code"], "not_found_again");
  EXPECT_NEAR(found["dips"][1]["lowest_voltage"][0]["percent"], 100 * 200 / 230.0, 0.01);
}

TEST_F(Analyse, ReportsNoFiguresOfSegmentsPastTheWindow) {
  // A fall of 20 cycles by 15 %: against any level ahead of it the fall is not where segments can be told apart.
  Record record(230, 3);
  for (int step = 0; step < 400; step++) record.lower("ABC", 1 + 0.001 * step, 1.46, 230 - 0.0863 * step);
  const auto found = analysed(record);
  ASSERT_EQ(found["dips"].size(), 1U);
  EXPECT_EQ(found["dips"][0]["not_analysed"]["code"], "not_segmented");
  EXPECT_TRUE(found["dips"][0]["segments"].empty());
  EXPECT_NEAR(found["dips"][0]["lowest_voltage"][0]["percent"], 85, 0.2);
}

TEST_F(Analyse, LooksFurtherAheadWhereAShortStretchSeemsRestless) {
  // A fall of ten cycles to 30 %, held for three: most of ten half-cycles on either side are on the slope.
  Record record(230, 3);
  for (int step = 0; step < 200; step++) record.lower("ABC", 1 + 0.001 * step, 1.26, 230 - 0.805 * step);
  const auto found = analysed(record);
  ASSERT_EQ(found["dips"].size(), 1U);
  EXPECT_TRUE(found["dips"][0]["analysed"]);
  EXPECT_NEAR(found["dips"][0]["segments"][0]["residual_voltage"][1]["percent"], 30, 1);
}

TEST_F(Analyse, PrintsWhatEachSegmentIs) {
  const auto found = analysed(Record(230, 1).lower("B", 0.4, 0.5, 115));
  const auto& dip = found["dips"][0];
  ASSERT_EQ(dip["segments"].size(), 1U);
  const auto& segment = dip["segments"][0];
  EXPECT_EQ(segment["number"], 1);
  EXPECT_NEAR(segment["start"]["time_s"], 0.4, half_cycle);
  EXPECT_NEAR(segment["end"]["time_s"], 0.5, half_cycle);
  EXPECT_EQ(segment["category"]["code"], 5);
  EXPECT_EQ(segment["category"]["name"], "single-phase dip, B");
  EXPECT_EQ(segment["phases_below_threshold"], (json{{"count", 1}, {"mask", 2}, {"letters", "B"}}));
  EXPECT_NEAR(segment["residual_voltage"][0]["percent"], 100, 0.1);
  EXPECT_NEAR(segment["residual_voltage"][1]["percent"], 50, 0.1);
  EXPECT_NEAR(segment["residual_voltage"][1]["voltage_v"], 115, 0.2);
  EXPECT_NEAR(segment["phase_jump"][1]["degrees"], 0, 0.5);
  // Negative over positive sequence of (1, 1/2, 1): (1/6) / (5/6).
  EXPECT_NEAR(segment["unbalance_percent"], 20, 0.5);
  // Phase A passes zero upwards at 0.4 s, 20 whole cycles into the record; B and C follow by a third of a turn.
  EXPECT_NEAR(std::remainder(dip["point_on_wave"][0]["degrees"].get<double>(), 360), 0, 10);
  EXPECT_NEAR(std::remainder(dip["point_on_wave"][1]["degrees"].get<double>() - 240, 360), 0, 10);
  EXPECT_NEAR(std::remainder(dip["point_on_wave"][2]["degrees"].get<double>() - 120, 360), 0, 10);
}

TEST_F(Analyse, ReadsThePhaseJumpAtTheSegmentsMinimum) {
  const auto found = analysed(Record(230, 1).lower("A", 0.4, 0.6, 115).turn("A", 0.4, 0.6, -25));
  EXPECT_NEAR(found["dips"][0]["segments"][0]["phase_jump"][0]["degrees"], -25, 1);
  EXPECT_NEAR(found["dips"][0]["segments"][0]["phase_jump"][1]["degrees"], 0, 1);
  const auto wide = analysed(Record(230, 1).lower("A", 0.4, 0.6, 115).turn("A", 0.4, 0.6, 170));
  EXPECT_NEAR(std::remainder(wide["dips"][0]["segments"][0]["phase_jump"][0]["degrees"].get<double>() - 170, 360), 0,
              2);
  EXPECT_LE(std::abs(wide["dips"][0]["segments"][0]["phase_jump"][0]["degrees"].get<double>()), 180);
}

TEST_F(Analyse, TellsTheStepsOfADipApart) {
  const auto found = analysed(Record(230, 2).lower("ABC", 0.5, 0.9, 161).lower("ABC", 0.9, 1.3, 92));
  ASSERT_EQ(found["dips"][0]["segments"].size(), 2U);
  EXPECT_NEAR(found["dips"][0]["segments"][0]["residual_voltage"][0]["percent"], 70, 0.5);
  EXPECT_NEAR(found["dips"][0]["segments"][1]["residual_voltage"][0]["percent"], 40, 0.5);
  EXPECT_NEAR(found["dips"][0]["segments"][1]["start"]["time_s"], 0.9, half_cycle);
}

TEST_F(Analyse, GivesTheRateOfChangeInTheRecordsVoltsAndSeconds) {
  const auto change = [&](double volts, double hertz) {
    Record(volts, 40 / hertz, 64 * hertz, hertz).lower("A", 20 / hertz, 26 / hertz, volts / 2).write_comtrade("record");
    return analysed({}, "record.cfg")["dips"][0]["fastest_change"][0]["v_per_s"].get<double>();
  };
  const double at_50_hertz = change(230, 50);
  EXPECT_GT(at_50_hertz, 1000);
  EXPECT_NEAR(change(2300, 50) / at_50_hertz, 10, 0.01);
  EXPECT_NEAR(change(230, 60) / at_50_hertz, 1.2, 0.001);
}

TEST_F(Analyse, MeasuresTheSegmentsOfAVeryLongDip) {
  const auto found =
      analysed(Record(230, 22, 1600).lower("A", 0.503, 11, 100).lower("A", 11, 21, 161).turn("A", 0.503, 21, -25));
  ASSERT_EQ(found["dips"].size(), 1U);
  const auto& dip = found["dips"][0];
  EXPECT_TRUE(dip["analysed"]);
  EXPECT_FALSE(dip["gradual_fall_doubtful"]);
  EXPECT_NEAR(dip["duration_s"], 20.497, 2 * half_cycle);
  // 0.503 s are 25.15 cycles.
  EXPECT_NEAR(dip["point_on_wave"][0]["degrees"], 54, 10);
  EXPECT_NEAR(dip["point_on_wave"][1]["degrees"], 54 + 240, 10);
  ASSERT_EQ(dip["segments"].size(), 2U);
  const double starts[] = {0.503, 11};
  const double ends[] = {11, 21};
  const double volts[] = {100, 161};
  for (std::size_t s = 0; s < 2; s++) {
    const auto& segment = dip["segments"][s];
    EXPECT_NEAR(segment["start"]["time_s"], starts[s], 3 * half_cycle);
    EXPECT_NEAR(segment["end"]["time_s"], ends[s], half_cycle);
    EXPECT_NEAR(segment["residual_voltage"][0]["voltage_v"], volts[s], 0.5);
    EXPECT_NEAR(segment["residual_voltage"][1]["voltage_v"], 230, 0.5);
    EXPECT_NEAR(segment["phase_jump"][0]["degrees"], -25, 1);
    EXPECT_NEAR(segment["phase_jump"][2]["degrees"], 0, 1);
    EXPECT_EQ(segment["category"]["code"], 3);
  }
}

TEST_F(Analyse, GivesThePhaseJumpOfALongDipWhereTheFrequencyIsOff) {
  // 0.05 Hz off turn the phases by 180 degrees in ten seconds.
  Record(230, 12, 1600, 50.05).lower("A", 0.503, 11, 100).turn("A", 0.503, 11, -25).write_csv("record.csv");
  const auto found = analysed({"--frequency", "50"});
  const auto& segment = found["dips"][0]["segments"][0];
  EXPECT_NEAR(segment["phase_jump"][0]["degrees"], -25, 3);
  EXPECT_NEAR(segment["phase_jump"][1]["degrees"], 0, 3);
}

TEST_F(Analyse, MovesTheStretchToWhereTheFallLiesByItsOwnLevel) {
  // A slow rise of the level before the dip: by the level just before it the fall begins more than a cycle earlier than
  // by that of the record's first cycles, where the voltage sags to 90.5 % of the latter. It is analysed all the same.
  const auto found =
      analysed(Record(230, 2).lower("ABC", 0.2, 0.94, 234).lower("A", 0.94, 1.0, 208.2).lower("ABC", 1.0, 1.2, 100));
  ASSERT_EQ(found["dips"].size(), 1U);
  EXPECT_NEAR(found["dips"][0]["start"]["time_s"], 1.0, half_cycle);
  EXPECT_EQ(found["dips"][0]["not_analysed"], nullptr);
}

TEST_F(Analyse, ReportsSixtyHertzInRealSeconds) {
  Record(120, 1, 3840, 60).lower("A", 0.5, 0.6, 60).write_comtrade("sixty");
  const auto found = analysed({}, "sixty.cfg");
  EXPECT_EQ(found["record"]["samples_per_cycle"], 64);
  EXPECT_EQ(found["record"]["line_frequency_hz"], 60.0);
  ASSERT_EQ(found["dips"].size(), 1U);
  EXPECT_NEAR(found["dips"][0]["start"]["time_s"], 0.5, 0.5 / 60);
  EXPECT_NEAR(found["dips"][0]["end"]["time_s"], 0.6, 1.0 / 60);
  EXPECT_NEAR(found["dips"][0]["duration_cycles"].get<double>() / 60, found["dips"][0]["duration_s"].get<double>(),
              1e-9);
}

TEST_F(Analyse, TakesTheLineFrequencyFromTheUserWhereTheFileIsSilent) {
  Record(120, 1, 3840, 60).lower("A", 0.5, 0.6, 60).write_csv("record.csv");
  const auto silent = analysed({});
  EXPECT_EQ(silent["record"]["samples_per_cycle"], 64);
  EXPECT_EQ(silent["notes"],
            (json{"The file does not state the line frequency; by the waveform it is 60 Hz (--frequency tells "
                  "otherwise)."}));
  const auto told = analysed({"--frequency", "60"});
  EXPECT_EQ(told["dips"].size(), 1U);
  EXPECT_EQ(told["notes"].size(), 0U);
}

TEST_F(Analyse, NotesThatFiftyHertzIsAssumed) {
  const auto found = analysed(Record(230, 0.4));
  ASSERT_EQ(found["notes"].size(), 1U);
  EXPECT_EQ(found["notes"][0],
            "The file does not state the line frequency; 50 Hz is assumed (--frequency tells otherwise).");
}

TEST_F(Analyse, SaysNoDipsWhenThereAreNone) {
  EXPECT_TRUE(text(Record(230, 0.4)).ends_with("\n\nno dips\n"));
}

TEST_F(Analyse, FindsMoreDipsThanOneSearchTakes) {
  Record flicker(230, 8);
  for (int dip = 0; dip < 20; dip++) flicker.lower("A", 0.3 + 0.35 * dip, 0.35 + 0.35 * dip, 115);
  const auto found = analysed(flicker);
  ASSERT_EQ(found["dips"].size(), 20U);
  for (std::size_t dip = 0; dip < 20; dip++) {
    EXPECT_NEAR(found["dips"][dip]["start"]["time_s"], 0.3 + 0.35 * static_cast<double>(dip), half_cycle);
  }
  ASSERT_EQ(found["notes"].size(), 2U);
  EXPECT_EQ(found["notes"][1],
            "Searched in 2 stretches that overlap, as one run of the library takes 3000 cycles and 15 dips.");
}

TEST_F(Analyse, AnalysesTheChannelsThatTheUserNames) {
  const Record record = Record(230, 1).lower("B", 0.4, 0.5, 115);
  record.write_csv("record.csv");
  for (const char* names : {"Uc,Ua,Ub", "3,1,2", "uc,ua,ub"}) {
    const auto found = analysed({"--channels", names});
    EXPECT_EQ(found["voltages"][2]["name"], "Ub") << names;
    EXPECT_EQ(found["voltages"][2]["phase"], "C") << names;
    EXPECT_NEAR(found["dips"][0]["lowest_voltage"][2]["percent"], 50, 0.01) << names;
  }
  const auto unknown = dipx({"analyse", "record.csv", "--channels", "Ua,Ub,Ux"});
  EXPECT_EQ(unknown.status, 1);
  EXPECT_EQ(unknown.out, "");
  EXPECT_NE(unknown.err.find("Ux"), std::string::npos);
}

TEST_F(Analyse, ReadsCsvFromStandardInput) {
  Record(230, 1).lower("B", 0.4, 0.5, 115).write_csv("record.csv");
  const auto piped = dipx({"analyse", "-", "--json"}, "record.csv");
  EXPECT_EQ(piped.status, 0);
  EXPECT_EQ(json::parse(piped.out)["dips"], analysed({})["dips"]);
  EXPECT_EQ(json::parse(piped.out)["record"]["file"], "standard input");
}

TEST_F(Analyse, TakesARateForCsvWithoutTimes) {
  const Record record = Record(230, 1).lower("B", 0.4, 0.5, 115);
  const auto channels = record.made().channels;
  std::ofstream out("bare.csv");
  for (std::size_t i = 0; i < channels[0].samples.size(); i++) {
    out << channels[0].samples[i] << ";" << channels[1].samples[i] << ";" << channels[2].samples[i] << "\n";
  }
  out.close();
  const auto silent = dipx({"analyse", "bare.csv", "--channels", "1,2,3"});
  EXPECT_EQ(silent.status, 2);
  EXPECT_NE(silent.err.find("--rate"), std::string::npos) << silent.err;
  EXPECT_EQ(analysed({"--rate", "6400", "--channels", "1,2,3"}, "bare.csv")["dips"].size(), 1U);
}

struct RefusedCase {
  const char* name;
  double seconds;
  double rate;
  const char* reason;
};

void PrintTo(const RefusedCase& refused, std::ostream* out) {
  *out << refused.name;
}

class Refused : public Analyse, public testing::WithParamInterface<RefusedCase> {};

TEST_P(Refused, EndsWithStatusThreeAndOneLine) {
  const auto& refused = GetParam();
  Record(230, refused.seconds, refused.rate).write_csv("record.csv");
  const auto result = dipx({"analyse", "record.csv", "--json"});
  EXPECT_EQ(result.status, 3);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, std::string("dipx: record.csv: ") + refused.reason + "\n");
}

INSTANTIATE_TEST_SUITE_P(
    Records, Refused,
    testing::Values(
        RefusedCase{"TooSlow", 1, 350,
                    "its 350 Hz are 7 samples per cycle of 50 Hz, too few to tell a cycle's shape; use a record with "
                    "at least 8"},
        RefusedCase{"TooShort", 0.03, 6400, "it is shorter than two cycles; use a longer record"}),
    [](const auto& refused) { return refused.param.name; });

TEST_F(Analyse, TakesNamedChannelsForVoltagesBetweenPhasesWhenToldSo) {
  Record(400, 1).lower("A", 0.4, 0.6, 200).write_csv("record.csv");
  EXPECT_FALSE(json::parse(dipx({"analyse", "record.csv", "--json", "--channels", "1,2,3"}).out)["line_to_line"]);
  const auto document =
      json::parse(dipx({"analyse", "record.csv", "--json", "--channels", "1,2,3", "--line-to-line"}).out);
  EXPECT_TRUE(document["line_to_line"]);
  EXPECT_NE(document["notes"].dump().find("are line-to-line voltages and analysed as they are"), std::string::npos);
}

TEST_F(Analyse, RefusesADisturbedStartAndADeadPhase) {
  Record(230, 1).lower("A", 0.01, 0.2, 115).write_csv("record.csv");
  const auto disturbed = dipx({"analyse", "record.csv"});
  EXPECT_EQ(disturbed.status, 3);
  EXPECT_EQ(disturbed.err,
            "dipx: record.csv: its first two cycles are not steady (a phase is more than 10 % off the lowest phase's "
            "level); use a record that begins at least two cycles before the dip\n");
  Record(230, 1).lower("A", 0, 1, 180).write_csv("record.csv");
  const auto unequal = dipx({"analyse", "record.csv"});
  EXPECT_EQ(unequal.status, 3);
  EXPECT_EQ(
      unequal.err,
      "dipx: record.csv: its phases stand at 180.0 V, 230.0 V, 230.0 V from the start, and the analysis takes more "
      "than 10 % between them for a dip that is on already; choose other voltages with --set, --channels or "
      "--line-to-line\n");
  Record(230, 1).lower("C", 0, 1, 0).write_csv("record.csv");
  const auto dead = dipx({"analyse", "record.csv", "--channels", "1,2,3"});
  EXPECT_EQ(dead.status, 3);
  EXPECT_EQ(
      dead.err,
      "dipx: record.csv: a phase has no voltage in its first two cycles; choose other channels with --channels, or a "
      "record that begins before the dip\n");
}

TEST_F(Analyse, EndsWithStatusTwoWhenTheInputCannotBeRead) {
  const auto missing = dipx({"analyse", "missing.cfg"});
  EXPECT_EQ(missing.status, 2);
  EXPECT_EQ(missing.out, "");
  EXPECT_TRUE(missing.err.starts_with("dipx: missing.cfg: ")) << missing.err;
  EXPECT_EQ(std::count(missing.err.begin(), missing.err.end(), '\n'), 1);
  std::ofstream("currents.csv") << "t_s,Ia,Ib,Ic\n0,1,2,3\n0.01,1,2,3\n0.02,1,2,3\n0.03,1,2,3\n";
  EXPECT_EQ(dipx({"analyse", "currents.csv"}).status, 2);
}

TEST_F(Analyse, EndsWithStatusOneOnWrongUse) {
  for (const std::vector<std::string>& arguments : {std::vector<std::string>{},
                                                    {"analyse"},
                                                    {"analyse", example, "--nonsense"},
                                                    {"nonsense"},
                                                    {"analyse", example, "--rate", "0"},
                                                    {"analyse", example, "--frequency", "x"}}) {
    const auto result = dipx(arguments);
    EXPECT_EQ(result.status, 1) << testing::PrintToString(arguments);
    EXPECT_EQ(result.out, "");
    EXPECT_NE(result.err, "");
  }
}

TEST_F(Analyse, HelpsAndTellsItsVersion) {
  const auto help = dipx({"--help"});
  EXPECT_EQ(help.status, 0);
  EXPECT_NE(help.out.find("analyse"), std::string::npos);
  const auto more = dipx({"analyse", "--help"});
  for (const char* option : {"--channels", "--json", "--report", "--trace", "--rate", "--frequency", "Exit status"}) {
    EXPECT_NE(more.out.find(option), std::string::npos) << option;
  }
  const auto set = std::string(sagx::kernels().instruction_set);
  EXPECT_EQ(dipx({"--version"}).out, "dipx " DIPX_VERSION " (instruction set: " + set + ")\n");
}

/// The report with its figure of elapsed milliseconds, the first to end in "ms", taken out.
std::string without_time(std::string report) {
  const auto end = report.find("ms\r\n");
  EXPECT_NE(end, std::string::npos) << report;
  const auto begin = report.find_last_not_of("0123456789", end - 1) + 1;
  return report.erase(begin, end - begin);
}

TEST_F(Analyse, WritesTheLibrarysReportByteForByte) {
  Record(230, 2).lower("A", 0.5, 0.6, 100).lower("BC", 1.2, 1.4, 150).write_comtrade("record");
  EXPECT_EQ(dipx({"analyse", "record.cfg", "--report", "report.txt"}).status, 0);

  const auto record = readers::open_record("record.cfg");
  const auto host = std::make_unique<dipx_data_struct>();
  std::size_t channel = 0;
  for (float* samples : {host->smp_va, host->smp_vb, host->smp_vc}) {
    const auto& volts = record.channels[channel++].samples;
    std::transform(volts.begin(), volts.end(), samples, [](double value) { return static_cast<float>(value); });
  }
  host->smp_rate = 128;
  host->smp_len = static_cast<int>(record.length());
  tests::printed_by([&] { dipx_fun(host.get()); });
  EXPECT_EQ(host->evt_num, 2);
  EXPECT_EQ(without_time(bytes_of("report.txt")), without_time(bytes_of("dipx_result.txt")));
  EXPECT_NE(bytes_of("report.txt"), "");
}

TEST_F(Analyse, LeavesNoFileBehindUnasked) {
  EXPECT_EQ(dipx({"analyse", example}).status, 0);
  EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
  EXPECT_EQ(dipx({"analyse", example, "--report", "report.txt"}).status, 0);
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 1);
}

TEST_F(Analyse, SaysWhenTheReportCannotBeWritten) {
  const auto result = dipx({"analyse", example, "--report", "no-such-folder/report.txt"});
  EXPECT_EQ(result.status, 4);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, "dipx: no-such-folder/report.txt: No such file or directory\n");
  std::filesystem::create_directory("report.txt");
  EXPECT_EQ(dipx({"analyse", example, "--report", "report.txt"}).status, 4);
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 1) << "no draft stays behind";
}

TEST_F(Analyse, KeepsAnOldReportWhenTheRecordIsRefused) {
  std::ofstream("report.txt") << "old";
  EXPECT_EQ(dipx({"analyse", "missing.cfg", "--report", "report.txt"}).status, 2);
  EXPECT_EQ(bytes_of("report.txt"), "old");
}

TEST_F(Analyse, WritesAReportToADeviceInPlace) {
  EXPECT_EQ(dipx({"analyse", example, "--report", "/dev/full"}).status, 4);
  EXPECT_EQ(dipx({"analyse", example, "--report", "/dev/null"}).status, 0);
  EXPECT_TRUE(std::filesystem::is_character_file("/dev/null"));
}

TEST_F(Analyse, SaysWhenItsOutputCannotBeWritten) {
  const auto result = dipx({"analyse", example}, "/dev/null", "/dev/full");
  EXPECT_EQ(result.status, 4);
  EXPECT_EQ(result.err, "dipx: standard output: No space left on device\n");
}

TEST_F(Analyse, ShowsTheLibrarysLinesOnStandardErrorOnRequest) {
  const auto traced = dipx({"analyse", example, "--json", "--trace"});
  EXPECT_NE(traced.err.find("[GUARD] smp=128, n=21000, need(n>=2*smp)=256\n"), std::string::npos);
  EXPECT_NE(traced.err.find("pos = "), std::string::npos);
  EXPECT_EQ(traced.out, dipx({"analyse", example, "--json"}).out);
}

TEST_F(Analyse, PrintsOneDocumentWithWhatTheRecordSays) {
  const auto found = analysed({}, example);
  EXPECT_EQ(found["format"], "dipx analysis");
  EXPECT_EQ(found["format_version"], 1);
  EXPECT_EQ(found["dipx_version"], DIPX_VERSION);
  const auto& record = found["record"];
  EXPECT_EQ(record["file"], example);
  EXPECT_EQ(record["station"], "RTE DFR database");
  EXPECT_EQ(record["device"], "DATA_S2 record 0");
  EXPECT_EQ(record["start_time"], "01/01/2000 00:00:00.000000");
  EXPECT_EQ(record["trigger_time"], "01/01/2000 00:00:00.250000");
  EXPECT_EQ(record["samples"], 21000);
  EXPECT_EQ(record["sampling_rate_hz"], 6400.0);
  EXPECT_EQ(found["voltages"][1], (json{{"phase", "B"},
                                        {"channel", 2},
                                        {"name", "v2"},
                                        {"unit", "V"},
                                        {"side", "primary"},
                                        {"transformer_primary", 1},
                                        {"transformer_secondary", 1}}));
}

}  // namespace
