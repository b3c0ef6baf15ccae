// Chooses the part of a record that a figure shows, and the levels that it draws.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "analysis/curves.h"
#include "analysis/findings.h"
#include "analysis/waveform.h"

namespace outputs {

/// A horizontal level in the RMS panel.
struct FigureLevel {
  double percent = 0;  ///< of the view's reference
  std::string words;   ///< "dip 90 % of the pre-event voltage"
};

struct FigureView {
  const measure::Event* event = nullptr;  ///< empty for the whole record
  analysis::Stretch shown;                ///< samples of the measured waveform
  double reference_v = 1;                 ///< reference of percentages, volts
  const char* reference_words = "";       ///< "pre-event voltage"
  std::vector<FigureLevel> levels;        ///< the thresholds that apply
  bool from_zero = true;                  ///< the RMS panel begins at zero, for voltages that fall

  [[nodiscard]] double percent(double volts) const { return 100 * volts / reference_v; }
};

/// Returns the view of an event with its course and a few cycles on either side, or of the whole record without an
/// event.
FigureView view_of(const analysis::Analysis& analysis, const analysis::Curves& curves, const measure::Event* event);

}  // namespace outputs
