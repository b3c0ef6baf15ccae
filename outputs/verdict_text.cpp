#include "outputs/verdict_text.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <vector>

#include "analysis/assessment.h"
#include "analysis/event_terms.h"
#include "analysis/quantity_text.h"
#include "assess/classes.h"
#include "readers/text.h"

namespace outputs {

using analysis::Analysis;
using analysis::Judgement;
using assess::Outcome;
using measure::EventKind;

namespace {

/// The order in which verdicts are listed.
constexpr std::array<Outcome, 4> outcomes = {Outcome::rides_through, Outcome::trips, Outcome::too_close,
                                             Outcome::not_covered};

std::string joined(const std::vector<std::string>& words, const char* separator) {
  return fmt::format("{}", fmt::join(words, separator));
}

std::string name_of(const Judgement& judgement) {
  return readers::inert(judgement.curve.name);
}

/// Lists the curves with an outcome: "trips: ITIC, SEMI F47".
std::string outcome_list(const std::vector<Judgement>& judgements, Outcome outcome) {
  std::vector<std::string> names;
  for (const Judgement& judgement : judgements) {
    if (judgement.whole.outcome == outcome) names.push_back(name_of(judgement));
  }
  if (names.empty()) return "";
  return fmt::format("{}: {}", outcome_words(outcome), joined(names, ", "));
}

/// Lists the curves that do not cover the event, with each reason once: "not covered: SEMI F47 (longer than 1 s)".
std::string not_covered_list(const std::vector<Judgement>& judgements) {
  std::vector<std::string> reasons;
  std::vector<std::vector<std::string>> names;
  for (const Judgement& judgement : judgements) {
    if (judgement.whole.outcome != Outcome::not_covered) continue;
    const auto at = std::find(reasons.begin(), reasons.end(), judgement.whole.reason);
    const auto number = static_cast<std::size_t>(at - reasons.begin());
    if (at == reasons.end()) {
      reasons.push_back(judgement.whole.reason);
      names.emplace_back();
    }
    names[number].push_back(name_of(judgement));
  }
  std::vector<std::string> parts;
  for (std::size_t i = 0; i < reasons.size(); i++) {
    parts.push_back(fmt::format("{} ({})", joined(names[i], ", "), reasons[i]));
  }
  return parts.empty() ? "" : "not covered: " + joined(parts, ", ");
}

/// Lists the curves by which the verdict step by step is another one: "step by step: trips (ITIC), rides through (SEMI
/// F47)".
std::string steps_list(const std::vector<Judgement>& judgements) {
  std::vector<std::string> parts;
  for (const Outcome outcome : outcomes) {
    std::vector<std::string> names;
    for (const Judgement& judgement : judgements) {
      if (!judgement.by_steps || judgement.by_steps->outcome == judgement.whole.outcome) continue;
      if (judgement.by_steps->outcome == outcome) names.push_back(name_of(judgement));
    }
    if (!names.empty()) parts.push_back(fmt::format("{} ({})", outcome_words(outcome), joined(names, ", ")));
  }
  return parts.empty() ? "" : "step by step: " + joined(parts, ", ");
}

std::vector<std::string> classes_of_dip(const assess::EventShape& dip) {
  std::vector<std::string> words;
  const std::string cell = en50160_cell(dip.terms);
  if (!cell.empty())
    words.push_back(fmt::format("cell {}{} of EN 50160", cell, is_near_cell_limit(dip.terms) ? " ±" : ""));
  const std::string unipede = unipede_cell(dip.terms);
  if (!unipede.empty()) words.push_back("UNIPEDE " + unipede);
  if (dip.kind) words.push_back(fmt::format("type {} of C4.110", kind_numeral(*dip.kind)));
  return words;
}

}  // namespace

std::string verdicts_sentence(const measure::Event& event, const Analysis& analysis) {
  const auto judgements = judgements_of(event, analysis);
  std::vector<std::string> parts;
  for (const Outcome outcome : outcomes) {
    const bool covered = outcome != Outcome::not_covered;
    const std::string list = covered ? outcome_list(judgements, outcome) : not_covered_list(judgements);
    if (!list.empty()) parts.push_back(list);
  }
  const std::string by_steps = steps_list(judgements);
  if (!by_steps.empty()) parts.push_back(by_steps);
  std::string sentence = joined(parts, "; ");
  if (!sentence.empty()) sentence[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(sentence[0])));
  return sentence;
}

std::string classes_sentence(const measure::Event& event, const Analysis& analysis) {
  const bool swell = event.kind == EventKind::swell;
  if (!swell && event.kind != EventKind::dip) return "";
  const auto shape = analysis::shape_of(event, analysis);
  std::vector<std::string> words;
  if (swell) {
    const std::string cell = en50160_swell_cell(shape.terms);
    if (!cell.empty()) words.push_back(fmt::format("cell {} of EN 50160", cell));
  } else {
    words = classes_of_dip(shape);
  }
  const std::string by_ieee1159 = ieee1159_class(shape.terms, swell);
  if (!by_ieee1159.empty()) words.push_back("IEEE 1159 " + by_ieee1159);
  if (words.empty()) return "";
  return fmt::format("{} (by the {})", joined(words, ", "), analysis::reference_words(analysis.options.reference));
}

std::string indices_sentence(std::size_t index, const Analysis& analysis) {
  if (index >= analysis.indices.size() || !analysis.indices[index]) return "";
  const assess::Indices& indices = *analysis.indices[index];
  const std::string words = fmt::format("dip energy {}, lost {} s", analysis::duration_text(indices.energy_s),
                                        analysis::volts_text(indices.lost_v_s));
  for (const Judgement& judgement : judgements_of(analysis.found.events[index], analysis)) {
    if (judgement.severity)
      return fmt::format("{}, severity {:.2f} by {}", words, *judgement.severity, name_of(judgement));
  }
  return words;
}

}  // namespace outputs
