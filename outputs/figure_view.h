// Chooses the part of a record that a figure shows, and the levels and events in it.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "analysis/curves.h"
#include "analysis/findings.h"
#include "analysis/waveform.h"

namespace outputs {

/// A threshold in the RMS panel.
struct FigureLevel {
  double percent = 0;   ///< of the view's reference
  std::string label;    ///< beside the frame: "90 %"
  std::string meaning;  ///< in the caption: "dip 90 %"
};

struct FigureView {
  const measure::Event* event = nullptr;  ///< empty for the whole record
  std::vector<std::size_t> events;        ///< those that are in view, of `analysis.found.events`, in their order
  bool all_events = true;                 ///< no event lies outside the view, not even in part
  analysis::Stretch shown;                ///< samples of the measured waveform
  double reference_v = 1;                 ///< reference of percentages, volts
  measure::PerPhase own_reference_v{};    ///< that of each voltage, which differ only where there is no event
  const char* reference_words = "";       ///< "pre-event voltage"
  std::vector<FigureLevel> levels;        ///< the thresholds of the kinds of events in view
  bool from_zero = true;                  ///< the RMS panel begins at zero, for voltages that fall

  [[nodiscard]] double percent(double volts) const { return 100 * volts / reference_v; }
  /// Per cent of the voltage's own reference.
  [[nodiscard]] double percent(double volts, std::size_t phase) const { return 100 * volts / own_reference_v[phase]; }
};

/// Returns the view of an event (of `analysis.found.events`) with its course and a few cycles on either side, or of the
/// whole record without an event.
FigureView view_of(const analysis::Analysis& analysis, const analysis::Curves& curves,
                   const std::optional<std::size_t>& event);

/// Returns the samples of a waveform of some length that an event takes; an event whose beginning or end is not known
/// reaches to the waveform's.
analysis::Stretch samples_of(const measure::Event& event, const analysis::Analysis& analysis, std::size_t length);

}  // namespace outputs
