// The findings for one record. Voltages are the record's own, in volts. Times count from the first sample of the
// measured waveform; AnalysedVoltages converts them to the record's seconds and samples.
#pragma once

#include <array>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "analysis/analysed_voltages.h"
#include "analysis/embedded/library_results.h"
#include "analysis/event_currents.h"
#include "analysis/event_origin.h"
#include "analysis/line_voltages.h"
#include "analysis/measured_waveform.h"
#include "assess/curve.h"
#include "assess/indices.h"
#include "measure/findings.h"
#include "measure/measure.h"
#include "measure/options.h"

namespace analysis {

/// The declared voltage that the user gave.
struct DeclaredVoltage {
  double given = 0;        ///< volts, as the user gave it
  bool line = false;       ///< it is a voltage between phases
  bool by_user = false;    ///< the user stated the kind; otherwise it follows from the record's level
  bool secondary = false;  ///< it was divided by the transformers' ratio, as the record holds secondary values
  double level = 0;        ///< volts RMS that the analysed voltages should have
};

struct LoadVoltages;

struct Analysis {
  AnalysedVoltages voltages;
  MeasuredWaveform measured;  ///< refers to the record's samples, which must outlive it
  measure::Options options;   ///< the rules by which the events were found
  measure::Findings found;
  measure::PerPhase usual_v{};        ///< usual level of each voltage, Urms(1/2), volts
  measure::PerPhase lowest_rms_v{};   ///< lowest Urms(1/2) of each voltage, volts
  measure::PerPhase highest_rms_v{};  ///< highest one
  std::optional<DeclaredVoltage> declared;
  std::optional<LineVoltages> line;          ///< present when an earth fault displaces the neutral
  std::shared_ptr<const LoadVoltages> load;  ///< what a load sees beyond transformers, if it was requested
  std::vector<assess::Curve> own_curves;     ///< the user's voltage-tolerance curves
  /// Single-event indices, one entry for each event found; empty for events other than dips.
  std::vector<std::optional<assess::Indices>> indices;
  /// The currents of the same bay, if they were read and the names say which they are.
  std::optional<Currents> currents;
  /// What the currents show of each event; empty unless waveforms of currents were read.
  std::vector<Origin> origins;
  std::vector<std::string> notes;            ///< one sentence each
  std::string report;                        ///< the library's report of the whole record, if it was requested
  std::optional<embedded::Results> library;  ///< the library's own results, if they were requested

  /// Returns a voltage in per cent of the declared one; empty if no voltage is declared.
  [[nodiscard]] std::optional<double> percent_of_declared(double volts) const {
    return declared ? std::optional(100 * volts / declared->level) : std::nullopt;
  }
};

}  // namespace analysis
