// What the user asks of an analysis.
#pragma once

#include <optional>

#include "analysis/choice/voltage_choice.h"
#include "analysis/stage_report.h"
#include "measure/options.h"

namespace analysis {

/// Whether a declared voltage is one of phases or between them.
enum class DeclaredKind { by_level, phase, line };

struct AnalysisOptions {
  VoltageChoice choice;
  double nominal = 0;  ///< declared voltage, volts; 0: not given
  DeclaredKind nominal_kind = DeclaredKind::by_level;
  std::optional<measure::Reference> reference;  ///< none: the declared voltage if there is one, otherwise pre-event
  measure::Thresholds thresholds;
  bool report = false;   ///< have the library write its report
  bool library = false;  ///< have the library's own results beside the findings
  bool trace = false;    ///< show the library's lines on standard error
  StageReport report_stage = no_report;
};

}  // namespace analysis
