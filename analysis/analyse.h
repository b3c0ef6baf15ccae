// Finds and measures the voltage dips of a record.
#pragma once

#include <cstddef>

#include "analysis/choice/voltage_choice.h"
#include "analysis/embedded/limits.h"
#include "analysis/findings.h"
#include "analysis/stage_report.h"
#include "readers/record.h"

namespace analysis {

struct AnalysisOptions {
  VoltageChoice choice;
  double nominal = 0;   ///< declared voltage, phase or line, volts; 0: not given
  bool report = false;  ///< have the library write its report
  bool trace = false;   ///< show the library's lines on standard error
  std::size_t longest_run =
      embedded::longest_run_cycles;  ///< cycles that one search takes; longer records go in several
  StageReport report_stage = no_report;
};

/// Analyses the three phase voltages of a record. Throws what pick_voltages throws, and Refusal when the analysis does
/// not take the record.
Analysis analyse(const readers::Record& record, const AnalysisOptions& options);

}  // namespace analysis
