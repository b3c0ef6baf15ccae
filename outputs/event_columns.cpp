#include "outputs/event_columns.h"

#include <fmt/format.h>

#include "analysis/event_terms.h"
#include "analysis/quantity_text.h"
#include "outputs/figures_text.h"
#include "outputs/notes.h"
#include "outputs/voltage_names.h"
#include "readers/text.h"

namespace outputs {

using analysis::Analysis;

namespace {

/// Returns the types of a dip's segments in order of time: "E, B".
std::string types_of(const measure::Event& event) {
  std::string types;
  if (!event.course) return types;
  for (const measure::Segment& segment : event.course->segments) {
    if (segment.type) types += (types.empty() ? "" : ", ") + std::string(1, segment.type->letter);
  }
  return types;
}

std::string size_of(const measure::Event& event, const Analysis& analysis) {
  const bool change = event.kind == measure::EventKind::rapid_voltage_change;
  if (!(event.reference_v > 0)) return analysis::volts_text(change ? event.delta_max_v : event.extreme_v);
  return analysis::percent_text(change ? 100 * event.delta_max_v / event.reference_v
                                       : terms_of(event, analysis).percent);
}

/// Formats a duration: "307.7 ms", ">173.3 ms" if the record does not show all of it.
std::string duration_of(const measure::Event& event, const Analysis& analysis) {
  const auto terms = terms_of(event, analysis);
  return (terms.seconds ? "" : ">") + analysis::duration_text(terms.least_seconds);
}

const char* short_kind(measure::EventKind kind) {
  return kind == measure::EventKind::rapid_voltage_change ? "rapid change" : analysis::kind_words(kind);
}

std::string line_of(const readers::Record& record, const Analysis& analysis, std::size_t index,
                    const Colours& colours) {
  const measure::Event& event = analysis.found.events[index];
  const std::string start =
      event.start_known ? instant_text(analysis.voltages.record_seconds(event.start_s)) : "before";
  std::string line =
      fmt::format("{:>3}  {:<12}{:>12}{:>11}", index + 1, short_kind(event.kind), start, duration_of(event, analysis));
  line += colours.low(fmt::format("{:>9}", size_of(event, analysis)));
  line += "  " + voltages_text(record, analysis.voltages, event.phases);
  const std::string types = types_of(event);
  return line + (types.empty() ? "" : "  " + types) + '\n';
}

}  // namespace

std::string event_columns_of(const readers::Record& record, const Analysis& analysis, const Colours& colours) {
  const auto& events = analysis.found.events;
  std::string text = colours.heading(readers::inert(record.file)) + "  " +
                     (events.empty() ? "no events" : readers::plural(events.size(), "event"));
  const std::size_t notes = notes_of(record, analysis).size();
  if (notes > 0) text += ", " + readers::plural(notes, "note");
  text += '\n';
  for (std::size_t i = 0; i < events.size(); i++) text += line_of(record, analysis, i, colours);
  return text;
}

}  // namespace outputs
