#include "outputs/csv.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cmath>
#include <optional>
#include <string_view>
#include <vector>

#include "analysis/assessment.h"
#include "analysis/event_terms.h"
#include "analysis/load_voltages.h"
#include "assess/classes.h"
#include "outputs/dip_category_name.h"
#include "outputs/figures_text.h"
#include "outputs/notes.h"
#include "outputs/rounding.h"
#include "outputs/voltage_names.h"
#include "readers/clock_time.h"
#include "readers/text.h"

namespace outputs {

using analysis::Analysis;
using measure::Course;
using measure::Event;
using measure::EventKind;
using measure::Figure;
using measure::Segment;
using measure::SegmentPhase;

namespace {

constexpr const char* heading =
    "file,start_time,voltages,event,kind,event_start_s,event_start_known,event_end_s,event_duration_s,"
    "extreme_v,extreme_percent_of_reference,delta_max_v,delta_steady_v,reference_v,reference,percent_of_declared,"
    "event_phases,en50160_cell,en50160_cell_near_limit,event_start_clock,event_end_clock,event_start_s_from_trigger,"
    "course_start_s,course_start_s_plus_minus,course_end_s,course_end_s_plus_minus,"
    "point_on_wave_a_deg,point_on_wave_a_deg_plus_minus,point_on_wave_b_deg,point_on_wave_b_deg_plus_minus,"
    "point_on_wave_c_deg,point_on_wave_c_deg_plus_minus,"
    "frequency_before_hz,frequency_after_hz,explained_percent,"
    "segment,segment_start_s,segment_end_s,gradual,type,category_code,category,phases_below_90_percent_of_before,"
    "voltage_a_v,voltage_a_v_plus_minus,voltage_b_v,voltage_b_v_plus_minus,voltage_c_v,voltage_c_v_plus_minus,"
    "voltage_a_percent_of_before,voltage_b_percent_of_before,voltage_c_percent_of_before,"
    "phase_jump_a_deg,phase_jump_a_deg_plus_minus,phase_jump_b_deg,phase_jump_b_deg_plus_minus,"
    "phase_jump_c_deg,phase_jump_c_deg_plus_minus,"
    "positive_sequence_v,negative_sequence_v,zero_sequence_v,unbalance_percent,"
    "en50160_swell_cell,unipede_cell,ieee1159_class,c4_110_type,rides_through,trips,too_close_to_tell,not_covered,"
    "dip_energy_s,lost_v_s,severity_by_itic,"
    "through,load_phase_percent,load_phase_c4_110_type,load_line_percent,load_line_c4_110_type,"
    "lowest_rms_a_v,lowest_rms_b_v,lowest_rms_c_v,highest_rms_a_v,highest_rms_b_v,highest_rms_c_v,notes\n";

using Rounding = double (*)(double);

/// Returns whether a field has the form of a number: "-12.5", "3e-05".
bool is_number(std::string_view field) {
  const auto digits = [&] {
    const std::size_t count = std::min(field.find_first_not_of("0123456789"), field.size());
    field.remove_prefix(count);
    return count > 0;
  };
  const auto skip_one_of = [&](std::string_view letters) {
    const bool found = !field.empty() && letters.find(field.front()) != letters.npos;
    if (found) field.remove_prefix(1);
    return found;
  };
  skip_one_of("+-");
  if (!digits()) return false;
  if (skip_one_of(".") && !digits()) return false;
  if (skip_one_of("eE") && (skip_one_of("+-"), !digits())) return false;
  return field.empty();
}

/// Decimals of the smallest unit of any figure.
constexpr int most_decimals = 9;

double as_it_is(double value) {
  return value;
}

/// Builds one row, field by field.
class Row {
 public:
  /// Quotes a text that has the form of a number, so that only numbers are without quotation marks.
  Row& text(const std::string& value) {
    const std::string field = csv_field(value);
    return add(is_number(field) ? '"' + field + '"' : field);
  }
  Row& number(std::size_t value) { return add(fmt::format("{}", value)); }
  Row& flag(bool value) { return add(value ? "true" : "false"); }
  Row& number(const std::optional<double>& value, Rounding rounding) {
    return value && std::isfinite(*value) ? add(fmt::format("{}", rounding(*value))) : skip(1);
  }
  /// Writes a figure with two significant digits of its half width, and no digit of the figure beyond them.
  Row& figure(const std::optional<Figure>& figure, Rounding rounding) {
    if (!figure) return skip(2);
    const Figure shown = rounded_figure({rounding(figure->value), figure->plus_minus}, most_decimals);
    return number(shown.value, as_it_is).number(shown.plus_minus, rounded_volts);
  }
  /// Writes only the figure of a pair.
  Row& figure_alone(const std::optional<Figure>& figure, Rounding rounding) {
    if (!figure) return skip(1);
    return number(rounded_figure({rounding(figure->value), figure->plus_minus}, most_decimals).value, as_it_is);
  }
  Row& skip(std::size_t fields) {
    for (std::size_t i = 0; i < fields; i++) add("");
    return *this;
  }
  Row& followed_by(const Row& other) { return add(other.row_); }
  [[nodiscard]] std::string line() const { return row_ + '\n'; }

 private:
  Row& add(std::string_view field) {
    if (!first_) row_ += ',';
    first_ = false;
    row_ += field;
    return *this;
  }
  std::string row_;
  bool first_ = true;
};

class Table {
 public:
  Table(const readers::Record& record, const Analysis& analysis)
      : record_(record), analysis_(analysis), voltages_(analysis.voltages) {}

  std::string text() {
    text_ = heading;
    for (std::size_t i = 0; i < analysis_.found.events.size(); i++) add_event(i);
    if (analysis_.found.events.empty()) add_row_without_event();
    return text_;
  }

 private:
  [[nodiscard]] double seconds(double measured) const { return voltages_.record_seconds(measured); }
  [[nodiscard]] std::optional<double> seconds(const std::optional<double>& measured) const {
    return measured ? std::optional(seconds(*measured)) : std::nullopt;
  }
  [[nodiscard]] std::optional<Figure> seconds(const std::optional<Figure>& measured) const {
    return measured ? std::optional(Figure{seconds(measured->value), measured->plus_minus}) : std::nullopt;
  }
  [[nodiscard]] std::string names(const measure::PhaseFlags& flags) const {
    const bool any = flags[0] || flags[1] || flags[2];
    return any ? voltages_text(record_, voltages_, flags) : "";
  }

  void add_event(std::size_t index) {
    const Event& event = analysis_.found.events[index];
    Row about;
    write_event(about, index);
    Row assessment;
    write_assessment(assessment, index);
    write_whole_record(assessment);
    if (!event.course) {
      text_ += about.skip(course_fields + segment_fields).followed_by(assessment).line();
      return;
    }
    write_course(about, *event.course);
    if (event.course->segments.empty()) {
      text_ += Row(about).skip(segment_fields).followed_by(assessment).line();
    }
    for (std::size_t s = 0; s < event.course->segments.size(); s++) {
      Row row = about;
      write_segment(row, s + 1, event.course->segments[s]);
      text_ += row.followed_by(assessment).line();
    }
  }

  /// A record without events has a row as well, so that a table of many records holds each of them.
  void add_row_without_event() {
    constexpr std::size_t fields_after_kind = 17;
    Row row;
    write_record(row);
    row.text("").text("none").skip(fields_after_kind + course_fields + segment_fields + assessment_fields);
    write_whole_record(row);
    text_ += row.line();
  }

  void write_record(Row& row) const {
    row.text(record_.file).text(record_.start_time);
    row.text(voltages_.between_phases ? "line-to-line" : "phase");
  }

  /// Writes the lowest and highest values of the whole record and the notes on it, which are the same in all its rows.
  void write_whole_record(Row& row) const {
    for (const auto* volts : {&analysis_.lowest_rms_v, &analysis_.highest_rms_v}) {
      for (std::size_t phase = 0; phase < measure::most_phases; phase++) {
        row.number(phase < voltages_.phases ? std::optional((*volts)[phase]) : std::nullopt, rounded_volts);
      }
    }
    row.text(fmt::format("{}", fmt::join(notes_of(record_, analysis_), " | ")));
  }

  static constexpr std::size_t assessment_fields = 16;

  /// Writes what the event means. The assessment is the same in all rows of an event.
  void write_assessment(Row& row, std::size_t index) const {
    const Event& event = analysis_.found.events[index];
    const bool swell = event.kind == EventKind::swell;
    if (!swell && event.kind != EventKind::dip) {
      row.skip(assessment_fields);
      return;
    }
    const auto shape = analysis::shape_of(event, analysis_);
    row.text(swell ? en50160_swell_cell(shape.terms) : "").text(swell ? "" : unipede_cell(shape.terms));
    row.text(ieee1159_class(shape.terms, swell)).text(shape.kind ? kind_numeral(*shape.kind) : "");
    const auto judgements = judgements_of(event, analysis_);
    write_verdicts(row, judgements);
    const auto indices = index < analysis_.indices.size() ? analysis_.indices[index] : std::nullopt;
    row.number(indices ? std::optional(indices->energy_s) : std::nullopt, rounded_seconds);
    row.number(indices ? std::optional(indices->lost_v_s) : std::nullopt, rounded_volts);
    row.number(analysis::severity_by("itic", judgements), rounded_seconds);
    write_load(row, index);
  }

  /// Writes what a load sees of a dip.
  void write_load(Row& row, std::size_t index) const {
    constexpr std::size_t load_fields = 5;
    if (!analysis_.load || analysis_.found.events[index].kind != EventKind::dip) {
      row.skip(load_fields);
      return;
    }
    row.text(names_of(analysis_.load->connections));
    write_lowest(row, index, analysis_.load->phases);
    write_lowest(row, index, analysis_.load->lines);
  }

  /// Writes the residual voltage and the type of the deepest of the load's dips at the time of a dip.
  void write_lowest(Row& row, std::size_t index, const Analysis& load) const {
    const Event* lowest = nullptr;
    for (const Event& event : load.found.events) {
      if (event.kind != EventKind::dip) continue;
      const auto dips = analysis::dips_at(event, analysis_);
      if (std::find(dips.begin(), dips.end(), index) == dips.end()) continue;
      if (lowest == nullptr || event.extreme_v < lowest->extreme_v) lowest = &event;
    }
    if (lowest == nullptr) {
      row.skip(2);
      return;
    }
    const auto kind = analysis::shape_of(*lowest, load).kind;
    row.number(terms_of(*lowest, load).percent, rounded_percent).text(kind ? kind_numeral(*kind) : "");
  }

  /// Writes the codes of the curves with each verdict.
  static void write_verdicts(Row& row, const std::vector<analysis::Judgement>& judgements) {
    using assess::Outcome;
    for (const Outcome outcome : {Outcome::rides_through, Outcome::trips, Outcome::too_close, Outcome::not_covered}) {
      row.text(analysis::codes_with(outcome, judgements));
    }
  }

  void write_event(Row& row, std::size_t index) const {
    const Event& event = analysis_.found.events[index];
    const auto terms = terms_of(event, analysis_);
    write_record(row);
    row.number(index + 1).text(analysis::kind_code(event.kind));
    row.number(seconds(event.start_s), rounded_seconds).flag(event.start_known);
    row.number(seconds(event.end_s), rounded_seconds).number(terms.seconds, rounded_seconds);
    write_size(row, event);
    row.text(names(event.phases));
    write_cell(row, event, terms);
    write_clock(row, event);
  }

  static void write_cell(Row& row, const Event& event, const analysis::EventTerms& terms) {
    const std::string cell = event.kind == EventKind::dip ? en50160_cell(terms) : "";
    if (cell.empty()) {
      row.skip(2);
    } else {
      row.text(cell).flag(is_near_cell_limit(terms));
    }
  }

  void write_clock(Row& row, const Event& event) const {
    const double start = seconds(event.start_s);
    const auto end = seconds(event.end_s);
    row.text(event.start_known ? readers::iso_time(record_, start) : "");
    row.text(end ? readers::iso_time(record_, *end) : "");
    row.number(record_.trigger ? std::optional(start - *record_.trigger) : std::nullopt, rounded_seconds);
  }

  void write_size(Row& row, const Event& event) const {
    const bool change = event.kind == EventKind::rapid_voltage_change;
    const bool of_declared = change && analysis_.declared;
    const auto reference = of_declared ? measure::Reference::declared : analysis_.options.reference;
    if (change) {
      row.skip(2).number(event.delta_max_v, rounded_volts).number(event.delta_steady_v, rounded_volts);
    } else {
      row.number(event.extreme_v, rounded_volts).number(terms_of(event, analysis_).percent, rounded_percent).skip(2);
    }
    row.number(event.reference_v, rounded_volts).text(analysis::reference_code(reference));
    row.number(change ? std::nullopt : analysis_.percent_of_declared(event.extreme_v), rounded_percent);
  }

  static constexpr std::size_t course_fields = 13;
  void write_course(Row& row, const Course& course) const {
    row.figure(seconds(course.start_s), rounded_seconds).figure(seconds(course.end_s), rounded_seconds);
    for (const auto& degrees : course.point_on_wave_degrees) row.figure(degrees, rounded_degrees);
    row.number(course.frequency_before, rounded_hertz).number(course.frequency_after, rounded_hertz);
    const auto& share = course.explained_share;
    row.number(share ? std::optional(100 * *share) : std::nullopt, rounded_percent);
  }

  static constexpr std::size_t segment_fields = 27;
  void write_segment(Row& row, std::size_t number, const Segment& segment) const {
    row.number(number).number(seconds(segment.start_s), rounded_seconds);
    row.number(seconds(segment.end_s), rounded_seconds).flag(segment.gradual);
    constexpr std::size_t fields_of_place = 4;
    if (!segment.measured) {
      row.skip(segment_fields - fields_of_place);
      return;
    }
    write_type(row, segment);
    write_phases(row, segment);
    write_sequences(row, segment);
  }

  void write_type(Row& row, const Segment& segment) const {
    if (segment.type) {
      row.text(std::string(1, segment.type->letter)).number(static_cast<std::size_t>(segment.type->category));
      row.text(dip_category_name(segment.type->category, voltages_.between_phases));
    } else {
      row.skip(3);
    }
    measure::PhaseFlags below{};
    for (std::size_t phase = 0; phase < voltages_.phases; phase++) below[phase] = segment.phases[phase].below_threshold;
    row.text(names(below));
  }

  /// The figures of each voltage, and empty fields for those that are not analysed or whose samples are missing.
  template <typename Write>
  void each_phase(Row& row, const Segment& segment, std::size_t fields, Write write) const {
    for (std::size_t phase = 0; phase < measure::most_phases; phase++) {
      if (phase < voltages_.phases && segment.phases[phase].measured) {
        write(segment.phases[phase]);
      } else {
        row.skip(fields);
      }
    }
  }

  void write_phases(Row& row, const Segment& segment) const {
    each_phase(row, segment, 2, [&](const SegmentPhase& phase) { row.figure(phase.voltage_v, rounded_volts); });
    each_phase(row, segment, 1,
               [&](const SegmentPhase& phase) { row.figure_alone(percent_of_before(phase), rounded_percent); });
    each_phase(row, segment, 2,
               [&](const SegmentPhase& phase) { row.figure(phase.phase_jump_degrees, rounded_degrees); });
  }

  void write_sequences(Row& row, const Segment& segment) const {
    if (!segment.sequences) {
      row.skip(4);
      return;
    }
    const auto& sequences = *segment.sequences;
    const double plus_minus = sequence_plus_minus(segment);
    row.figure_alone(Figure{sequences.positive_v, plus_minus}, rounded_volts);
    row.figure_alone(Figure{sequences.negative_v, plus_minus}, rounded_volts);
    const auto zero = voltages_.between_phases ? std::nullopt : std::optional(Figure{sequences.zero_v, plus_minus});
    row.figure_alone(zero, rounded_volts).figure_alone(unbalance_percent(segment), rounded_percent);
  }

  const readers::Record& record_;
  const Analysis& analysis_;
  const analysis::AnalysedVoltages& voltages_;
  std::string text_;
};

/// Returns whether a spreadsheet may calculate a cell. Some ignore blanks and quotation marks before it, and some know
/// the wide forms of the signs.
bool calculates(std::string_view cell) {
  constexpr std::string_view ignored = " \"";
  cell.remove_prefix(std::min(cell.find_first_not_of(ignored), cell.size()));
  for (const std::string_view sign : {"=", "+", "-", "@", "\uFF1D", "\uFF0B", "\uFF0D", "\uFF20"}) {
    if (cell.starts_with(sign)) return true;
  }
  return false;
}

/// Puts an apostrophe before everything that a spreadsheet would calculate. Where a list is separated by semicolons,
/// spreadsheets divide this file at semicolons too, and quotation marks do not keep them from it, because they are then
/// in the middle of a cell.
std::string guarded(std::string_view text) {
  std::string result;
  for (;;) {
    const std::string_view cell = text.substr(0, text.find(';'));
    if (calculates(cell)) result += '\'';
    result += cell;
    if (cell.size() == text.size()) return result;
    result += ';';
    text.remove_prefix(cell.size() + 1);
  }
}

}  // namespace

std::string csv_field(const std::string& text) {
  constexpr std::string_view separators = ",;\t\"";
  std::string field = guarded(readers::inert(text));
  if (field.find_first_of(separators) == std::string::npos) return field;
  for (std::size_t i = field.find('"'); i != std::string::npos; i = field.find('"', i + 2)) field.insert(i, "\"");
  return '"' + field + '"';
}

std::string csv_for_excel(const std::string& table) {
  std::string result;
  std::size_t begin = 0;  // of the field
  bool quoted = false;
  for (std::size_t at = 0; at < table.size(); at++) {
    if (table[at] == '"') quoted = !quoted;
    if (quoted || (table[at] != ',' && table[at] != '\n')) continue;
    std::string field = table.substr(begin, at - begin);
    if (is_number(field)) std::replace(field.begin(), field.end(), '.', ',');
    result += field + (table[at] == ',' ? ';' : '\n');
    begin = at + 1;
  }
  return result;
}

std::string csv_of(const readers::Record& record, const Analysis& analysis) {
  return Table(record, analysis).text();
}

}  // namespace outputs
