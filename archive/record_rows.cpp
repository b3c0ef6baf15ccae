#include "archive/record_rows.h"

#include <fmt/ranges.h>

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include "analysis/assessment.h"
#include "analysis/event_terms.h"
#include "analysis/lowest_segment.h"
#include "assess/classes.h"
#include "outputs/notes.h"
#include "outputs/rounding.h"
#include "outputs/voltage_names.h"
#include "readers/clock_time.h"

namespace archive {

using analysis::Analysis;
using measure::Event;
using measure::EventKind;
using measure::Segment;

namespace {

template <typename Rounding>
Value rounded(const std::optional<double>& value, Rounding rounding) {
  const Value finite = number(value);
  return std::holds_alternative<double>(finite) ? Value(rounding(std::get<double>(finite))) : finite;
}

Value flag(bool value) {
  return whole(value ? 1 : 0);
}

class Rows {
 public:
  Rows(const readers::Record& record, const Analysis& analysis, const std::string& key)
      : record_(record), analysis_(analysis), voltages_(analysis.voltages), key_(key) {}

  [[nodiscard]] Row event(std::size_t index) const {
    Row row = place();
    row.push_back(whole(index + 1));
    const Event& event = analysis_.found.events[index];
    const auto terms = terms_of(event, analysis_);
    add_times(row, event, terms);
    add_size(row, event, terms);
    row.push_back(text(deepest_type(event)));
    row.push_back(event.course ? whole(event.course->segments.size()) : Value());
    row.push_back(rounded(terms.cycle_seconds, outputs::rounded_seconds));
    add_assessment(row, index);
    return row;
  }

  [[nodiscard]] Row segment(std::size_t event, std::size_t index, const Segment& segment) const {
    Row row = place();
    row.push_back(whole(event + 1));
    row.push_back(whole(index + 1));
    row.push_back(seconds(segment.start_s));
    row.push_back(seconds(segment.end_s));
    row.push_back(flag(segment.gradual));
    row.push_back(flag(segment.measured));
    if (segment.measured) add_figures(row, segment);
    row.resize(segments_table().columns.size());
    return row;
  }

 private:
  /// The key columns that all rows share.
  [[nodiscard]] Row place() const { return {key_, whole(voltages_.part_number), whole(voltages_.set)}; }

  [[nodiscard]] Value seconds(const std::optional<double>& measured) const {
    return measured ? Value(outputs::rounded_seconds(voltages_.record_seconds(*measured))) : Value();
  }

  [[nodiscard]] Value clock(const std::optional<double>& measured) const {
    return measured ? text(readers::iso_time(record_, voltages_.record_seconds(*measured))) : Value();
  }

  void add_times(Row& row, const Event& event, const analysis::EventTerms& terms) const {
    row.emplace_back(analysis::kind_code(event.kind));
    row.emplace_back(voltages_.between_phases ? "line-to-line" : "phase");
    row.push_back(seconds(event.start_s));
    row.push_back(flag(event.start_known));
    row.push_back(seconds(event.end_s));
    row.push_back(rounded(terms.seconds, outputs::rounded_seconds));
    row.push_back(rounded(terms.least_seconds, outputs::rounded_seconds));
    row.push_back(clock(event.start_s));
    row.push_back(clock(event.end_s));
  }

  void add_size(Row& row, const Event& event, const analysis::EventTerms& terms) const {
    const bool change = event.kind == EventKind::rapid_voltage_change;
    const auto only = [](bool wanted, double value) { return wanted ? std::optional(value) : std::nullopt; };
    row.push_back(rounded(only(!change, event.extreme_v), outputs::rounded_volts));
    row.push_back(rounded(only(!change, terms.percent), outputs::rounded_percent));
    row.push_back(rounded(only(change, event.delta_max_v), outputs::rounded_volts));
    row.push_back(rounded(only(change, event.delta_steady_v), outputs::rounded_volts));
    row.push_back(rounded(event.reference_v, outputs::rounded_volts));
    const bool declared = change && analysis_.declared;
    row.emplace_back(analysis::reference_code(declared ? measure::Reference::declared : analysis_.options.reference));
    row.push_back(
        rounded(change ? std::nullopt : analysis_.percent_of_declared(event.extreme_v), outputs::rounded_percent));
    const bool any = std::find(event.phases.begin(), event.phases.end(), true) != event.phases.end();
    row.push_back(any ? text(outputs::voltages_text(record_, voltages_, event.phases)) : Value());
  }

  /// Returns the type of the measured segment whose lowest voltage is the lowest of all.
  [[nodiscard]] std::string deepest_type(const Event& event) const {
    const Segment* lowest = event.course ? analysis::lowest_segment(*event.course, voltages_.phases) : nullptr;
    return lowest != nullptr && lowest->type ? std::string(1, lowest->type->letter) : "";
  }

  void add_assessment(Row& row, std::size_t index) const {
    const Event& event = analysis_.found.events[index];
    const bool swell = event.kind == EventKind::swell;
    if (!swell && event.kind != EventKind::dip) {
      row.resize(events_table().columns.size());
      return;
    }
    const auto shape = analysis::shape_of(event, analysis_);
    row.push_back(swell ? Value() : text(assess::en50160_cell(shape.terms)));
    row.push_back(swell ? text(assess::en50160_swell_cell(shape.terms)) : Value());
    row.push_back(swell ? Value() : text(assess::unipede_cell(shape.terms)));
    row.push_back(text(assess::ieee1159_class(shape.terms, swell)));
    row.push_back(shape.kind ? Value(std::string(assess::kind_numeral(*shape.kind))) : Value());
    const auto judgements = judgements_of(event, analysis_);
    using assess::Outcome;
    for (const Outcome outcome : {Outcome::rides_through, Outcome::trips, Outcome::too_close, Outcome::not_covered}) {
      row.push_back(text(analysis::codes_with(outcome, judgements)));
    }
    const auto indices = index < analysis_.indices.size() ? analysis_.indices[index] : std::nullopt;
    row.push_back(rounded(indices ? std::optional(indices->energy_s) : std::nullopt, outputs::rounded_seconds));
    row.push_back(rounded(indices ? std::optional(indices->lost_v_s) : std::nullopt, outputs::rounded_volts));
    row.push_back(rounded(analysis::severity_by("itic", judgements), outputs::rounded_seconds));
  }

  void add_figures(Row& row, const Segment& segment) const {
    row.push_back(segment.type ? Value(std::string(1, segment.type->letter)) : Value());
    row.push_back(segment.type ? Value(std::int64_t{segment.type->category}) : Value());
    const auto each = [&](auto write, std::size_t columns) {
      for (std::size_t phase = 0; phase < measure::most_phases; phase++) {
        const bool known = phase < voltages_.phases && segment.phases[phase].measured;
        if (known) {
          write(segment.phases[phase]);
        } else {
          row.resize(row.size() + columns);
        }
      }
    };
    each(
        [&](const measure::SegmentPhase& phase) {
          row.push_back(rounded(phase.voltage_v.value, outputs::rounded_volts));
          row.push_back(rounded(phase.voltage_v.plus_minus, outputs::rounded_volts));
        },
        2);
    each(
        [&](const measure::SegmentPhase& phase) {
          row.push_back(rounded(100 * phase.share_of_before, outputs::rounded_percent));
        },
        1);
    each(
        [&](const measure::SegmentPhase& phase) {
          const auto& jump = phase.phase_jump_degrees;
          row.push_back(rounded(jump ? std::optional(jump->value) : std::nullopt, outputs::rounded_degrees));
        },
        1);
    if (!segment.sequences) return;
    row.push_back(rounded(segment.sequences->positive_v, outputs::rounded_volts));
    row.push_back(rounded(segment.sequences->negative_v, outputs::rounded_volts));
    row.push_back(voltages_.between_phases ? Value() : rounded(segment.sequences->zero_v, outputs::rounded_volts));
    row.push_back(rounded(segment.sequences->unbalance_percent, outputs::rounded_percent));
  }

  const readers::Record& record_;
  const Analysis& analysis_;
  const analysis::AnalysedVoltages& voltages_;
  const std::string& key_;
};

}  // namespace

std::string site_of(const readers::Record& record) {
  if (record.station.empty() || record.device.empty()) return record.station + record.device;
  return record.station + ", " + record.device;
}

Row record_columns(const readers::Record& record, const Analysis& analysis) {
  const auto& rates = record.rates;
  double duration_s = 0;
  for (std::size_t i = 0; i < rates.size(); i++) {
    const std::size_t begin = i == 0 ? 0 : rates[i - 1].end;
    if (rates[i].rate <= 0) continue;
    duration_s = std::max(duration_s, rates[i].start + static_cast<double>(rates[i].end - begin) / rates[i].rate);
  }
  return {text(record.format),
          text(record.station),
          text(record.device),
          site_of(record),
          text(readers::iso_time(record, 0)),
          rounded(duration_s > 0 ? std::optional(duration_s) : std::nullopt, outputs::rounded_seconds),
          number(analysis.voltages.line_frequency),
          whole(analysis.voltages.sets),
          text(fmt::format("{}", fmt::join(outputs::notes_of(record, analysis), "\n")))};
}

void add_findings(const readers::Record& record, const Analysis& analysis, const std::string& key, TableRows& events,
                  TableRows& segments) {
  const Rows rows(record, analysis, key);
  for (std::size_t i = 0; i < analysis.found.events.size(); i++) {
    events.rows.push_back(rows.event(i));
    const auto& course = analysis.found.events[i].course;
    for (std::size_t s = 0; course && s < course->segments.size(); s++) {
      segments.rows.push_back(rows.segment(i, s, course->segments[s]));
    }
  }
}

}  // namespace archive
