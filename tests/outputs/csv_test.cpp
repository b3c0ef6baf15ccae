// Tests an analysis as a table: its rows, its columns and their values.
#include "outputs/csv.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "tests/outputs/found_by_hand.h"

namespace {

using outputs::csv_field;
using outputs::csv_of;
using tests::a_record;
using tests::nothing_found;
using tests::one_dip_found;

using Fields = std::vector<std::string>;

/// The fields of a line, which has no quotation marks but those round fields.
Fields fields_of(const std::string& line) {
  Fields list(1);
  bool quoted = false;
  for (const char c : line) {
    if (c == '"') {
      quoted = !quoted;
    } else if (c == ',' && !quoted) {
      list.emplace_back();
    } else {
      list.back() += c;
    }
  }
  return list;
}

/// The rows below the heading, by the names of their columns.
std::vector<std::map<std::string, std::string>> rows_of(const std::string& table) {
  std::vector<Fields> lines;
  for (std::size_t at = 0; at < table.size();) {
    const std::size_t end = table.find('\n', at);
    lines.push_back(fields_of(table.substr(at, end - at)));
    at = end + 1;
  }
  std::vector<std::map<std::string, std::string>> rows;
  for (std::size_t i = 1; i < lines.size(); i++) {
    EXPECT_EQ(lines[i].size(), lines[0].size()) << "row " << i;
    auto& row = rows.emplace_back();
    for (std::size_t k = 0; k < std::min(lines[i].size(), lines[0].size()); k++) row[lines[0][k]] = lines[i][k];
    EXPECT_EQ(row.size(), lines[0].size()) << "no two columns have one name";
  }
  return rows;
}

void expect_fields(const std::map<std::string, std::string>& row, const std::map<std::string, std::string>& expected) {
  for (const auto& [column, value] : expected) {
    ASSERT_EQ(row.count(column), 1U) << column;
    EXPECT_EQ(row.at(column), value) << column;
  }
}

TEST(Csv, HasARowForEachSegmentWithItsEvent) {
  auto record = a_record("a.cfg");
  record.start_time = "2024-05-06 07:08:09";
  auto analysis = one_dip_found();
  analysis.indices = {assess::Indices{0.125, 20.5}};
  const auto rows = rows_of(csv_of(record, analysis));
  ASSERT_EQ(rows.size(), 2U);
  for (const auto& row : rows) {
    expect_fields(row, {{"file", "a.cfg"},
                        {"start_time", "2024-05-06 07:08:09"},
                        {"voltages", "phase"},
                        {"event", "1"},
                        {"kind", "dip"},
                        {"event_start_s", "10.29"},
                        {"event_start_known", "true"},
                        {"event_end_s", "10.53"},
                        {"event_duration_s", "0.24"},
                        {"extreme_v", "115"},
                        {"extreme_percent_of_reference", "50"},
                        {"delta_max_v", ""},
                        {"delta_steady_v", ""},
                        {"reference_v", "230"},
                        {"reference", "pre-event"},
                        {"percent_of_declared", ""},
                        {"event_phases", "A"},
                        {"en50160_cell", "C2"},
                        {"en50160_cell_near_limit", "false"},
                        {"event_start_clock", "2024-05-06T07:08:19.290000"},
                        {"event_end_clock", "2024-05-06T07:08:19.530000"},
                        {"event_start_s_from_trigger", ""},
                        {"course_start_s", "10.3"},
                        {"course_start_s_plus_minus", "0.0001"},
                        {"course_end_s", "10.5"},
                        {"course_end_s_plus_minus", "0.00025"},
                        {"point_on_wave_a_deg", "90"},
                        {"point_on_wave_a_deg_plus_minus", "1.8"},
                        {"point_on_wave_b_deg", "330"},
                        {"point_on_wave_c_deg", "210"},
                        {"frequency_before_hz", "50.01"},
                        {"frequency_after_hz", ""},
                        {"explained_percent", "97.5"},
                        {"en50160_swell_cell", ""},
                        {"unipede_cell", "30 to 60 % for 100 to 500 ms"},
                        {"ieee1159_class", "instantaneous sag"},
                        {"c4_110_type", "I"},
                        {"rides_through", ""},
                        {"trips", "itic semi_f47 iec_class_2 iec_class_3 ieee_1668"},
                        {"too_close_to_tell", ""},
                        {"not_covered", ""},
                        {"dip_energy_s", "0.125"},
                        {"lost_v_s", "20.5"},
                        {"severity_by_itic", "1.666667"}});
  }
  expect_fields(rows[0], {{"segment", "1"},
                          {"segment_start_s", "10.3"},
                          {"segment_end_s", "10.4"},
                          {"gradual", "false"},
                          {"type", "D"},
                          {"category_code", "3"},
                          {"category", "single-phase dip, A"},
                          {"phases_below_90_percent_of_before", "A"},
                          {"voltage_a_v", "115"},
                          {"voltage_a_v_plus_minus", "0.25"},
                          {"voltage_b_v", "230"},
                          {"voltage_a_percent_of_before", "50"},
                          {"voltage_b_percent_of_before", "100"},
                          {"phase_jump_a_deg", "-20"},
                          {"phase_jump_a_deg_plus_minus", "0.5"},
                          {"phase_jump_c_deg", "0"},
                          {"positive_sequence_v", "200"},
                          {"negative_sequence_v", "50"},
                          {"zero_sequence_v", "12.5"},
                          {"unbalance_percent", "25"}});
  expect_fields(rows[1], {{"segment", "2"}, {"segment_start_s", "10.401"}, {"voltage_a_percent_of_before", "70"}});
}

TEST(Csv, HasARowForARecordWithoutEvents) {
  auto analysis = nothing_found();
  analysis.notes = {"One.", "Two, with a comma."};
  const auto table = csv_of(a_record(), analysis);
  EXPECT_TRUE(table.starts_with("file,start_time,voltages,event,"));
  const auto rows = rows_of(table);
  ASSERT_EQ(rows.size(), 1U);
  expect_fields(rows[0], {{"file", "record.cfg"},
                          {"event", ""},
                          {"kind", "none"},
                          {"segment", ""},
                          {"severity_by_itic", ""},
                          {"lowest_rms_a_v", "227.7"},
                          {"highest_rms_c_v", "232.3"},
                          {"notes", "One. | Two, with a comma."}});
}

TEST(Csv, HasOneRowForAnEventWithoutSegments) {
  auto analysis = nothing_found();
  measure::Event swell;
  swell.kind = measure::EventKind::swell;
  swell.end_s = 0.1;
  swell.extreme_v = 276;
  swell.reference_v = 230;
  swell.phases = {false, true, true};
  measure::Event dip = tests::a_dip();
  dip.course->segments.clear();
  analysis.found.events = {swell, dip};
  const auto rows = rows_of(csv_of(a_record(), analysis));
  ASSERT_EQ(rows.size(), 2U);
  expect_fields(rows[0], {{"kind", "swell"},
                          {"extreme_percent_of_reference", "120"},
                          {"event_phases", "BC"},
                          {"en50160_cell", ""},
                          {"course_start_s", ""},
                          {"explained_percent", ""},
                          {"segment", ""},
                          {"en50160_swell_cell", "S1"},
                          {"unipede_cell", ""},
                          {"ieee1159_class", "instantaneous swell"},
                          {"too_close_to_tell", "itic_upper"},
                          {"dip_energy_s", ""}});
  expect_fields(rows[1], {{"event", "2"}, {"course_start_s", "10.3"}, {"segment", ""}, {"voltage_a_v", ""}});
}

TEST(Csv, GivesARapidVoltageChangeItsTwoSizes) {
  auto analysis = nothing_found();
  measure::Event change;
  change.kind = measure::EventKind::rapid_voltage_change;
  change.end_s = 0.1;
  change.reference_v = 220;
  change.delta_max_v = 13.8;
  change.delta_steady_v = 9.2;
  analysis.found.events = {change};
  analysis.declared = analysis::DeclaredVoltage{220, false, false, false, 220};
  const auto rows = rows_of(csv_of(a_record(), analysis));
  ASSERT_EQ(rows.size(), 1U);
  expect_fields(rows[0], {{"extreme_v", ""},
                          {"extreme_percent_of_reference", ""},
                          {"delta_max_v", "13.8"},
                          {"delta_steady_v", "9.2"},
                          {"reference_v", "220"},
                          {"reference", "declared"},
                          {"percent_of_declared", ""},
                          {"ieee1159_class", ""},
                          {"trips", ""},
                          {"severity_by_itic", ""}});
}

TEST(Csv, HasPerCentOfTheDeclaredVoltageWhereItIsGiven) {
  auto analysis = one_dip_found();
  analysis.declared = analysis::DeclaredVoltage{200, false, false, false, 200};
  expect_fields(rows_of(csv_of(a_record(), analysis)).at(0),
                {{"percent_of_declared", "57.5"}, {"extreme_percent_of_reference", "50"}, {"reference", "pre-event"}});
}

TEST(Csv, LeavesUnknownFieldsEmpty) {
  auto analysis = one_dip_found();
  auto& dip = analysis.found.events[0];
  dip.start_known = false;
  dip.end_s.reset();
  dip.course->start_s.reset();
  dip.course->end_s.reset();
  dip.course->point_on_wave_degrees = {};
  auto& segment = dip.course->segments[0];
  segment.end_s.reset();
  segment.type.reset();
  segment.sequences.reset();
  segment.phases[0].phase_jump_degrees.reset();
  dip.course->segments[1].measured = false;
  const auto rows = rows_of(csv_of(a_record(), analysis));
  ASSERT_EQ(rows.size(), 2U);
  for (const char* column :
       {"event_end_s", "event_duration_s", "en50160_cell", "course_start_s", "course_end_s_plus_minus",
        "point_on_wave_a_deg", "segment_end_s", "type", "category_code", "phase_jump_a_deg",
        "phase_jump_a_deg_plus_minus", "positive_sequence_v", "unbalance_percent"}) {
    EXPECT_EQ(rows[0].at(column), "") << column;
  }
  expect_fields(rows[0], {{"event_start_known", "false"}, {"voltage_a_v", "115"}, {"phase_jump_b_deg", "0"}});
  expect_fields(rows[1], {{"segment", "2"}, {"segment_start_s", "10.401"}, {"voltage_a_v", ""}, {"type", ""}});
}

TEST(Csv, LeavesFieldsOfAPhaseEmptyThatWasNotMeasured) {
  auto analysis = one_dip_found();
  analysis.found.events[0].course->segments[0].phases[1].measured = false;
  const auto rows = rows_of(csv_of(a_record(), analysis));
  for (const char* column : {"voltage_b_v", "voltage_b_v_plus_minus", "voltage_b_percent_of_before", "phase_jump_b_deg",
                             "phase_jump_b_deg_plus_minus"}) {
    EXPECT_EQ(rows.at(0).at(column), "") << column;
    EXPECT_NE(rows.at(1).at(column), "") << column;
  }
  expect_fields(rows[0], {{"voltage_a_v", "115"}, {"voltage_c_v", "230"}, {"phase_jump_c_deg", "0"}});
}

TEST(Csv, HasFieldsOfTheAnalysedVoltagesOnly) {
  auto analysis = one_dip_found();
  analysis.voltages.phases = 1;
  analysis.voltages.channels = {1, 1, 1};
  const auto row = rows_of(csv_of(a_record(), analysis)).at(0);
  expect_fields(row, {{"event_phases", "Ub"},
                      {"voltage_a_v", "115"},
                      {"voltage_b_v", ""},
                      {"voltage_c_v_plus_minus", ""},
                      {"voltage_b_percent_of_before", ""},
                      {"phase_jump_c_deg", ""}});
}

TEST(Csv, QuotesTheLettersOfSeveralVoltagesBetweenPhases) {
  auto analysis = one_dip_found();
  analysis.voltages.between_phases = true;
  analysis.found.events[0].phases = {true, false, true};
  const auto table = csv_of(a_record(), analysis);
  EXPECT_NE(table.find(",\"AB,CA\","), std::string::npos) << table;
  expect_fields(rows_of(table).at(0), {{"voltages", "line-to-line"},
                                       {"event_phases", "AB,CA"},
                                       {"category", "dip of one voltage, AB"},
                                       {"zero_sequence_v", ""}});
}

TEST(Csv, RoundsFiguresToTheirUsefulDigits) {
  auto analysis = one_dip_found();
  auto& dip = analysis.found.events[0];
  dip.extreme_v = 115.123456789;
  dip.end_s = 0.53 + 1e-9;
  dip.course->segments[0].phases[0].phase_jump_degrees->value = -20.12345;
  const auto row = rows_of(csv_of(a_record(), analysis)).at(0);
  expect_fields(row, {{"extreme_v", "115.123"}, {"event_end_s", "10.53"}, {"phase_jump_a_deg", "-20.12"}});
}

TEST(Csv, RoundsSequencesByTheUncertaintyOfTheirVoltages) {
  auto analysis = one_dip_found();
  auto& segments = analysis.found.events[0].course->segments;
  for (auto& segment : segments) {
    segment.phases[0].voltage_v.plus_minus = 9;
    segment.phases[1].voltage_v.plus_minus = 12;
    segment.phases[2].voltage_v.plus_minus = 36;  // together 39 V, of which a sequence has a third
  }
  segments[0].sequences = measure::Sequences{204.56, 51.24, 12.62, 25.049};
  segments[1].sequences = measure::Sequences{12.56, 3.14, 12.62, 25};
  const auto rows = rows_of(csv_of(a_record(), analysis));
  ASSERT_EQ(rows.size(), 2U);
  expect_fields(rows[0], {{"positive_sequence_v", "205"},
                          {"negative_sequence_v", "51"},
                          {"zero_sequence_v", "13"},
                          {"unbalance_percent", "25"}});
  expect_fields(rows[1], {{"positive_sequence_v", "13"}, {"unbalance_percent", ""}});
}

TEST(Csv, HasNoFieldThatASpreadsheetWouldCalculate) {
  EXPECT_EQ(csv_field("=1+1"), "'=1+1");
  EXPECT_EQ(csv_field("+1"), "'+1");
  EXPECT_EQ(csv_field("-1"), "'-1");
  EXPECT_EQ(csv_field("@SUM(A1)"), "'@SUM(A1)");
  EXPECT_EQ(csv_field("\t=1+1"), "' =1+1") << "some spreadsheets ignore blanks";
  EXPECT_EQ(csv_field("\r=1+1"), "' =1+1");
  EXPECT_EQ(csv_field("\uFF1D1+1"), "'\uFF1D1+1") << "some spreadsheets know wide signs";
  EXPECT_EQ(csv_field("\xE2\x80\x8B=1+1"), "'=1+1") << "invisible characters do not hide a sign";
  EXPECT_EQ(csv_field("Line 3, \"east\""), "\"Line 3, \"\"east\"\"\"");
  EXPECT_EQ(csv_field("two\nlines"), "two lines");
  EXPECT_EQ(csv_field(""), "");
  EXPECT_EQ(csv_field("plain"), "plain");
  EXPECT_EQ(csv_field("east;=1+1"), "\"east;'=1+1\"") << "some spreadsheets separate fields by semicolons";
  EXPECT_EQ(csv_field("east;\"=1+1\";-2;x"), "\"east;'\"\"=1+1\"\";'-2;x\"");
  EXPECT_EQ(csv_field("east; @A1;"), "\"east;' @A1;\"");
  EXPECT_EQ(csv_field("a-b;c=d"), "\"a-b;c=d\"");
  EXPECT_TRUE(csv_of(a_record("=cmd.cfg"), one_dip_found()).find("\n'=cmd.cfg,") != std::string::npos);
}

/// The fields of a line whose separator is a semicolon; numbers have their decimal comma, texts their quotation marks.
Fields excel_fields_of(const std::string& line) {
  Fields list(1);
  bool quoted = false;
  for (const char c : line) {
    if (c == '"') quoted = !quoted;
    if (c == ';' && !quoted) {
      list.emplace_back();
    } else {
      list.back() += c;
    }
  }
  return list;
}

TEST(Csv, ForExcelDiffersInSeparatorsAndDecimalCommasOnly) {
  auto record = a_record("1,5;2.csv");
  record.start_time = "2.5";
  const std::string table = csv_of(record, one_dip_found());
  const auto rows = rows_of(table);
  const std::string excel = outputs::csv_for_excel(table);
  EXPECT_EQ(std::count(excel.begin(), excel.end(), '\n'), std::count(table.begin(), table.end(), '\n'));
  const std::size_t end = excel.find('\n');
  const Fields names = excel_fields_of(excel.substr(0, end));
  const Fields fields = excel_fields_of(excel.substr(end + 1, excel.find('\n', end + 1) - end - 1));
  ASSERT_EQ(names.size(), rows[0].size());
  ASSERT_EQ(fields.size(), names.size());
  std::map<std::string, std::string> row;
  for (std::size_t i = 0; i < names.size(); i++) row[names[i]] = fields[i];
  expect_fields(row, {{"file", "\"1,5;2.csv\""},  // texts stay as they are
                      {"start_time", "\"2.5\""},
                      {"event", "1"},
                      {"event_start_s", "10,29"},
                      {"course_start_s_plus_minus", "0,0001"},
                      {"delta_max_v", ""},
                      {"unipede_cell", "30 to 60 % for 100 to 500 ms"}});
}

TEST(Csv, ForExcelKnowsNumbersByTheirForm) {
  EXPECT_EQ(outputs::csv_for_excel("-1.5,3.25e-05,1.,a.b,1.2.3,.5,\"1.5\",7\n"),
            "-1,5;3,25e-05;1.;a.b;1.2.3;.5;\"1.5\";7\n");
}

}  // namespace
