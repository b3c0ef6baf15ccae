#include "outputs/certificate/parameters.h"

#include <cmath>
#include <limits>
#include <map>
#include <optional>
#include <stdexcept>
#include <utility>

#include "analysis/event_terms.h"
#include "analysis/threshold_rules.h"
#include "assess/transformer.h"
#include "readers/charset.h"
#include "readers/plausible.h"

namespace outputs {

namespace {

using analysis::DeclaredKind;
using Json = nlohmann::ordered_json;

const std::map<DeclaredKind, std::string>& kind_names() {
  static const std::map<DeclaredKind, std::string> names = {
      {DeclaredKind::by_level, "by_level"}, {DeclaredKind::phase, "phase"}, {DeclaredKind::line, "line"}};
  return names;
}

/// The last step of a curve may have no end, which JSON has no number for.
Json steps_json(const assess::CurveSteps& steps) {
  Json list = Json::array();
  for (const auto& step : steps) {
    list.push_back({{"seconds", std::isfinite(step.seconds) ? Json(step.seconds) : Json()}, {"percent", step.percent}});
  }
  return list;
}

Json curves_json(const std::vector<assess::Curve>& curves) {
  Json list = Json::array();
  for (const auto& curve : curves) {
    list.push_back({{"code", curve.code}, {"name", curve.name}, {"steps", steps_json(curve.steps)}});
  }
  return list;
}

assess::CurveSteps steps_in(const Json& list, const std::string& place) {
  assess::CurveSteps steps;
  for (const Json& entry : list) {
    const Members step(entry, place);
    constexpr double endless = std::numeric_limits<double>::infinity();
    const double seconds = step.number_or_null("seconds", 0, endless).value_or(endless);
    steps.push_back({seconds, step.number("percent", 0, 100)});
    const bool rises = steps.size() < 2 || steps[steps.size() - 2].seconds < seconds;
    if (!rises) throw BadCertificate(place, "its durations do not rise");
  }
  if (steps.empty()) throw BadCertificate(place, "is empty");
  return steps;
}

std::vector<assess::Curve> curves_in(const Members& parameters) {
  std::vector<assess::Curve> curves;
  for (const Json& entry : parameters.list("own_curves")) {
    const Members members(entry, parameters.place_of("own_curves"));
    assess::Curve curve;
    curve.code = members.text("code");
    curve.name = members.text("name");
    curve.steps = steps_in(members.list("steps"), members.place_of("steps"));
    curves.push_back(std::move(curve));
  }
  return curves;
}

/// Returns a number of a range, or 0, which stands for none.
double number_or_zero(const Members& parameters, const char* name, double lowest, double highest) {
  const double number = parameters.number(name, 0, highest);
  if (number > 0 && number < lowest) throw BadCertificate(parameters.place_of(name), "is not a possible number");
  return number;
}

std::string charset_in(const Members& parameters) {
  const std::string charset = parameters.text("charset");
  try {
    readers::to_utf8("", charset);
  } catch (const std::invalid_argument& error) {
    throw BadCertificate(parameters.place_of("charset"), error.what());
  }
  return charset;
}

analysis::StretchChoice stretch_in(const Members& parameters) {
  constexpr double farthest = 1e9;
  analysis::StretchChoice stretch;
  stretch.from = parameters.number_or_null("from_s", 0, farthest);
  stretch.to = parameters.number_or_null("to_s", 0, farthest);
  if (stretch.from && stretch.to && !(*stretch.from < *stretch.to)) {
    throw BadCertificate(parameters.place_of("to_s"), "is not after from_s");
  }
  return stretch;
}

void take_voltages(const Members& parameters, CertifiedRun& run) {
  analysis::VoltageChoice& choice = run.options.choice;
  choice.channels = parameters.text("channels");
  choice.set = parameters.count("set");
  choice.part = parameters.count("part");
  choice.line_to_line = parameters.flag("line_to_line");
  choice.line_frequency = number_or_zero(parameters, "line_frequency_hz", readers::lowest_line_frequency, 100);
  run.sampling_rate = number_or_zero(parameters, "sampling_rate_hz", 1, readers::highest_rate);
  run.charset = charset_in(parameters);
  run.stretch = stretch_in(parameters);
}

void take_rules(const Members& parameters, analysis::AnalysisOptions& options) {
  constexpr double highest_volts = 1e7;
  options.nominal = parameters.number("nominal_v", 0, highest_volts);
  const std::string kind = parameters.text("nominal_kind");
  bool known = false;
  for (const auto& [value, name] : kind_names()) {
    if (name != kind) continue;
    options.nominal_kind = value;
    known = true;
  }
  if (!known) throw BadCertificate(parameters.place_of("nominal_kind"), "'" + kind + "' is not a kind of voltage");
  if (!parameters.member("reference").is_null()) {
    const std::string reference = parameters.text("reference");
    for (const auto value :
         {measure::Reference::declared, measure::Reference::sliding, measure::Reference::pre_event}) {
      if (analysis::reference_code(value) == reference) options.reference = value;
    }
    if (!options.reference) {
      throw BadCertificate(parameters.place_of("reference"), "'" + reference + "' is not a reference");
    }
  }
  if (options.reference == measure::Reference::declared && options.nominal == 0) {
    throw BadCertificate(parameters.place_of("reference"), "is the declared voltage, but nominal_v is 0");
  }
  measure::Thresholds& thresholds = options.thresholds;
  thresholds.dip = parameters.number("dip_threshold_percent", 1, 100);
  thresholds.swell = parameters.number("swell_threshold_percent", 100, 300);
  thresholds.interruption = parameters.number("interruption_threshold_percent", 0, 99);
  thresholds.hysteresis = parameters.number("hysteresis_percent", 0, 50);
  thresholds.rapid_change = parameters.number("rvc_threshold_percent", 0, 50);
  const std::string fault = analysis::fault_of(thresholds);
  if (!fault.empty()) throw BadCertificate("parameters", fault);
}

}  // namespace

Json parameters_json(const CertifiedRun& run) {
  const analysis::AnalysisOptions& options = run.options;
  const auto or_null = [](const std::optional<double>& value) { return value ? Json(*value) : Json(); };
  return {{"channels", options.choice.channels},
          {"set", options.choice.set},
          {"part", options.choice.part},
          {"line_to_line", options.choice.line_to_line},
          {"line_frequency_hz", options.choice.line_frequency},
          {"sampling_rate_hz", run.sampling_rate},
          {"charset", run.charset},
          {"from_s", or_null(run.stretch.from)},
          {"to_s", or_null(run.stretch.to)},
          {"nominal_v", options.nominal},
          {"nominal_kind", kind_names().at(options.nominal_kind)},
          {"reference", options.reference ? Json(analysis::reference_code(*options.reference)) : Json()},
          {"dip_threshold_percent", options.thresholds.dip},
          {"swell_threshold_percent", options.thresholds.swell},
          {"interruption_threshold_percent", options.thresholds.interruption},
          {"hysteresis_percent", options.thresholds.hysteresis},
          {"rvc_threshold_percent", options.thresholds.rapid_change},
          {"own_curves", curves_json(options.own_curves)},
          {"through", names_of(options.through)}};
}

CertifiedRun parameters_in(const Members& parameters) {
  CertifiedRun run;
  take_voltages(parameters, run);
  take_rules(parameters, run.options);
  run.options.own_curves = curves_in(parameters);
  const std::string through = parameters.text("through");
  if (through.empty()) return run;
  try {
    run.options.through = assess::connections_of(through);
  } catch (const assess::NotAConnection& error) {
    throw BadCertificate(parameters.place_of("through"), error.what());
  }
  return run;
}

}  // namespace outputs
