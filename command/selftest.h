// Whether this very program measures right: records with known dips are made, analysed and held against what they are.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "analysis/analyse.h"
#include "synth/dip_description.h"

namespace command {

/// A dip made from its description. Instants, voltages and phase jumps follow from that; the category cannot.
struct KnownDip {
  const char* name;
  synth::DipDescription description;
  std::vector<int> categories;  ///< one per segment; none when there is no dip to be found
  bool for_library = true;      ///< the embedded library measures it right as well
};
const std::vector<KnownDip>& known_dips();

/// What is wrong with the findings of a known dip, in words; empty when nothing is. Wrong is: another number of dips or
/// segments, another category, a voltage more than 1 % of nominal off, a phase jump more than 2 degrees, start or end
/// more than a quarter of a cycle, or half a cycle where they are gradual.
std::string fault_of(const KnownDip& known, const analysis::Analysis& analysis);

/// What is wrong with the embedded library's own results: another number of dips or segments, another category, a
/// residual voltage more than 1 % of nominal off, start or duration more than a cycle.
std::string library_fault_of(const KnownDip& known, const analysis::Analysis& analysis);

using Detector = std::function<analysis::Analysis(const readers::Record&)>;

/// Takes a detector through all known dips. `show` gets a line per dip. True when nothing was wrong.
bool self_test(const Detector& detector, const std::function<void(const std::string&)>& show);

}  // namespace command
