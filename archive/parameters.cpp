#include "archive/parameters.h"

#include <fmt/format.h>

#include <optional>

#include "analysis/event_terms.h"
#include "readers/content_hash.h"

namespace archive {

namespace {

constexpr std::size_t short_hash = 32;  // 128 bits, so that two of 10^12 records do not share a key by chance

std::string seconds_text(const std::optional<double>& seconds) {
  return seconds ? fmt::format("{}", *seconds) : "";
}

std::string number_or_all(std::size_t number, bool all) {
  return all ? "all" : number == 0 ? "" : fmt::format("{}", number);
}

std::string steps_text(const assess::CurveSteps& steps) {
  std::string text;
  for (const assess::CurveStep& step : steps) text += fmt::format(" {}:{}", step.seconds, step.percent);
  return text;
}

std::string curves_text(const std::vector<assess::Curve>& curves) {
  std::string text;
  for (const assess::Curve& curve : curves) {
    text += fmt::format(" curve={}{}{}", curve.code, curve.for_swells ? " swells" : "", steps_text(curve.steps));
  }
  return text;
}

const char* kind_text(analysis::DeclaredKind kind) {
  switch (kind) {
    case analysis::DeclaredKind::phase:
      return ":phase";
    case analysis::DeclaredKind::line:
      return ":line";
    case analysis::DeclaredKind::by_level:
      break;
  }
  return "";
}

}  // namespace

std::string options_text(const RecordAnalysis& analysis) {
  const analysis::AnalysisOptions& options = analysis.options;
  const analysis::VoltageChoice& choice = options.choice;
  const measure::Thresholds& thresholds = options.thresholds;
  std::string text = fmt::format("channels={} set={} part={} line-to-line={}", choice.channels,
                                 number_or_all(choice.set, analysis.all_sets),
                                 number_or_all(choice.part, analysis.all_parts), choice.line_to_line ? 1 : 0);
  text += fmt::format(" from={} to={} rate={} frequency={} charset={}", seconds_text(analysis.stretch.from),
                      seconds_text(analysis.stretch.to), analysis.open.sampling_rate, choice.line_frequency,
                      analysis.open.charset);
  text += fmt::format(" nominal={}{} reference={}", options.nominal, kind_text(options.nominal_kind),
                      options.reference ? analysis::reference_code(*options.reference) : "");
  text += fmt::format(" dip-threshold={} swell-threshold={} interruption-threshold={} hysteresis={} rvc-threshold={}",
                      thresholds.dip, thresholds.swell, thresholds.interruption, thresholds.hysteresis,
                      thresholds.rapid_change);
  return text + curves_text(options.own_curves);
}

Origin origin_of(const RecordAnalysis& analysis) {
  return {readers::sha256_hex(options_text(analysis)).substr(0, short_hash), DIPX_VERSION};
}

std::string analysis_key(const std::string& sha256, const Origin& origin) {
  return readers::sha256_hex(fmt::format("{}\n{}\n{}", sha256, origin.parameters, origin.version))
      .substr(0, short_hash);
}

std::string unread_key(const std::string& path, const Origin& origin) {
  return "path-" + analysis_key(readers::sha256_hex(path), origin);
}

}  // namespace archive
