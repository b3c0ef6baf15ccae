#include "outputs/explain_terms.h"

namespace outputs {

const std::vector<Term>& measured_terms() {
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
  };
  return list;
}

}  // namespace outputs
