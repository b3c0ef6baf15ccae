#include "outputs/explain_terms.h"

namespace outputs {

namespace {

std::vector<Term> curve_terms() {
  return {
      {"itic", "the ITIC curve",
       "Equipment is to ride through a voltage of 0 % for 20 ms, 70 % for 0.5 s, 80 % for 10 s and 90 % for as long as "
       "it lasts. A dip whose residual voltage is on or above the curve at its duration is 'above', otherwise 'below'. "
       "Per cents are of the reference. Source: ITI (CBEMA) curve application note, Information Technology Industry "
       "Council, 2000."},
      {"itic_upper", "the upper ITIC curve",
       "Equipment is to ride through a swell of 120 % for 0.5 s, and of 110 % for as long as it lasts. The parts of the "
       "curve below one cycle are left out, because they limit peaks and not RMS values. Source: ITI (CBEMA) curve "
       "application note, Information Technology Industry Council, 2000."},
      {"semi_f47", "the SEMI F47 curve",
       "Equipment is to ride through 50 % for 0.2 s, 70 % for 0.5 s and 80 % for 1 s. Dips shorter than 0.05 s or longer "
       "than 1 s are 'outside' it. It tests dips of one phase and between two phases and says nothing about three-phase "
       "dips, which the verdict therefore does not cover. Per cents are of the reference. Source: SEMI F47-0706."},
      {"iec_class_2", "IEC 61000-4-11 class 2",
       "Test levels for equipment in public networks and in the supply of industry: 0 % for half a cycle and for one "
       "cycle, 70 % for 25 cycles (30 at 60 Hz), which is 0.5 s. The interruption to 0 % for 250 cycles (300 at 60 Hz) "
       "is a test of its own, so that the curve does not cover interruptions of more than a cycle. Source: IEC "
       "61000-4-11, preferred test levels."},
      {"iec_class_3", "IEC 61000-4-11 class 3",
       "Test levels for equipment in industrial networks: those of class 2, and 40 % for 10 cycles (12 at 60 Hz), which "
       "is 0.2 s, and 80 % for 250 cycles (300 at 60 Hz), which is 5 s. Interruptions have a test of their own. Source: "
       "IEC 61000-4-11, preferred test levels."},
      {"ieee_1668", "the IEEE 1668 curves",
       "Recommended ride-through. Dips of types I and II: 50 % for 0.2 s, 70 % for 0.5 s and 80 % for 2 s. Dips of type "
       "III: 50 % for 0.05 s, 70 % for 0.1 s and 80 % for 2 s. The dip's own type decides; if it is not known, the curve "
       "covers only dips for which both give the same verdict. Source: IEEE Std 1668."},
      {"curve", "voltage-tolerance curve",
       "The lowest voltage that equipment shall ride through, by duration. Published curves are itic, itic_upper, "
       "semi_f47, iec_class_2, iec_class_3 and ieee_1668. --curve FILE adds a curve of your own from a CSV file with the "
       "columns duration (s or ms) and voltage (per cent)."},
  };
}

std::vector<Term> verdict_terms() {
  return {
      {"rides_through", "verdict: rides through",
       "The residual voltage of the dip is on or above the curve at the dip's duration, or the highest voltage of the "
       "swell is on or below it, so that equipment built to the curve keeps working."},
      {"trips", "verdict: trips",
       "The residual voltage of the dip is below the curve at the dip's duration, or the highest voltage of the swell is "
       "above it, so that equipment built to the curve need not keep working. It may do so nevertheless."},
      {"not_covered", "verdict: not covered",
       "The curve says nothing about such an event, for the reason that is given: the event is longer or shorter than "
       "the curve, its duration is not known, or the curve leaves out events of its kind."},
      {"too_close_to_tell", "verdict: too close to tell",
       "A limit of the curve lies within the uncertainty of the figures, so that the verdict could be another one. The "
       "uncertainty is 0.2 % of the reference for the voltage and a cycle for the duration (IEC 61000-4-30, class A)."},
      {"step_by_step", "verdict step by step",
       "A dip of several segments is judged a second time, by the time that it spends below the voltage of each step of "
       "the curve. Its residual voltage and its whole duration together make it worse than it was. The text shows this "
       "verdict where it differs from the first one. A gradual segment counts with its lowest voltage."},
      {"above", "above a curve",
       "The residual voltage is on or above the curve at the dip's duration: equipment should ride through. It is a word "
       "of voltage_tolerance in the JSON document, which goes by residual voltage and duration alone."},
      {"below", "below a curve",
       "The residual voltage is below the curve at the dip's duration: equipment need not ride through. It is a word of "
       "voltage_tolerance in the JSON document, which goes by residual voltage and duration alone."},
      {"outside", "outside a curve",
       "The dip is shorter or longer than the curve, or does not end in the record. It is a word of voltage_tolerance in "
       "the JSON document, which goes by residual voltage and duration alone."},
  };
}

std::vector<Term> class_terms() {
  return {
      {"en50160", "EN 50160's table of dips",
       "Rows by residual voltage: A from 80 to below 90 %, B from 70, C from 40, D from 5, X below that. Columns by "
       "duration: 1 from 10 to 200 ms, 2 to 0.5 s, 3 to 1 s, 4 to 5 s, 5 to 60 s. Per cents are of the reference, which "
       "by EN 50160 is the declared voltage."},
      {"en50160_swell", "EN 50160's table of swells",
       "Rows by highest voltage: S from 120 %, T from above 110 to below 120 %. Columns by duration: 1 from 10 to 500 "
       "ms, 2 to 5 s, 3 to 60 s. Source: EN 50160:2010."},
      {"unipede", "UNIPEDE's table of dips",
       "Rows by depth: 10 to below 30 %, 30 to below 60 %, 60 to below 100 %, and 100 %, for which less than 1 % of the "
       "voltage remains. Columns by duration: 10 to below 100 ms, to 500 ms, 1 s, 3 s, 20 s and 60 s. Source: the DISDIP "
       "survey of UNIPEDE."},
      {"ieee_1159", "classes of IEEE 1159",
       "Events by duration: instantaneous (0.5 to 30 cycles), momentary (to 3 s) and temporary (to 1 min). A sag leaves "
       "10 to 90 % of the voltage, an interruption less than 10 %, and a swell is above 110 %. Interruptions of up to "
       "3 s are momentary. Events of more than a minute are sustained interruptions, undervoltages and overvoltages. "
       "Source: IEEE Std 1159."},
      {"instantaneous", "instantaneous (IEEE 1159)", "A sag or a swell that lasts 0.5 to 30 cycles (IEEE Std 1159)."},
      {"momentary", "momentary (IEEE 1159)",
       "A sag or a swell that lasts from 30 cycles to 3 s, or an interruption from half a cycle to 3 s (IEEE Std 1159)."},
      {"temporary", "temporary (IEEE 1159)",
       "A sag, swell or interruption that lasts from 3 s to 1 min (IEEE Std 1159)."},
      {"sustained", "sustained (IEEE 1159)",
       "An interruption that lasts more than 1 min. Sags and swells of that length are undervoltages and overvoltages "
       "(IEEE Std 1159)."},
      {"undervoltage", "undervoltage (IEEE 1159)", "A voltage below 90 % for more than 1 min (IEEE Std 1159)."},
      {"overvoltage", "overvoltage (IEEE 1159)", "A voltage above 110 % for more than 1 min (IEEE Std 1159)."},
      {"sag", "sag", "The American word for a voltage dip. IEEE 1159 counts 10 to 90 % of the voltage as a sag."},
      {"c4_110", "types I, II and III of C4.110",
       "The number of voltages that drop most: one (I), two (II) or three (III). Types B, D and F of the ABC "
       "classification are of type I, types C, E and G of type II, and type A is type III. A dip has the type of its "
       "segment with the lowest voltage. Source: CIGRE/CIRED/UIE working group C4.110, Voltage dip immunity of equipment "
       "and installations, 2010."},
  };
}

std::vector<Term> index_terms() {
  return {
      {"dip_energy", "dip energy",
       "The integral of 1 - (U/Uref)^2 over the dip, in seconds, of the voltage with the residual voltage. U is "
       "Urms(1/2) and Uref the event's reference; values above it count as the reference. An interruption of a second "
       "has an energy of one second. Source: IEEE Std 1564-2014."},
      {"lost_volt_seconds", "lost volt-seconds",
       "The integral of Uref - U over the dip, in volts times seconds, of the voltage with the residual voltage."},
      {"severity", "dip severity",
       "The depth of the dip divided by the depth of a curve at the dip's duration: (1 - U)/(1 - Ucurve). It is above 1 "
       "if the residual voltage is below the curve. The text uses your first own curve that covers the dip, otherwise "
       "ITIC; the JSON document has it for each curve. Source: IEEE Std 1564-2014."},
  };
}

std::vector<Term> load_terms() {
  return {
      {"through", "voltages beyond transformers",
       "--through Dyn11,Dyn5 carries the voltages through ideal transformers to a load. The positive sequence lags by 30 "
       "degrees for each hour of the clock number, the negative sequence leads by as much, and the zero sequence passes "
       "only between two stars with neutrals (YNyn). A type B beyond a delta-star transformer is a type C with the "
       "characteristic voltage 1/3 + 2/3 V; C becomes D, D becomes C, E becomes F, F becomes G and G becomes F. Source: "
       "M. H. J. Bollen, Understanding Power Quality Problems, IEEE Press, 2000, section 4.4."},
      {"vector_group", "vector group",
       "The connection of a transformer: the first winding in capital letters (D delta, Y star, Z zigzag, N with "
       "neutral), the second one in small letters, and the clock number, which says by how many times 30 degrees the "
       "second winding lags. --through expects the winding on the record's side first. Source: IEC 60076-1."},
  };
}

std::vector<Term> origin_terms() {
  return {
      {"direction", "side of the cause",
       "Whether a dip comes from downstream of the monitor, the side to which active power flowed before, or from "
       "upstream. Four published methods compare the currents before and in the dip: the real current component (Hamzah "
       "2004, here the sign of its change), the slope of the system trajectory (Li 2003), disturbance power and energy "
       "(Parsons 1998), and the sign of the resistance (Tayjasanant 2005). A side is named only if all methods that "
       "decide agree. All may be wrong for loads that take constant power."},
      {"upstream", "upstream", "Towards the source: the side from which active power flowed before the dip."},
      {"downstream", "downstream", "Towards the load: the side to which active power flowed before the dip."},
      {"likely_cause", "likely cause",
       "A cause that voltages and currents suggest. Interruption by switching: voltages and currents vanish at once. "
       "Energising of a transformer: the second harmonic of a current is at least 15 % of its fundamental and decays, and "
       "the voltage recovers gradually. Start of a motor: all currents rise alike, and the voltage recovers gradually. "
       "Fault: abrupt at both ends, and a current rises to at least 1.5 times or all methods say upstream. It is shown "
       "only if one of these rules fits."},
  };
}

std::vector<Term> certificate_terms() {
  return {
      {"certificate", "certificate of an analysis",
       "--certificate FILE writes the hashes of the record's files (SHA-256 of their content after unpacking), the "
       "version, all parameters, and every figure with its definition and uncertainty. dipx verify runs the analysis "
       "again and compares the figures to the digit. Nobody signs a certificate: it shows that a record gives these "
       "figures, but not who measured or issued it."},
      {"event", "event",
       "A dip, a swell, an interruption or a rapid voltage change by the rules of IEC 61000-4-30. Events are numbered "
       "in the order of their starts."},
      {"frequency", "frequency", "The mean frequency of the fundamental over the record."},
      {"sequences", "symmetrical components",
       "The positive, negative and zero sequence of the fundamentals of three phase voltages (Fortescue). Voltages "
       "between phases have no zero sequence."},
  };
}

}  // namespace

const std::vector<Term>& assessment_terms() {
  static const std::vector<Term> all = [] {
    std::vector<Term> terms = curve_terms();
    for (const auto& more :
         {verdict_terms(), class_terms(), index_terms(), load_terms(), origin_terms(), certificate_terms()}) {
      terms.insert(terms.end(), more.begin(), more.end());
    }
    return terms;
  }();
  return all;
}

}  // namespace outputs
