// What was found in one record. Voltages are the record's own, in volts; times count from the first sample of the
// measured waveform, and AnalysedVoltages turns them into the record's seconds and samples.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "analysis/analysed_voltages.h"
#include "analysis/embedded/library_results.h"
#include "analysis/measured_waveform.h"
#include "measure/findings.h"
#include "measure/measure.h"
#include "measure/options.h"

namespace analysis {

/// What the user says that the voltage should be.
struct DeclaredVoltage {
  double given = 0;        ///< volts, as the user gave it
  bool line = false;       ///< it is a voltage between phases
  bool by_user = false;    ///< the user said which of the two it is; otherwise the record's level did
  bool secondary = false;  ///< it was divided by the transformers' ratio, as the record holds secondary values
  double level = 0;        ///< volts RMS that the analysed voltages should have
};

struct Analysis {
  AnalysedVoltages voltages;
  MeasuredWaveform measured;  ///< refers to the record's samples, which must outlive it
  measure::Options options;   ///< the rules by which the events were found
  measure::Findings found;
  measure::PerPhase usual_v{};  ///< usual level of each voltage, Urms(1/2), volts
  std::optional<DeclaredVoltage> declared;
  std::vector<std::string> notes;            ///< one sentence each
  std::string report;                        ///< the library's report of the whole record, when it was asked for
  std::optional<embedded::Results> library;  ///< the library's own results, when they were asked for

  /// A voltage in per cent of the declared one; nothing where none is declared.
  [[nodiscard]] std::optional<double> percent_of_declared(double volts) const {
    return declared ? std::optional(100 * volts / declared->level) : std::nullopt;
  }
};

}  // namespace analysis
