// The figures of an analysis as a certificate lists them: by names, with units, definitions and uncertainties.
#pragma once

#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "analysis/findings.h"

namespace outputs {

/// One figure or statement. Its name is unique within the analysis and names the event and the segment that it belongs
/// to: "event 1, segment 2, voltage of A".
struct CertifiedFigure {
  std::string name;
  nlohmann::ordered_json value;  ///< a number, rounded to its meaningful digits; a text; or null where there is none
  std::string unit;              ///< "V", "s", "%", "degrees", "Hz"; empty for texts
  std::optional<double> plus_minus;  ///< half width of the interval, in the unit; empty if none is known
  std::string definition;            ///< a code of `dipx explain`
};

/// Returns the text of `dipx explain` for each code that defines a figure, in the order of the codes.
std::map<std::string, std::string> definitions_of(const std::vector<CertifiedFigure>& figures);

/// Lists the figures of an analysis, in an order that follows from its events.
std::vector<CertifiedFigure> certified_figures(const analysis::Analysis& analysis);

/// A quantity of a dip by the standard and on the waveform, with the reasons for the difference.
struct ComparedFigure {
  std::string name;  ///< "event 1, duration"
  std::string unit;
  double by_standard = 0;
  double on_waveform = 0;
  std::string explanation;  ///< a sentence
};

/// Compares the figures of each dip that both methods give: its start, its end, its duration and its lowest voltage.
std::vector<ComparedFigure> compared_figures(const analysis::Analysis& analysis);

}  // namespace outputs
