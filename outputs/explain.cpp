#include "outputs/explain.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <complex>
#include <numbers>
#include <string_view>
#include <vector>

#include "outputs/dip_category_name.h"
#include "outputs/figures_text.h"
#include "outputs/phasor_sketch.h"
#include "readers/text.h"
#include "synth/dip_description.h"

namespace outputs {

namespace {

constexpr int not_classified = 10;

constexpr int three_phase = 9;

constexpr const char* decided_by_components =
    "Each voltage of the segment is divided by its own voltage before the dip, and the symmetrical components V0, V1, V2 "
    "are taken of the three. Where V2 is below 1.5 % of the positive sequence before, or below 8 % of its loss 1 - V1, "
    "all three phases fall alike. Otherwise the angle of V2 / (1 - V1) decides, in sectors of 60 degrees: two-phase dips "
    "lie at 0 (B and C), 120 (C and A) and 240 degrees (A and B), single-phase dips at 180 (A), 300 (B) and 60 degrees "
    "(C). Zero sequence is looked at apart: a two-phase dip has a code of its own when V0 is above 2 % and above a "
    "quarter of V2. In a network whose phases follow each other as A, C, B, the sectors lie the other way round. Source: "
    "M. H. J. Bollen, Understanding Power Quality Problems (IEEE Press, 2000), chapter 4.";

constexpr const char* decided_by_library =
    "Only results of the embedded library (--library) have this code. The library also decides codes 0 to 9 by the "
    "symmetrical components, but for each sample, and takes the category that most samples of the segment have; it "
    "gives this code where no sample has one.";

constexpr std::size_t width = 78;

std::string paragraph(const std::string& words) {
  return wrapped(words, width);
}

/// What the three phases do in a dip of a category, as the generator writes it.
const char* phases_of(int category) {
  constexpr std::array<const char*, 10> phases = {"B-C", "C", "C-A", "A", "A-B", "B", "BC", "CA", "AB", "ABC"};
  return phases[static_cast<std::size_t>(category)];
}

std::string meaning_of(int category) {
  switch (category) {
    case 0:
    case 2:
    case 4:
      return "Two phases move towards each other and fall; the three voltages still add up to zero. A fault between two "
             "phases looks so (type C), and so does a fault of two phases to earth on the far side of a transformer "
             "without a path for zero sequence (type G).";
    case 1:
    case 3:
    case 5:
      return "One phase falls more than the others. A fault of one phase to earth looks so (type B). On the far side of "
             "a transformer, faults between two phases (type D) and of two phases to earth (type F) do.";
    case 6:
    case 7:
    case 8:
      return "Two phases fall and the three voltages no longer add up to zero. A fault of two phases to earth looks so "
             "(type E).";
    case three_phase:
      return "All three phases fall alike. A three-phase fault looks so, or the start of a large motor (type A).";
    default:
      return "The embedded library found no category for the segment.";
  }
}

std::string sketch_of(int category) {
  constexpr double depth = 45;
  const auto factors = synth::factors_of(synth::parse_fault(phases_of(category)), depth, 0);
  std::array<std::complex<double>, 3> phasors;
  for (std::size_t phase = 0; phase < 3; phase++) {
    phasors[phase] = factors[phase] * std::polar(1.0, -2 * std::numbers::pi / 3 * static_cast<double>(phase));
  }
  return fmt::format("{}\n  a b c before the dip, A B C during one of {:g} % depth\n", phasor_sketch(phasors), depth);
}

std::string category_explained(int category) {
  std::string text = fmt::format("{}   {}\n\n{}\nHow it is decided\n{}", category, dip_category_name(category),
                                 paragraph(meaning_of(category)),
                                 paragraph(category == not_classified ? decided_by_library : decided_by_components));
  if (category != not_classified) text += '\n' + sketch_of(category);
  return text;
}

/// Of EN 50160's table: "d2".
bool is_cell(const std::string& code) {
  return code.size() == 2 && std::string_view("abcdx").find(code[0]) != std::string_view::npos && code[1] >= '1' &&
         code[1] <= '5';
}

struct Term {
  const char* code;
  const char* name;
  std::string text;
};

const std::vector<Term>& terms() {
  static const std::vector<Term> list = {
      {"dip", "voltage dip (sag)",
       "An event of IEC 61000-4-30: Urms(1/2) of at least one voltage falls below the dip threshold (90 % of the "
       "reference). It begins with the first voltage below the threshold and is over when "
       "all voltages are at the threshold plus the hysteresis again."},
      {"swell", "voltage swell",
       "An event of IEC 61000-4-30: Urms(1/2) of at least one voltage rises above the swell threshold (110 % of the "
       "reference). It is over when all voltages are at the threshold less the hysteresis again."},
      {"interruption", "voltage interruption",
       "An event of IEC 61000-4-30: Urms(1/2) of all voltages is below the interruption threshold (5 % of the "
       "reference) at once. It is over when one of them is at that threshold plus the hysteresis again. It lies within "
       "a dip, which is an event of its own."},
      {"rapid_voltage_change", "rapid voltage change",
       "An event of IEC 61000-4-30 (edition 3): the voltage goes from one steady level to another without a dip or a "
       "swell. It is steady while all values of Urms(1/2) of the last second lie within the threshold (3 % of the "
       "declared voltage, or of the reference where none is declared) of their mean. The largest change is the largest "
       "distance of Urms(1/2) from the level before, the steady change the one from the level before to the level "
       "after."},
      {"urms_half", "Urms(1/2)",
       "The RMS voltage over one cycle, from one zero crossing of the fundamental to the next but one, refreshed every "
       "half cycle (IEC 61000-4-30). Events of the standard are found and sized by it."},
      {"reference", "reference of the thresholds",
       "The voltage that thresholds are per cent of. It is the declared voltage where --nominal gives one; otherwise "
       "each voltage's own usual level in the record, the pre-event voltage. A sliding reference follows the voltage: "
       "RMS values over 10 cycles (12 at 60 Hz) pass a filter of one minute, which pauses during events (IEC "
       "61000-4-30). --reference chooses one. Per cents of an event are of the highest reference of the voltages that "
       "crossed the threshold."},
      {"hysteresis", "hysteresis",
       "By how much of the reference a voltage must be past the threshold again before the event is over: 2 % unless "
       "set otherwise (IEC 61000-4-30). It keeps a voltage that sways about the threshold from making many events."},
      {"residual_voltage", "residual voltage",
       "The lowest Urms(1/2) of any voltage during a dip or an interruption (IEC 61000-4-30), in volts and in per cent "
       "of the reference. Voltages of a segment are another figure: RMS values of the fundamental."},
      {"depth", "depth", "100 % less the residual voltage in per cent of the reference (IEC 61000-4-30)."},
      {"duration", "duration",
       "By the standard: from the beginning of the first cycle whose Urms(1/2) crosses the threshold to the end of the "
       "cycle that ends the event (IEC 61000-4-30). On the waveform: from the change that begins the dip to the one "
       "that ends it. As Urms(1/2) needs whole cycles, the first is about a cycle longer for an abrupt dip. The "
       "tolerance curves and EN 50160 go by the first."},
      {"course", "course on the waveform",
       "What the fundamentals of the voltages do from the change that begins a dip to the one that ends it: "
       "transitions, and the segments between them. Abrupt changes are found to a part of a cycle; where the voltage "
       "falls or recovers gradually, the course begins or ends as it passes 90 % of the level before. Per cents of the "
       "course are of each voltage's own level before, the fundamental just before the dip; of a record that begins in "
       "the dip, the declared voltage or the level after it."},
      {"segment", "segment",
       "A part of a dip's course between two transitions, in which the fundamentals are steady or change gradually "
       "(the transition segments and event segments of IEEE 1564 and CIGRE/CIRED working group C4.110). Its voltages "
       "are RMS values of the fundamental; in a gradual segment those where they are lowest."},
      {"transition", "transition",
       "A change from one segment to the next, from the first voltage that changes to the last. Faults and the "
       "switching of breakers cause them; the poles of a breaker do not open at one instant."},
      {"gradual", "gradual",
       "The fundamentals change from beginning to end, as when motors start or recover, or transformers saturate. The "
       "opposite of a segment is a steady one, that of a transition an abrupt one."},
      {"type", "type of a dip",
       "A to G, the ABC classification: A all three phases alike; B one phase, with zero sequence; C two phases that "
       "move towards each other; D one phase more than the two others; E two phases, with zero sequence; F and G like D "
       "and C, but with a positive-negative factor below one, as of faults of two phases to earth. It comes with the "
       "phases by which it is symmetrical, and with a category code from 0 to 9. Source: M. H. J. Bollen, Understanding "
       "Power Quality Problems (IEEE Press, 2000), chapter 4."},
      {"characteristic_voltage", "characteristic voltage",
       "One complex voltage for the depth of an unbalanced dip, which does not change as the dip passes transformers: "
       "the positive sequence less the turned negative sequence, V1 - V2', each of the positive sequence before "
       "(Bollen 2000, chapter 4). Of type A it is V1 itself."},
      {"pn_factor", "positive-negative factor",
       "The second complex figure of an unbalanced dip, V1 + V2', of the positive sequence before (Bollen 2000, chapter "
       "4). It is about one for faults of one phase and between two, and lower for faults of two phases to earth and "
       "where motors feed the fault."},
      {"unbalance", "voltage unbalance",
       "Negative over positive sequence of the segment's fundamentals, per cent (IEC 61000-4-30)."},
      {"phase_jump", "phase jump",
       "The angle of a voltage in the segment against the voltage before the dip, carried on at the line's frequency; "
       "positive is leading, and values lie in (-180, 180] degrees. There is none below 5 % of the level before, where "
       "the angle would be one of noise."},
      {"point_on_wave", "point on wave",
       "The angle of each voltage's sine at the instant at which the course begins: 0 at the rising zero crossing, 90 "
       "at the crest (IEEE 1564). A dip that begins gradually has none."},
      {"plus_minus", "plus or minus",
       "Half the width of the interval in which the true value lies in 95 of 100 cases, as far as noise, flicker and "
       "sampling tell. Outputs for people round it up to one unit of the last digit shown."},
      {"explained", "explained share",
       "Of all windows of one cycle between the start and the end of a course that hold no transition: how many agree "
       "with the segment that they lie in. Below 90 %, the waveform does more than the segments say."},
      {"wiring", "wiring",
       "In which order the phases follow each other, and whether one voltage has the opposite polarity; both follow from the "
       "voltages in their usual state. Types and sequence voltages are computed for the wiring that was found, and a "
       "note says what is unusual."},
      {"declared", "declared voltage",
       "What the voltage should be, given with --nominal. Whether it is a voltage of phases or between them follows from "
       "the record's level, as does the side of the transformers, unless :phase or :line fixes it. It is the reference "
       "of the thresholds unless --reference chooses another, and of rapid voltage changes in any case."},
      {"itic", "the ITIC curve",
       "Equipment is to ride through a voltage of 0 % for 20 ms, 70 % for 0.5 s, 80 % for 10 s and 90 % for as long as "
       "it lasts. A dip whose residual voltage is on or above the curve at its duration is 'above', otherwise 'below'. "
       "Per cents are of the reference."},
      {"semi_f47", "the SEMI F47 curve",
       "Equipment is to ride through 50 % for 0.2 s, 70 % for 0.5 s and 80 % for 1 s. Dips shorter than 0.05 s or longer "
       "than 1 s are 'outside' it. Per cents are of the reference."},
      {"en50160", "EN 50160's table of dips",
       "Rows by residual voltage: A from 80 to below 90 %, B from 70, C from 40, D from 5, X below that. Columns by "
       "duration: 1 from 10 to 200 ms, 2 to 0.5 s, 3 to 1 s, 4 to 5 s, 5 to 60 s. Per cents are of the reference, which "
       "by EN 50160 is the declared voltage."},
  };
  return list;
}

}  // namespace

std::optional<std::string> explanation_of(const std::string& asked) {
  std::string code = readers::lower_case(asked);
  std::replace_if(
      code.begin(), code.end(), [](char c) { return c == '-' || c == ' '; }, '_');
  for (int category = 0; category <= not_classified; category++) {
    if (code == fmt::format("{}", category)) return category_explained(category);
  }
  if (is_cell(code)) code = "en50160";
  for (const auto& term : terms()) {
    if (code == term.code) return fmt::format("{}   {}\n\n{}", term.code, term.name, paragraph(term.text));
  }
  return std::nullopt;
}

std::string list_of_codes() {
  std::string text = "Categories of a segment\n";
  for (int category = 0; category <= not_classified; category++) {
    text += fmt::format("  {:<22} {}\n", category, dip_category_name(category));
  }
  text += "\nTerms\n";
  for (const auto& term : terms()) text += fmt::format("  {:<22} {}\n", term.code, term.name);
  return text;
}

}  // namespace outputs
