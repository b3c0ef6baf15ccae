// Checks this very program: makes records with known dips, analyses them and compares the findings with the known
// figures.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "analysis/analyse.h"
#include "synth/dip_description.h"

namespace command {

/// A dip made from its description, from which instants, voltages and phase jumps follow. The category is given in
/// addition.
struct KnownDip {
  const char* name;
  synth::DipDescription description;
  std::vector<int> categories;  ///< one per segment; none when there is no dip to be found
  bool for_library = true;      ///< the embedded library measures it correctly as well
};
const std::vector<KnownDip>& known_dips();

/// Describes the errors in the findings of a known dip; empty if there are none. An error is a wrong number of dips or
/// segments, a wrong category, a voltage more than 1 % of nominal off, a phase jump more than 2 degrees off, or a start
/// or end more than a quarter of a cycle off (half a cycle if it is gradual).
std::string fault_of(const KnownDip& known, const analysis::Analysis& analysis);

/// Describes the errors in the embedded library's own results: a wrong number of dips or segments, a wrong category, a
/// residual voltage more than 1 % of nominal off, or a start or duration more than a cycle off.
std::string library_fault_of(const KnownDip& known, const analysis::Analysis& analysis);

using Detector = std::function<analysis::Analysis(const readers::Record&)>;

/// Runs a detector on all known dips. `show` gets a line for each dip. Returns true if there were no errors.
bool self_test(const Detector& detector, const std::function<void(const std::string&)>& show);

}  // namespace command
