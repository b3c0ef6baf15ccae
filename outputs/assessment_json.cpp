#include "outputs/assessment_json.h"

#include <string>
#include <utility>

#include "analysis/assessment.h"
#include "assess/classes.h"
#include "outputs/rounding.h"

namespace outputs {

namespace {

using Json = nlohmann::ordered_json;

Json verdict_json(const assess::Verdict& verdict) {
  return {{"verdict", outcome_code(verdict.outcome)}, {"words", words_of(verdict)}};
}

Json text_or_null(const std::string& text) {
  return text.empty() ? Json() : Json(text);
}

}  // namespace

Json verdicts_json(const measure::Event& event, const analysis::Analysis& analysis) {
  Json list = Json::array();
  for (const auto& judgement : judgements_of(event, analysis)) {
    Json json = {{"curve", judgement.curve.code}, {"name", judgement.curve.name}};
    json.update(verdict_json(judgement.whole));
    const auto& limit = judgement.whole.limit_percent;
    json["limit_percent"] = limit ? Json(rounded_percent(*limit)) : Json();
    json["severity"] = judgement.severity ? Json(to_unit(*judgement.severity, 1e3)) : Json();
    json["step_by_step"] = judgement.by_steps ? verdict_json(*judgement.by_steps) : Json();
    list.push_back(std::move(json));
  }
  return list;
}

Json classes_json(const measure::Event& event, const analysis::Analysis& analysis) {
  const auto shape = analysis::shape_of(event, analysis);
  Json json = {{"ieee_1159", text_or_null(ieee1159_class(shape.terms, shape.swell))}};
  if (shape.swell) {
    json["en50160_swell_cell"] = text_or_null(en50160_swell_cell(shape.terms));
  } else {
    json["unipede_cell"] = text_or_null(unipede_cell(shape.terms));
    json["c4_110_type"] = shape.kind ? Json(kind_numeral(*shape.kind)) : Json();
  }
  return json;
}

}  // namespace outputs
