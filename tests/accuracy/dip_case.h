// Dips whose every figure is known, and how near to it an analysis comes.
#pragma once

#include <nlohmann/json.hpp>
#include <random>
#include <string>

#include "synth/dip_description.h"

namespace accuracy {

/// What happens to the three phases during the dip.
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

struct DipCase {
  Kind kind = Kind::balanced;
  double depth = 0.5;       ///< of the lowest phase, share of nominal; below 0.5 for two phases without zero sequence
  double jump = 0;          ///< of the dipped phases, degrees; none for two phases without zero sequence
  double cycles = 10;       ///< from the end of the fall to the recovery
  double fall_cycles = 0;   ///< 0: at once; otherwise a ramp
  double second_depth = 0;  ///< when above 0, the second half of the dip has this depth
  int samples_per_cycle = 64;
  double lead_cycles = 10.3;  ///< before the fall
};

/// The case as the generator takes it: 230 V, 50 Hz.
synth::DipDescription description_of(const DipCase& dip);

/// Which figures are right: the number of dips and segments; residual voltages within 1 % of nominal; boundaries of the
/// segments within half a cycle (a segment behind a gradual fall may begin anywhere from the fall's passing the
/// threshold to its end); category and phases; phase jumps within 2 degrees.
struct Hits {
  bool segments = false;
  bool residual = false;
  bool boundaries = false;
  bool category = false;
  bool jump = false;

  [[nodiscard]] bool all() const { return segments && residual && boundaries && category && jump; }
};

/// How far an analysis is off, at the worst of all segments and phases.
struct Errors {
  bool segments = false;       ///< one dip with the right number of segments; without it the rest says nothing
  double residual = 0;         ///< share of nominal
  double boundary = 0;         ///< cycles
  double jump = 0;             ///< degrees
  bool category = false;       ///< category and phases
  double point_on_wave = 180;  ///< degrees; a half turn where none was found
};

/// Compares with the document that `dipx analyse --json` prints of the case's record.
Errors errors_of(const DipCase& dip, const nlohmann::json& analysis);

/// Judges the same.
Hits judge(const DipCase& dip, const nlohmann::json& analysis);

/// Makes the case's record in memory and analyses it; the document that the command would print of it.
nlohmann::json analysis_of(const DipCase& dip);
nlohmann::json analysis_of(const synth::DipDescription& description);

/// The same by way of `dipx synth | dipx analyse -`, in processes of their own.
nlohmann::json piped_analysis_of(const DipCase& dip);

/// A dip of any kind, depth, rate and place, of 1 to 400 cycles; plain, with a phase jump, with a ramp or with two
/// steps.
DipCase random_case(std::mt19937& random);

/// The same, of 500 to 2500 cycles, the longest that a record has room for.
DipCase random_long_case(std::mt19937& random);

/// "plain", "jump", "ramp" or "two steps".
std::string shape_of(const DipCase& dip);

/// For a failed case: its parameters in one line.
std::string text_of(const DipCase& dip);

}  // namespace accuracy
