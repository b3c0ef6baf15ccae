// Dips whose figures are all known, and a comparison of these figures with those of an analysis.
#pragma once

#include <nlohmann/json.hpp>
#include <random>
#include <string>
#include <vector>

#include "synth/dip_description.h"

namespace accuracy {

/// The behaviour of the three phases during the dip.
enum class Kind {
  single_a,
  single_b,
  single_c,
  two_bc,  ///< without zero sequence: two phases move towards each other
  two_ca,
  two_ab,
  two_bc_with_zero,  ///< two phases shrink, the third stays
  two_ca_with_zero,
  two_ab_with_zero,
  balanced
};
inline constexpr int kinds = 10;

/// Describes a later step of an evolving dip.
struct Step {
  Kind kind = Kind::balanced;
  double depth = 0.5;  ///< of the lowest phase, share of nominal
};

struct DipCase {
  Kind kind = Kind::balanced;
  double depth = 0.5;      ///< of the lowest phase, share of nominal; below 0.5 for two phases without zero sequence
  double jump = 0;         ///< of the dipped phases, degrees; none for two phases without zero sequence
  double cycles = 10;      ///< from the end of the fall to the beginning of the recovery
  double fall_cycles = 0;  ///< 0: at once; otherwise a ramp
  double recovery_cycles = 0;
  std::vector<Step> later;  ///< steps that follow the first; all steps are equally long
  int samples_per_cycle = 64;
  double lead_cycles = 10.3;  ///< before the fall
};

/// Returns the case in the form that the generator needs: 230 V, 50 Hz.
synth::DipDescription description_of(const DipCase& dip);

/// Says which figures are right: the number of dips and segments; voltages within 1 % of nominal; boundaries within a
/// quarter of a cycle if the change is abrupt and within half a cycle if it is gradual; category and phases below the
/// threshold; phase jumps within 2 degrees.
struct Hits {
  bool segments = false;
  bool voltage = false;
  bool boundaries = false;
  bool category = false;
  bool jump = false;

  [[nodiscard]] bool all() const { return segments && voltage && boundaries && category && jump; }
};

/// The errors of an analysis, each the largest over all segments and phases.
struct Errors {
  bool segments = false;     ///< one dip with the right number of segments; without it the rest says nothing
  double voltage = 0;        ///< share of nominal
  double boundary = 0;       ///< cycles, of abrupt changes
  double crossing = 0;       ///< cycles, of the crossings of 90 % where the dip begins or ends gradually
  double jump = 0;           ///< degrees, of phases of which more than 5 % is left
  bool category = false;     ///< category and phases
  double point_on_wave = 0;  ///< degrees; a half turn where none was found, none is expected of a gradual fall
};

/// Compares with the document that `dipx analyse --json` prints of the case's record.
Errors errors_of(const DipCase& dip, const nlohmann::json& analysis);

/// Judges the same.
Hits judge(const DipCase& dip, const nlohmann::json& analysis);

/// Makes the case's record in memory, analyses it and returns the document that the command would print.
nlohmann::json analysis_of(const DipCase& dip);
nlohmann::json analysis_of(const synth::DipDescription& description);

/// The same by way of `dipx synth | dipx analyse -`, in processes of their own.
nlohmann::json piped_analysis_of(const DipCase& dip);

/// Makes a dip of any kind, depth, rate and place, of 1 to 400 cycles and of any shape.
DipCase random_case(std::mt19937& random);

/// The same, of 500 to 2500 cycles.
DipCase random_long_case(std::mt19937& random);

/// "plain", "jump", "ramp", "recovery", "two steps" or "evolving".
std::string shape_of(const DipCase& dip);

/// For a failed case: its parameters in one line.
std::string text_of(const DipCase& dip);

}  // namespace accuracy
