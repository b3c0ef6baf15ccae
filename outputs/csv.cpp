#include "outputs/csv.h"

#include <fmt/format.h>

#include <cmath>
#include <optional>
#include <string_view>

#include "analysis/event_terms.h"
#include "outputs/dip_category_name.h"
#include "outputs/rounding.h"
#include "outputs/voltage_names.h"
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
    "event_phases,en50160_cell,"
    "course_start_s,course_start_s_plus_minus,course_end_s,course_end_s_plus_minus,"
    "point_on_wave_a_deg,point_on_wave_a_deg_plus_minus,point_on_wave_b_deg,point_on_wave_b_deg_plus_minus,"
    "point_on_wave_c_deg,point_on_wave_c_deg_plus_minus,"
    "frequency_before_hz,frequency_after_hz,explained_percent,"
    "segment,segment_start_s,segment_end_s,gradual,type,category_code,category,phases_below_90_percent_of_before,"
    "voltage_a_v,voltage_a_v_plus_minus,voltage_b_v,voltage_b_v_plus_minus,voltage_c_v,voltage_c_v_plus_minus,"
    "voltage_a_percent_of_before,voltage_b_percent_of_before,voltage_c_percent_of_before,"
    "phase_jump_a_deg,phase_jump_a_deg_plus_minus,phase_jump_b_deg,phase_jump_b_deg_plus_minus,"
    "phase_jump_c_deg,phase_jump_c_deg_plus_minus,"
    "positive_sequence_v,negative_sequence_v,zero_sequence_v,unbalance_percent\n";

using Rounding = double (*)(double);

/// One row, field by field.
class Row {
 public:
  Row& text(const std::string& value) { return add(csv_field(value)); }
  Row& number(std::size_t value) { return add(fmt::format("{}", value)); }
  Row& flag(bool value) { return add(value ? "true" : "false"); }
  Row& number(const std::optional<double>& value, Rounding rounding) {
    return value && std::isfinite(*value) ? add(fmt::format("{}", rounding(*value))) : skip(1);
  }
  /// Half widths of intervals keep six significant digits, however the figure itself is rounded.
  Row& figure(const std::optional<Figure>& figure, Rounding rounding) {
    if (!figure) return skip(2);
    return number(figure->value, rounding).number(figure->plus_minus, rounded_volts);
  }
  Row& skip(std::size_t fields) {
    for (std::size_t i = 0; i < fields; i++) add("");
    return *this;
  }
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
    if (!event.course) {
      text_ += about.skip(course_fields + segment_fields).line();
      return;
    }
    write_course(about, *event.course);
    if (event.course->segments.empty()) text_ += Row(about).skip(segment_fields).line();
    for (std::size_t s = 0; s < event.course->segments.size(); s++) {
      Row row = about;
      write_segment(row, s + 1, event.course->segments[s]);
      text_ += row.line();
    }
  }

  void write_event(Row& row, std::size_t index) const {
    const Event& event = analysis_.found.events[index];
    const auto terms = terms_of(event, analysis_);
    row.text(record_.file).text(record_.start_time);
    row.text(voltages_.between_phases ? "line-to-line" : "phase");
    row.number(index + 1).text(analysis::kind_code(event.kind));
    row.number(seconds(event.start_s), rounded_seconds).flag(event.start_known);
    row.number(seconds(event.end_s), rounded_seconds).number(terms.seconds, rounded_seconds);
    write_size(row, event);
    row.text(names(event.phases)).text(event.kind == EventKind::dip ? en50160_cell(terms) : "");
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
               [&](const SegmentPhase& phase) { row.number(100 * phase.share_of_before, rounded_percent); });
    each_phase(row, segment, 2,
               [&](const SegmentPhase& phase) { row.figure(phase.phase_jump_degrees, rounded_degrees); });
  }

  void write_sequences(Row& row, const Segment& segment) const {
    if (!segment.sequences) {
      row.skip(4);
      return;
    }
    const auto& sequences = *segment.sequences;
    const auto zero_v = voltages_.between_phases ? std::nullopt : std::optional(sequences.zero_v);
    row.number(sequences.positive_v, rounded_volts).number(sequences.negative_v, rounded_volts);
    row.number(zero_v, rounded_volts).number(sequences.unbalance_percent, rounded_percent);
  }

  const readers::Record& record_;
  const Analysis& analysis_;
  const analysis::AnalysedVoltages& voltages_;
  std::string text_;
};

}  // namespace

std::string csv_field(const std::string& text) {
  constexpr std::string_view calculating = "=+-@";
  // Some spreadsheets separate fields by semicolons or tabs, whatever the file does.
  constexpr std::string_view separators = ",;\t\"";
  std::string field = readers::inert(text);
  if (!field.empty() && calculating.find(field.front()) != std::string_view::npos) field.insert(0, "'");
  if (field.find_first_of(separators) == std::string::npos) return field;
  for (std::size_t i = field.find('"'); i != std::string::npos; i = field.find('"', i + 2)) field.insert(i, "\"");
  return '"' + field + '"';
}

std::string csv_of(const readers::Record& record, const Analysis& analysis) {
  return Table(record, analysis).text();
}

}  // namespace outputs
