// Gives the findings to the assessment: the shape of each event, the curves that judge it, and all verdicts on it.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "analysis/findings.h"
#include "assess/curve.h"
#include "assess/event_terms.h"
#include "assess/verdict.h"

namespace analysis {

/// Describes a dip or a swell for verdicts. The kind of a dip is that of the segment with the lowest voltage. A
/// segment's piece lasts until the next segment begins.
assess::EventShape shape_of(const measure::Event& event, const Analysis& analysis);

/// Returns the curves for an analysis: the user's own ones and then the published ones.
std::vector<assess::Curve> tolerance_curves(const Analysis& analysis);

/// Returns the curves that are judged by residual voltage and duration alone and are drawn: ITIC and SEMI F47.
std::vector<assess::Curve> drawn_curves(const Analysis& analysis);

/// A verdict on an event by one curve.
struct Judgement {
  assess::Curve curve;
  assess::Verdict whole;                    ///< by residual voltage and duration
  std::optional<assess::Verdict> by_steps;  ///< by the time below each step; none for dips with fewer than two segments
  std::optional<double> severity;
};

/// Judges a dip or a swell by all curves that are made for it; returns nothing for other events.
std::vector<Judgement> judgements_of(const measure::Event& event, const Analysis& analysis);

/// Returns the codes of the curves with an outcome by residual voltage and duration, separated by blanks.
std::string codes_with(assess::Outcome outcome, const std::vector<Judgement>& judgements);

/// Returns the severity by a curve; empty if it has none or did not judge.
std::optional<double> severity_by(const char* curve, const std::vector<Judgement>& judgements);

}  // namespace analysis
