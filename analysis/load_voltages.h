// The voltages of a load beyond transformers, computed from the analysed ones.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "analysis/findings.h"
#include "assess/transformer.h"
#include "measure/measure.h"

namespace analysis {

/// The findings at a load. Ratios of transformers are not known, so that only per cents of references have a meaning
/// there. Both analyses have the times of the analysed voltages, and their dips have courses that were carried from
/// those of the analysed voltages.
struct LoadVoltages {
  std::vector<assess::Connection> connections;
  bool has_zero = false;  ///< the phase voltages have the zero sequence of the measured ones
  Analysis phases;        ///< phase voltages
  Analysis lines;         ///< voltages between phases
};

/// Returns the numbers of the analysed voltages' dips, from 0, that overlap an event of the load.
std::vector<std::size_t> dips_at(const measure::Event& event, const Analysis& analysis);

/// Computes the waveforms at the load, finds their events by the options of the analysis, and carries the courses of
/// dips there. Samples of channels with different skews are interpolated to common times. Throws std::invalid_argument
/// unless three voltages were analysed and their waveforms were recorded.
LoadVoltages load_voltages_of(const Analysis& analysis, const std::vector<assess::Connection>& connections);

/// Returns samples as if they had been taken at the times of their indices. `skew`: samples that they were taken later.
/// Cubic interpolation, or linear next to missing samples and at the ends. A sample within a ten-thousandth of its time
/// is returned unchanged.
std::vector<double> in_time(std::vector<double> samples, double skew);

}  // namespace analysis
