#include "archive/tables.h"

#include <fmt/format.h>

namespace archive {

namespace {

constexpr ColumnType whole = ColumnType::whole;
constexpr ColumnType number = ColumnType::number;
constexpr ColumnType text = ColumnType::text;

const char* sql_type(ColumnType type) {
  // PostgreSQL and SQLite know all three names.
  return type == whole ? "BIGINT" : type == number ? "DOUBLE PRECISION" : "TEXT";
}

std::string table_statement(const Table& table) {
  std::string columns;
  std::string key;
  for (std::size_t i = 0; i < table.columns.size(); i++) {
    const Column& column = table.columns[i];
    columns += fmt::format("{} {}{}, ", column.name, sql_type(column.type), i < table.key ? " NOT NULL" : "");
    if (i < table.key) key += (i == 0 ? "" : ", ") + std::string(column.name);
  }
  return fmt::format("CREATE TABLE {} ({}PRIMARY KEY ({}))", table.name, columns, key);
}

/// Returns the columns of a table from `first` on, each with the short name of the table.
std::string columns_from(const Table& table, std::size_t first, const char* short_name) {
  std::string names;
  for (std::size_t i = first; i < table.columns.size(); i++) {
    names += fmt::format(", {}.{}", short_name, table.columns[i].name);
  }
  return names;
}

}  // namespace

const Table& analyses_table() {
  static const Table table = {"stored_analyses",
                              1,
                              {{"analysis", text, "key of the analysis: hash of the three following columns"},
                               {"sha256", text, "hash of the record's unpacked bytes"},
                               {"parameters", text, "hash of the options that have an effect on the results"},
                               {"version", text, "version of dipx"},
                               {"outcome", text, "analysed or refused"},
                               {"file", text, "the file by which the record was first added"},
                               {"format", text, "format of the record"},
                               {"station", text, "station, as the record names it"},
                               {"device", text, "recorder, as the record names it"},
                               {"site", text, "station and recorder, by which reports are divided"},
                               {"start_clock", text, "date and time of the first sample, ISO 8601"},
                               {"duration_s", number, "duration of the record, seconds"},
                               {"line_frequency_hz", number, "nominal line frequency, hertz"},
                               {"voltage_sets", whole, "number of voltage sets in the record"},
                               {"notes", text, "what the analysis assumed, one sentence in a line"}}};
  return table;
}

const Table& events_table() {
  static const Table table = {
      "stored_events",
      4,
      {{"analysis", text, "key of the analysis"},
       {"part", whole, "part of the record, from 1"},
       {"set_number", whole, "voltage set, from 1; 0 if the channels were named"},
       {"number", whole, "number of the event, from 1"},
       {"kind", text, "dip, swell, interruption or rapid_voltage_change"},
       {"voltages", text, "phase or line-to-line"},
       {"start_s", number, "start, seconds from the record's first sample"},
       {"start_known", whole, "0 if the event is on in the record's first window"},
       {"end_s", number, "end; null if the event continues past the record's end"},
       {"duration_s", number, "duration; null if the start or the end is not known"},
       {"recorded_s", number, "the part of the duration that was recorded"},
       {"start_clock", text, "date and time of the start, ISO 8601"},
       {"end_clock", text, "date and time of the end, ISO 8601"},
       {"extreme_v", number, "residual voltage, or highest voltage of a swell, volts"},
       {"extreme_percent", number, "the same in per cent of the reference"},
       {"delta_max_v", number, "largest change of a rapid voltage change, volts"},
       {"delta_steady_v", number, "its steady change, volts"},
       {"reference_v", number, "reference voltage, volts"},
       {"reference", text, "declared, sliding or pre-event"},
       {"percent_of_declared", number, "residual or highest voltage in per cent of the declared voltage"},
       {"phases", text, "the voltages that crossed the threshold"},
       {"type", text, "type of the dip, A to G, in its deepest segment"},
       {"segments", whole, "number of segments of the dip"},
       {"cycle_s", number, "period of the fundamental, seconds"},
       {"en50160_cell", text, "cell of the dip in the table of EN 50160"},
       {"en50160_swell_cell", text, "cell of the swell in the table of EN 50160"},
       {"unipede_cell", text, "cell of the dip in the table of UNIPEDE"},
       {"ieee1159_class", text, "class of IEEE 1159"},
       {"c4_110_type", text, "type I, II or III of C4.110"},
       {"rides_through", text, "codes of the tolerance curves that the event stays within"},
       {"trips", text, "codes of the curves that it violates"},
       {"too_close_to_tell", text, "codes of the curves that it meets within the uncertainty"},
       {"not_covered", text, "codes of the curves that do not cover it"},
       {"dip_energy_s", number, "dip energy, seconds"},
       {"lost_v_s", number, "lost volt-seconds"},
       {"severity_by_itic", number, "severity by the ITIC curve"}}};
  return table;
}

const Table& segments_table() {
  static const Table table = {"stored_segments",
                              5,
                              {{"analysis", text, "key of the analysis"},
                               {"part", whole, "part of the record"},
                               {"set_number", whole, "voltage set"},
                               {"event", whole, "number of the event"},
                               {"number", whole, "number of the segment, from 1"},
                               {"start_s", number, "start, seconds from the record's first sample"},
                               {"end_s", number, "end; null if the segment continues past the record's end"},
                               {"gradual", whole, "1 if the voltages change from its beginning to its end"},
                               {"measured", whole, "0 if too many samples are missing"},
                               {"type", text, "type of the dip, A to G"},
                               {"category_code", whole, "category of the dip, 0 to 9"},
                               {"voltage_a_v", number, "voltage of the first phase, volts"},
                               {"voltage_a_v_plus_minus", number, "its uncertainty"},
                               {"voltage_b_v", number, "voltage of the second phase, volts"},
                               {"voltage_b_v_plus_minus", number, "its uncertainty"},
                               {"voltage_c_v", number, "voltage of the third phase, volts"},
                               {"voltage_c_v_plus_minus", number, "its uncertainty"},
                               {"voltage_a_percent_of_before", number, "in per cent of the voltage before the dip"},
                               {"voltage_b_percent_of_before", number, "in per cent of the voltage before the dip"},
                               {"voltage_c_percent_of_before", number, "in per cent of the voltage before the dip"},
                               {"phase_jump_a_deg", number, "phase jump, degrees"},
                               {"phase_jump_b_deg", number, "phase jump, degrees"},
                               {"phase_jump_c_deg", number, "phase jump, degrees"},
                               {"positive_sequence_v", number, "positive sequence, volts"},
                               {"negative_sequence_v", number, "negative sequence, volts"},
                               {"zero_sequence_v", number, "zero sequence, volts; null for voltages between phases"},
                               {"unbalance_percent", number, "unbalance, per cent"}}};
  return table;
}

const Table& refusals_table() {
  static const Table table = {
      "stored_refusals",
      3,
      {{"analysis", text, "key of the analysis, or hash of the file's path if its content could not be read"},
       {"part", whole, "part that was refused; 0 if it was the whole record"},
       {"set_number", whole, "set that was refused; 0 if it was the whole record"},
       {"reason", text, "unreadable, not_analysable, crashed, timeout or memory"},
       {"message", text, "the complaint in words"},
       {"file", text, "the file by which the record was added"}}};
  return table;
}

const Table& files_table() {
  static const Table table = {"stored_files",
                              2,
                              {{"path", text, "path of the file, or of the .cfg file of a pair"},
                               {"member", text, "name of the record within a zip file; otherwise empty"},
                               {"stamp", text, "size and time of change of the file or of both files of a pair"},
                               {"records", whole, "number of records in the file; 0 if it is not a record"},
                               {"sha256", text, "hash of the record's unpacked bytes"}}};
  return table;
}

const Table& parameters_table() {
  static const Table table = {"parameter_sets",
                              2,
                              {{"parameters", text, "hash of the options"},
                               {"version", text, "version of dipx"},
                               {"options", text, "the options in words"},
                               {"last_used", text, "date and time of the latest run with them, UTC"}}};
  return table;
}

const Table& pending_table() {
  static const Table table = {"pending_events",
                              4,
                              {{"analysis", text, "key of the analysis"},
                               {"part", whole, "part of the record"},
                               {"set_number", whole, "voltage set"},
                               {"number", whole, "number of the event"}}};
  return table;
}

std::vector<const Table*> all_tables() {
  return {&parameters_table(), &analyses_table(), &events_table(), &segments_table(),
          &refusals_table(),   &files_table(),    &pending_table()};
}

std::vector<const Table*> tables_of_analyses() {
  return {&analyses_table(), &events_table(), &segments_table(), &refusals_table(), &pending_table()};
}

std::vector<std::string> schema_statements() {
  std::vector<std::string> statements;
  for (const Table* table : all_tables()) statements.push_back(table_statement(*table));
  statements.emplace_back("CREATE INDEX stored_analyses_by_sha256 ON stored_analyses (sha256)");
  statements.push_back(
      fmt::format("CREATE VIEW records AS SELECT a.sha256{}, (SELECT count(*) FROM stored_events e WHERE "
                  "e.analysis = a.analysis) AS events FROM stored_analyses a",
                  columns_from(analyses_table(), 2, "a")));
  statements.push_back(
      fmt::format("CREATE VIEW events AS SELECT a.sha256, e.part, e.set_number, a.parameters, a.version, e.number, "
                  "a.site, a.file, a.station, a.device{} FROM stored_events e JOIN stored_analyses a ON a.analysis = "
                  "e.analysis",
                  columns_from(events_table(), 4, "e")));
  statements.push_back(
      fmt::format("CREATE VIEW segments AS SELECT a.sha256, s.part, s.set_number, a.parameters, a.version, s.event, "
                  "s.number, a.site, a.file{} FROM stored_segments s JOIN stored_analyses a ON a.analysis = "
                  "s.analysis",
                  columns_from(segments_table(), 5, "s")));
  statements.emplace_back(
      "CREATE VIEW refusals AS SELECT a.sha256, r.part, r.set_number, a.parameters, a.version, r.reason, r.message, "
      "r.file, a.site, a.start_clock FROM stored_refusals r LEFT JOIN stored_analyses a ON a.analysis = r.analysis");
  statements.emplace_back(
      "CREATE VIEW sites AS SELECT a.site, a.parameters, a.version, count(*) AS records, "
      "sum(CASE WHEN a.outcome = 'refused' THEN 1 ELSE 0 END) AS refused, "
      "min(a.start_clock) AS first_clock, max(a.start_clock) AS last_clock, "
      "sum((SELECT count(*) FROM stored_events e WHERE e.analysis = a.analysis AND e.kind = 'dip')) AS dips, "
      "sum((SELECT count(*) FROM stored_events e WHERE e.analysis = a.analysis AND e.kind = 'swell')) AS swells, "
      "sum((SELECT count(*) FROM stored_events e WHERE e.analysis = a.analysis AND e.kind = 'interruption')) "
      "AS interruptions FROM stored_analyses a GROUP BY a.site, a.parameters, a.version");
  return statements;
}

std::vector<std::string> migration_statements(int from_version) {
  std::vector<std::string> statements;
  // Version 2 added the pending events.
  if (from_version < 2) statements.push_back(table_statement(pending_table()));
  return statements;
}

std::string column_names(const Table& table) {
  std::string names;
  for (const Column& column : table.columns) names += (names.empty() ? "" : ", ") + std::string(column.name);
  return names;
}

}  // namespace archive
