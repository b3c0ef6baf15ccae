#include "command/event_options.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <map>
#include <vector>

#include "analysis/own_curve.h"
#include "analysis/threshold_rules.h"
#include "assess/transformer.h"
#include "command/option_range.h"
#include "command/short_file.h"
#include "readers/text.h"

namespace command {

namespace {

/// Returns the volts of "230", "20kV" or "0.4 kV", and 0 for any other text.
double volts_in(const std::string& text) {
  // Only digits, points, signs and exponents are allowed, because "inf" and "nan" are not voltages.
  const std::size_t end = text.find_first_not_of("0123456789.+-eE");
  const auto number = readers::parse_number(text.substr(0, end));
  const std::size_t unit_at = end == std::string::npos ? end : text.find_first_not_of(' ', end);
  const std::string unit = unit_at == std::string::npos ? "" : text.substr(unit_at);
  const std::map<std::string, double> volts_of = {{"", 1},     {"V", 1},    {"v", 1},   {"kV", 1e3},
                                                  {"kv", 1e3}, {"KV", 1e3}, {"MV", 1e6}};
  const auto factor = volts_of.find(unit);
  if (!number || factor == volts_of.end()) return 0;
  const double volts = *number * factor->second;
  return volts > 0 && volts <= 1e7 ? volts : 0;
}

void take_nominal(const std::string& text, analysis::AnalysisOptions& options) {
  const std::size_t colon = text.find(':');
  const std::string kind = colon == std::string::npos ? "" : text.substr(colon + 1);
  options.nominal = volts_in(text.substr(0, colon));
  if (kind == "phase") options.nominal_kind = analysis::DeclaredKind::phase;
  if (kind == "line") options.nominal_kind = analysis::DeclaredKind::line;
  const bool known_kind = colon == std::string::npos || kind == "phase" || kind == "line";
  if (options.nominal > 0 && known_kind) return;
  throw UnusableOptions(
      fmt::format("--nominal: '{}' is not a voltage; use a form such as 230, 20kV, 20kV:line or 230:phase", text));
}

void take_curve(const std::string& file, analysis::AnalysisOptions& options) {
  try {
    analysis::add_own_curve(options.own_curves, content_of_short_file(file, "a voltage-tolerance curve"), file);
  } catch (const analysis::CurveError& error) {
    throw UnusableOptions(fmt::format("--curve {}", error.what()));
  } catch (const ShortFileError& error) {
    throw UnusableOptions(fmt::format("--curve {}", error.what()));
  }
}

void take_through(const std::string& text, analysis::AnalysisOptions& options) {
  try {
    options.through = assess::connections_of(text);
  } catch (const assess::NotAConnection& error) {
    throw UnusableOptions(fmt::format("--through: {}", error.what()));
  }
}

constexpr const char* group = "Events";

}  // namespace

void add_event_options(CLI::App& app, EventOptions& given, analysis::AnalysisOptions& options) {
  app.add_option("--nominal", given.nominal,
                 "Declared voltage (230, 20kV); append :phase or :line to state its kind, otherwise the record's level "
                 "decides")
      ->type_name("V")
      ->group(group);
  app.add_option("--reference", given.reference,
                 "Voltage to which the thresholds refer (default: declared with --nominal, otherwise pre-event)")
      ->check(CLI::IsMember({"declared", "sliding", "pre-event"}).description(""))
      ->type_name("declared|sliding|pre-event")
      ->group(group);
  app.add_option(
         "--curve", given.curves,
         "Also judge dips by the voltage-tolerance curve in FILE, a CSV file with the columns duration (s or ms) "
         "and voltage (per cent); may be given several times")
      ->type_name("FILE")
      ->expected(1)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
      ->group(group);
  const auto threshold = [&](const char* name, double& value, double lowest, double highest, const char* what) {
    app.add_option(name, value, fmt::format("{} ({:g})", what, value))
        ->check(between(lowest, highest))
        ->type_name("PERCENT")
        ->group(group);
  };
  measure::Thresholds& thresholds = options.thresholds;
  threshold("--dip-threshold", thresholds.dip, 1, 100, "A dip begins below this value");
  threshold("--swell-threshold", thresholds.swell, 100, 300, "A swell begins above this value");
  threshold("--interruption-threshold", thresholds.interruption, 0, 99,
            "An interruption begins when all phases are below this value");
  threshold("--hysteresis", thresholds.hysteresis, 0, 50,
            "An event ends when the voltage is inside the threshold by this amount");
  threshold("--rvc-threshold", thresholds.rapid_change, 0, 50,
            "A rapid voltage change differs from the steady voltage by more than this; 0 disables the search");
}

void add_through(CLI::App& app, EventOptions& given) {
  app.add_option("--through", given.through,
                 "Also show what a load sees beyond transformers with these vector groups, from the record's side to "
                 "the load's")
      ->type_name("Dyn11,...")
      ->group(group);
}

void take_event_options(const EventOptions& given, analysis::AnalysisOptions& options) {
  if (!given.nominal.empty()) take_nominal(given.nominal, options);
  const std::map<std::string, measure::Reference> references = {{"declared", measure::Reference::declared},
                                                                {"sliding", measure::Reference::sliding},
                                                                {"pre-event", measure::Reference::pre_event}};
  if (!given.reference.empty()) options.reference = references.at(given.reference);
  if (options.reference == measure::Reference::declared && given.nominal.empty()) {
    throw UnusableOptions("--reference declared needs a declared voltage; give it with --nominal");
  }
  const std::string fault = analysis::fault_of(options.thresholds);
  if (!fault.empty()) throw UnusableOptions(fault);
  options.own_curves.clear();
  for (const std::string& file : given.curves) take_curve(file, options);
  if (!given.through.empty()) take_through(given.through, options);
}

}  // namespace command
