#include "command/event_options.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <map>

#include "command/option_range.h"
#include "readers/text.h"

namespace command {

namespace {

/// Volts of "230", "20kV", "0.4 kV"; 0 for anything else.
double volts_in(const std::string& text) {
  double value = 0;
  char unit[4] = "";
  int end = 0;
  const int read = std::sscanf(text.c_str(), "%lf %n%3s", &value, &end, unit);
  const std::string name = unit;
  const double factor = name == "kV" || name == "kv" ? 1e3 : name == "MV" ? 1e6 : 1;
  const bool known = name.empty() || name == "V" || name == "v" || factor != 1;
  const bool whole = static_cast<std::size_t>(end) + name.size() == text.size();
  if (read < 1 || !known || !whole || !(value > 0) || !(value * factor <= 1e7)) return 0;
  return value * factor;
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

void check_thresholds(const measure::Thresholds& thresholds) {
  const auto refuse = [](const std::string& cause) { throw UnusableOptions(cause); };
  if (thresholds.dip >= thresholds.swell) {
    refuse(
        fmt::format("--dip-threshold {:g} is not below --swell-threshold {:g}; nearly every voltage would be an event",
                    thresholds.dip, thresholds.swell));
  }
  if (thresholds.interruption >= thresholds.dip) {
    refuse(
        fmt::format("--interruption-threshold {:g} is not below --dip-threshold {:g}; an interruption lies within a "
                    "dip",
                    thresholds.interruption, thresholds.dip));
  }
  if (thresholds.dip + thresholds.hysteresis > 100 || thresholds.swell - thresholds.hysteresis < 100) {
    refuse(
        fmt::format("--hysteresis {:g} reaches past 100 % from a threshold, so that an event would not end at the "
                    "reference voltage; use at most {:g}",
                    thresholds.hysteresis, std::min(100 - thresholds.dip, thresholds.swell - 100)));
  }
}

}  // namespace

void add_event_options(CLI::App& app, EventOptions& given, analysis::AnalysisOptions& options) {
  constexpr const char* group = "Events";
  app.add_option("--nominal", given.nominal,
                 "Declared voltage (230, 20kV); :phase or :line behind it says which one is meant, otherwise the "
                 "record's level decides")
      ->type_name("V")
      ->group(group);
  app.add_option("--reference", given.reference,
                 "Voltage that the thresholds are per cent of (default: declared with --nominal, otherwise pre-event)")
      ->check(CLI::IsMember({"declared", "sliding", "pre-event"}))
      ->type_name("")
      ->group(group);
  const auto threshold = [&](const char* name, double& value, double lowest, double highest, const char* what) {
    app.add_option(name, value, fmt::format("{} ({:g})", what, value))
        ->check(between(lowest, highest))
        ->type_name("PERCENT")
        ->group(group);
  };
  measure::Thresholds& thresholds = options.thresholds;
  threshold("--dip-threshold", thresholds.dip, 1, 100, "A dip begins below it");
  threshold("--swell-threshold", thresholds.swell, 100, 300, "A swell begins above it");
  threshold("--interruption-threshold", thresholds.interruption, 0, 99, "An interruption is below it in all phases");
  threshold("--hysteresis", thresholds.hysteresis, 0, 50, "An event ends so far inside its threshold");
  threshold("--rvc-threshold", thresholds.rapid_change, 0, 50,
            "A rapid voltage change leaves the steady voltage by it; 0 looks for none");
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
  check_thresholds(options.thresholds);
}

}  // namespace command
