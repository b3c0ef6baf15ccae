#include "analysis/assessment.h"

#include <algorithm>
#include <iterator>
#include <string>

#include "analysis/event_terms.h"
#include "analysis/lowest_segment.h"
#include "assess/classes.h"
#include "assess/known_curves.h"

namespace analysis {

namespace {

using measure::EventKind;

/// Adds the pieces of a dip and its kind to its shape.
void add_course(assess::EventShape& shape, const measure::Event& dip, const Analysis& analysis) {
  const std::size_t phases = analysis.voltages.phases;
  bool all_measured = dip.course->end_s.has_value();
  const auto& segments = dip.course->segments;
  for (std::size_t i = 0; i < segments.size(); i++) {
    const auto volts = lowest_volts(segments[i], phases);
    const auto end = i + 1 < segments.size() ? std::optional(segments[i + 1].start_s) : segments[i].end_s;
    if (!volts || !end) {
      all_measured = false;
      continue;
    }
    shape.pieces.push_back({*end - segments[i].start_s, 100 * *volts / dip.reference_v});
  }
  if (!all_measured) shape.pieces.clear();
  const measure::Segment* lowest = lowest_segment(*dip.course, phases);
  if (lowest != nullptr && lowest->type) shape.kind = assess::kind_of(lowest->type->letter);
}

/// Returns whether an interruption begins during a dip. `events` are in the order of their starts.
bool holds_interruption(const measure::Event& dip, const std::vector<measure::Event>& events) {
  auto other = std::lower_bound(events.begin(), events.end(), dip.start_s,
                                [](const measure::Event& event, double start_s) { return event.start_s < start_s; });
  for (; other != events.end() && (!dip.end_s || other->start_s <= *dip.end_s); ++other) {
    if (other->kind == EventKind::interruption) return true;
  }
  return false;
}

}  // namespace

assess::EventShape shape_of(const measure::Event& event, const Analysis& analysis) {
  assess::EventShape shape;
  shape.terms = terms_of(event, analysis);
  shape.swell = event.kind == EventKind::swell;
  if (event.kind != EventKind::dip) return shape;
  shape.interruption = holds_interruption(event, analysis.found.events);
  if (event.course && event.reference_v > 0) add_course(shape, event, analysis);
  return shape;
}

std::vector<assess::Curve> tolerance_curves(const Analysis& analysis) {
  std::vector<assess::Curve> curves = analysis.own_curves;
  std::vector<assess::Curve> known = assess::known_curves(analysis.voltages.line_frequency);
  std::move(known.begin(), known.end(), std::back_inserter(curves));
  return curves;
}

std::vector<assess::Curve> drawn_curves(const Analysis& analysis) {
  std::vector<assess::Curve> curves = assess::known_curves(analysis.voltages.line_frequency);
  std::erase_if(curves, [](const assess::Curve& curve) { return curve.code != "itic" && curve.code != "semi_f47"; });
  return curves;
}

std::vector<Judgement> judgements_of(const measure::Event& event, const Analysis& analysis) {
  std::vector<Judgement> judgements;
  if (event.kind != EventKind::dip && event.kind != EventKind::swell) return judgements;
  const assess::EventShape shape = shape_of(event, analysis);
  for (assess::Curve& curve : tolerance_curves(analysis)) {
    if (!applies_to(curve, shape)) continue;
    Judgement judgement{{}, verdict_of(curve, shape), verdict_by_steps(curve, shape), severity_of(curve, shape)};
    judgement.curve = std::move(curve);
    judgements.push_back(std::move(judgement));
  }
  return judgements;
}

std::string codes_with(assess::Outcome outcome, const std::vector<Judgement>& judgements) {
  std::string codes;
  for (const Judgement& judgement : judgements) {
    if (judgement.whole.outcome == outcome) codes += (codes.empty() ? "" : " ") + judgement.curve.code;
  }
  return codes;
}

std::optional<double> severity_by(const char* curve, const std::vector<Judgement>& judgements) {
  const auto judgement =
      std::find_if(judgements.begin(), judgements.end(), [&](const Judgement& one) { return one.curve.code == curve; });
  return judgement == judgements.end() ? std::nullopt : judgement->severity;
}

}  // namespace analysis
