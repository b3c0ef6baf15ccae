// The user's options for an analysis.
#pragma once

#include <optional>
#include <vector>

#include "analysis/choice/voltage_choice.h"
#include "analysis/stage_report.h"
#include "assess/curve.h"
#include "assess/transformer.h"
#include "measure/options.h"

namespace analysis {

/// The kind of a declared voltage: between phase and neutral, or between phases.
enum class DeclaredKind { by_level, phase, line };

struct AnalysisOptions {
  VoltageChoice choice;
  double nominal = 0;  ///< declared voltage, volts; 0: not given
  DeclaredKind nominal_kind = DeclaredKind::by_level;
  std::optional<measure::Reference> reference;  ///< none: the declared voltage if there is one, otherwise pre-event
  measure::Thresholds thresholds;
  std::vector<assess::Curve> own_curves;    ///< voltage-tolerance curves in addition to the published ones
  std::vector<assess::Connection> through;  ///< transformers between the voltages and a load; empty: no load
  bool report = false;                      ///< the library shall write its report
  bool library = false;                     ///< the library's own results are wanted in addition to the findings
  bool trace = false;                       ///< show the library's lines on standard error
  StageReport report_stage = no_report;
};

}  // namespace analysis
