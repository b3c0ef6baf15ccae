// Tests an analysis as text: each figure and its reference.
#include "outputs/text.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "outputs/figures_text.h"
#include "tests/outputs/found_by_hand.h"

namespace {

using outputs::lines_of;
using outputs::text_of;
using tests::a_record;
using tests::nothing_found;
using tests::one_dip_found;

void expect_part(const std::string& text, const std::string& part) {
  EXPECT_NE(text.find(part), std::string::npos) << "missing: " << part << "\nin:\n" << text;
}

void expect_no(const std::string& text, const std::string& part) {
  EXPECT_EQ(text.find(part), std::string::npos) << "there is: " << part << "\nin:\n" << text;
}

TEST(Text, ShowsADipWithItsCourse) {
  EXPECT_EQ(text_of(a_record(), one_dip_found()),
            R"(record.cfg
  CSV
  1 s: 3200 samples at 3200 Hz, 64 per cycle of 50 Hz
  voltages Ua, Ub, Uc
  events by IEC 61000-4-30, in per cent of the pre-event voltage: dip below
  90 %, swell above 110 %, interruption below 5 %, hysteresis 2 %
  rapid voltage change above 3 % of the pre-event voltage
  pre-event voltage: Ua 230.0 V, Ub 230.0 V, Uc 230.0 V
  measured frequency 50.000 Hz

1 event

event 1: dip   10.2900 s to 10.5300 s
  duration 240.0 ms, 12.00 cycles of 50.000 Hz
  residual voltage 115.0 V in Ua: 50.0 % of the pre-event voltage 230.0 V
  depth 50.0 %; below 90 % of the pre-event voltage: A
                                          Ua                Ub                Uc
  lowest Urms(1/2)                   115.0 V           229.0 V           230.0 V
    of 230.0 V                        50.0 %            99.6 %           100.0 %
  Trips: ITIC, SEMI F47, IEC 61000-4-11 class 2, IEC 61000-4-11 class 3, IEEE
  1668; step by step: too close to tell (SEMI F47, IEC 61000-4-11 class 3, IEEE
  1668)
  cell C2 of EN 50160, UNIPEDE 30 to 60 % for 100 to 500 ms, type I of C4.110,
  IEEE 1159 instantaneous sag (by the pre-event voltage)
  on the waveform: 10.3000 s ± 0.1 ms to 10.5000 s ± 0.3 ms, 200.0 ms
    The duration by the standard is 40.0 ms longer: it counts whole cycles of
    Urms(1/2), from the beginning of the first to the end of the last, and the
    voltage must be back at 92 % of the pre-event voltage.
  level before                       230.0 V           230.0 V           230.0 V
  point on wave                 90.0° ± 1.8°     330.0° ± 1.8°     210.0° ± 1.8°
  frequency before 50.010 Hz, after -
  transition at 10.3000 s: abrupt, changes A
  segment 1 10.3000 s to 10.4000 s, steady, 100.0 ms
    type D (A): single-phase dip, A (3)
    characteristic voltage 50.0 % at -20.0°, PN factor 100.0 % at 0.0°, of the
    positive sequence before
    voltage                    115.0 ± 0.3 V     230.0 ± 0.3 V     230.0 ± 0.3 V
      of level before                 50.0 %           100.0 %           100.0 %
    phase jump                 -20.0° ± 0.5°       0.0° ± 0.5°       0.0° ± 0.5°
    below 90 % of their own level before: A
    sequences: positive 200.0 V, negative 50.00 V, zero 12.50 V
    unbalance 25.0 % (negative of positive sequence)
  transition 10.4000 s to 10.4010 s: abrupt, changes A
  segment 2 10.4010 s to 10.5000 s, steady, 99.0 ms
    type D (A): single-phase dip, A (3)
    characteristic voltage 70.0 % at 0.0°, PN factor 100.0 % at 0.0°, of the
    positive sequence before
    voltage                    161.0 ± 0.3 V     230.0 ± 0.3 V     230.0 ± 0.3 V
      of level before                 70.0 %           100.0 %           100.0 %
    phase jump                   0.0° ± 0.5°       0.0° ± 0.5°       0.0° ± 0.5°
    below 90 % of their own level before: A
    sequences: positive 200.0 V, negative 50.00 V, zero 12.50 V
    unbalance 25.0 % (negative of positive sequence)
  transition at 10.5000 s: abrupt, changes A
  The segments explain 97.5 % of the waveform between start and end.
)");
}

// --- the rules -------------------------------------------------------------------------------------------------------

TEST(Text, NamesTheReferenceWithItsVoltages) {
  auto analysis = nothing_found();
  analysis.found.reference_v = {230, 231, 229.5};
  expect_part(text_of(a_record(), analysis), "  pre-event voltage: Ua 230.0 V, Ub 231.0 V, Uc 229.5 V\n");
  analysis.options.reference = measure::Reference::sliding;
  expect_part(text_of(a_record(), analysis),
              "  sliding reference at its beginning: Ua 230.0 V, Ub 231.0 V, Uc 229.5 V\n");
  analysis.options.reference = measure::Reference::declared;
  analysis.declared = analysis::DeclaredVoltage{230, false, false, false, 230};
  analysis.found.reference_v = {230, 230, 230};
  expect_part(text_of(a_record(), analysis), "  declared voltage 230.0 V\n");
}

TEST(Text, NamesThresholdsAndTheReferenceOfRapidChanges) {
  auto analysis = nothing_found();
  analysis.options.thresholds = {85, 115, 10, 1, 2.5};
  auto text = text_of(a_record(), analysis);
  expect_part(text,
              "  events by IEC 61000-4-30, in per cent of the pre-event voltage: dip below\n"
              "  85 %, swell above 115 %, interruption below 10 %, hysteresis 1 %\n");
  expect_part(text, "  rapid voltage change above 2.5 % of the pre-event voltage\n");
  analysis.declared = analysis::DeclaredVoltage{230, false, false, false, 230};
  expect_part(text_of(a_record(), analysis), "  rapid voltage change above 2.5 % of the declared voltage\n");
  analysis.options.thresholds.rapid_change = 0;
  expect_part(text_of(a_record(), analysis), "  rapid voltage changes are not looked for\n");
}

TEST(Text, StatesTheKindOfTheDeclaredVoltage) {
  auto analysis = nothing_found();
  analysis.declared = analysis::DeclaredVoltage{400, true, false, false, 400 / std::sqrt(3.0)};
  expect_part(text_of(a_record(), analysis),
              "  declared line voltage 400.0 V (by the record's level), here 230.9 V\n"
              "  usual Urms(1/2) of the declared voltage: Ua 99.6 %, Ub 99.6 %, Uc 99.6 %\n");
  analysis.declared = analysis::DeclaredVoltage{230, false, true, false, 230};
  expect_part(text_of(a_record(), analysis), "  declared phase voltage 230.0 V (as given)\n");
  analysis.declared = analysis::DeclaredVoltage{110000, true, true, true, 100 / std::sqrt(3.0)};
  expect_part(text_of(a_record(), analysis),
              "  declared line voltage 110.0 kV (as given), divided by the transformer's ratio,\n"
              "  here 57.74 V\n");
}

TEST(Text, ReportsThatTheRecordBeginsLow) {
  auto analysis = nothing_found();
  expect_no(text_of(a_record(), analysis), "note:");
  analysis.found.begins_low = true;
  expect_part(text_of(a_record(), analysis), "  note: The first cycles are much lower than the usual level");
}

// --- events ----------------------------------------------------------------------------------------------------------

TEST(Text, ReportsTimesOutsideOfTheRecord) {
  auto analysis = one_dip_found();
  auto& dip = analysis.found.events[0];
  dip.end_s.reset();
  dip.course->end_s.reset();
  dip.course->segments.back().end_s.reset();
  auto text = text_of(a_record(), analysis);
  expect_part(text, "event 1: dip   10.2900 s to beyond the end of the record\n  duration at least 710.0 ms, ");
  expect_part(text, "on the waveform: 10.3000 s ± 0.1 ms to beyond the end of the record\n");
  expect_part(text, "  segment 2 10.4010 s to the end of the record, steady\n");
  dip.start_known = false;
  dip.course->start_s.reset();
  dip.course->point_on_wave_degrees = {};
  analysis.voltages.parts = 2;
  text = text_of(a_record(), analysis);
  expect_part(text, "event 1: dip   before the beginning to beyond the end of the record's part\n");
  expect_part(text, "on the waveform: before the beginning of the record's part to beyond ");
  expect_part(text, "  point on wave: -, as the dip begins before the record's part\n");
}

TEST(Text, ShowsPerCentOfTheDeclaredVoltageInAdditionToAnotherReference) {
  auto analysis = one_dip_found();
  analysis.declared = analysis::DeclaredVoltage{200, false, false, false, 200};
  expect_part(text_of(a_record(), analysis),
              "  residual voltage 115.0 V in Ua: 50.0 % of the pre-event voltage 230.0 V,\n"
              "  57.5 % of the declared voltage\n");
}

TEST(Text, ShowsASwellByItsHighestVoltage) {
  auto analysis = nothing_found();
  measure::Event swell;
  swell.kind = measure::EventKind::swell;
  swell.start_s = 0.1;
  swell.end_s = 0.3;
  swell.extreme_v = 276;
  swell.extreme_phase = 2;
  swell.reference_v = 230;
  swell.phases = {false, false, true};
  swell.lowest_v = {230, 230, 230};
  swell.highest_v = {230, 230, 276};
  analysis.found.events = {swell};
  const auto text = text_of(a_record(), analysis);
  expect_part(text, "event 1: swell   10.1000 s to 10.3000 s\n  duration 200.0 ms, 10.00 cycles of 50.000 Hz\n");
  expect_part(text, "  highest Urms(1/2) 276.0 V in Uc: 120.0 % of the pre-event voltage 230.0 V\n");
  expect_part(text, "  above 110 % of the pre-event voltage: C\n");
  expect_no(text, "residual");
  expect_part(
      text,
      "  Too close to tell: ITIC upper\n  cell S1 of EN 50160, IEEE 1159 instantaneous swell (by the pre-event voltage)\n");
  analysis.found.events[0].highest_v[2] = analysis.found.events[0].extreme_v = 299;
  expect_part(text_of(a_record(), analysis), "  Trips: ITIC upper\n");
}

TEST(Text, GivesTheIndicesOfADip) {
  auto analysis = one_dip_found();
  expect_no(text_of(a_record(), analysis), "dip energy");
  analysis.indices = {assess::Indices{0.125, 20.5}};
  expect_part(text_of(a_record(), analysis), "  dip energy 125.0 ms, lost 20.50 V s, severity 1.67 by ITIC\n");
}

TEST(Text, JudgesByTheUsersCurvesFirst) {
  auto analysis = one_dip_found();
  analysis.indices = {assess::Indices{0.125, 20.5}};
  analysis.own_curves = {{"press", "Press", false, 0, {{1, 40}}}};
  const auto text = text_of(a_record(), analysis);
  expect_part(text, "  Rides through: Press; trips: ITIC, SEMI F47,");
  expect_part(text, "severity 0.83 by Press\n");
}

TEST(Text, GivesTheReasonOfACurveThatDoesNotCoverADip) {
  auto analysis = one_dip_found();
  for (auto& segment : analysis.found.events[0].course->segments) segment.type->letter = 'A';
  const std::string text = text_of(a_record(), analysis);
  expect_part(text, "IEEE 1668; not\n  covered: SEMI F47 (the curve says nothing about three-phase dips)");
  expect_part(text, "type III of C4.110");
}

TEST(Text, ShowsARapidVoltageChangeByItsTwoSizes) {
  auto analysis = nothing_found();
  measure::Event change;
  change.kind = measure::EventKind::rapid_voltage_change;
  change.start_s = 0.1;
  change.end_s = 0.3;
  change.reference_v = 230;
  change.phases = {true, true, false};
  change.delta_max_v = 13.8;
  change.delta_steady_v = 9.2;
  analysis.found.events = {change};
  const auto text = text_of(a_record(), analysis);
  expect_part(text, "event 1: rapid voltage change   10.1000 s to 10.3000 s\n");
  expect_part(text,
              "  largest change 13.80 V (6.00 %), steady change 9.200 V (4.00 %), of the\n"
              "  pre-event voltage 230.0 V\n"
              "  changed: AB\n");
  EXPECT_EQ(lines_of(a_record(), analysis),
            "record.cfg: event 1, rapid voltage change   10.1000 s, 200.0 ms, largest change 6.00 % of the pre-event "
            "voltage, AB\n");
}

TEST(Text, ListsChangesThatBelongToNoEvent) {
  auto analysis = nothing_found();
  expect_no(text_of(a_record(), analysis), "belong to no event");
  analysis.found.changes_without_event = {{0.5, 0.51, {false, true, false}, {230, 230, 230}, {230, 215, 230}}};
  expect_part(text_of(a_record(), analysis),
              " of the pre-event voltage\n\nchanges of the fundamental that belong to no event\n"
              "  10.5000 s to 10.5100 s: Ub from 230.0 V to 215.0 V\n");
}

// --- the course ------------------------------------------------------------------------------------------------------

TEST(Text, ExplainsWhyTheDurationsDiffer) {
  auto analysis = one_dip_found();
  auto& dip = analysis.found.events[0];
  const std::string longer =
      "    The duration by the standard is 40.0 ms longer: it counts whole cycles of\n"
      "    Urms(1/2), from the beginning of the first to the end of the last, and the\n"
      "    voltage must be back at 92 % of the pre-event voltage.\n";
  expect_part(text_of(a_record(), analysis), longer);
  dip.end_s = 0.505;
  expect_no(text_of(a_record(), analysis), "The duration by the standard is");
  dip.end_s = 0.4;
  expect_part(text_of(a_record(), analysis),
              "    The duration by the standard is 90.0 ms shorter: Urms(1/2) averages ");
  analysis.options.reference = measure::Reference::sliding;
  dip.reference_v = 220;
  const auto text = text_of(a_record(), analysis);
  expect_part(text,
              "; it\n"
              "    refers to the sliding reference (220.0 V), and the course to the levels\n"
              "    before.\n");
}

TEST(Text, DoubtsACourseThatExplainsLittle) {
  auto analysis = one_dip_found();
  auto& share = analysis.found.events[0].course->explained_share;
  share = 0.9;
  expect_part(text_of(a_record(), analysis), "  The segments explain 90.0 % of the waveform between start and end.\n");
  share = 0.62;
  expect_part(text_of(a_record(), analysis),
              "  The segments explain only 62 % of the waveform between start and end; look at\n  the waveform.\n");
}

TEST(Text, ShowsADashForUnknownFigures) {
  auto analysis = one_dip_found();
  auto& segment = analysis.found.events[0].course->segments[0];
  segment.phases[0].phase_jump_degrees.reset();
  segment.sequences->unbalance_percent.reset();
  segment.type.reset();
  const auto text = text_of(a_record(), analysis);
  expect_part(text, "    phase jump                             -       0.0° ± 0.5°");
  expect_part(text, "    unbalance -\n");
  expect_part(text, "    type -: the angles before the dip are not known\n");
  expect_part(text, "  frequency before 50.010 Hz, after -\n");
}

TEST(Text, ShowsNoDigitsOfTheUnbalanceBeyondItsUncertainty) {
  auto analysis = one_dip_found();
  // A sequence has a third of 39 V, so that the unbalance has (100 + 25) % of 13 V / 200 V, which is 8.1 %.
  auto& segment = analysis.found.events[0].course->segments[0];
  segment.phases[0].voltage_v.plus_minus = 9;
  segment.phases[1].voltage_v.plus_minus = 12;
  segment.phases[2].voltage_v.plus_minus = 36;
  segment.sequences->unbalance_percent = 25.04;
  expect_part(text_of(a_record(), analysis),
              "    sequences: positive 200 V, negative 50 V, zero 12 V\n    unbalance 25.0 %");
  for (auto& phase : segment.phases) phase.voltage_v.plus_minus *= 2;
  expect_part(text_of(a_record(), analysis), "    unbalance 25 % (negative of positive sequence)\n");
}

TEST(Text, ShowsNoFiguresOfASegmentThatIsNotMeasured) {
  auto analysis = one_dip_found();
  analysis.found.events[0].course->segments.resize(1);
  analysis.found.events[0].course->segments[0].measured = false;
  const auto text = text_of(a_record(), analysis);
  expect_part(text, "    Too many of its samples are missing for any figure.\n");
  expect_no(text, "sequences");
  expect_no(text, "phase jump");
}

TEST(Text, NamesThePhaseOfASegmentThatIsNotMeasured) {
  auto analysis = one_dip_found();
  auto& dip = *analysis.found.events[0].course;
  dip.segments.resize(1);
  dip.segments[0].phases[1] = {};
  dip.segments[0].phases[1].measured = false;
  const auto text = text_of(a_record(), analysis);
  expect_part(text, "    voltage                    115.0 ± 0.3 V      not measured     230.0 ± 0.3 V\n");
  expect_part(text, "      of level before                 50.0 %                 -           100.0 %\n");
  expect_part(text, "    phase jump                 -20.0° ± 0.5°                 -       0.0° ± 0.5°\n");
  expect_part(lines_of(a_record(), analysis), "segments of the level before: D (A) 50.0 %\n");
  dip.segments[0].phases[1].measured = true;
  dip.before[1] = 0;
  expect_part(lines_of(a_record(), analysis), "segments of the level before: D (A) 50.0 %\n");
}

TEST(Text, ShowsRmsWithinASegmentWhereItIsKnown) {
  auto analysis = one_dip_found();
  expect_no(text_of(a_record(), analysis), "one-cycle RMS");
  analysis.found.events[0].course->segments[0].phases[0].lowest_rms_v = 114;
  const auto text = text_of(a_record(), analysis);
  expect_part(text, "    lowest one-cycle RMS             114.0 V                 -                 -\n");
  expect_no(text, "highest one-cycle RMS");
}

TEST(Text, ShowsNoAngleAndNoSlopeForTinyVoltages) {
  auto analysis = one_dip_found();
  auto& course = *analysis.found.events[0].course;
  course.segments[0].type->characteristic = std::polar(0.01, 1.0);
  course.transitions[0].phases = {true, true, false};
  course.steepest_change_v_per_s = {5000, 1e-9, 0.1};
  const auto text = text_of(a_record(), analysis);
  expect_part(text, "    characteristic voltage 1.0 %, PN factor ");
  // The slope of a voltage that changes in no transition is noise.
  expect_part(text, "  steepest change of RMS          5.000 kV/s             0 V/s                 -\n");
}

TEST(Text, HasNoCourseWhereTheWaveformShowsNoChange) {
  auto analysis = one_dip_found();
  analysis.found.events[0].course.emplace();
  const auto text = text_of(a_record(), analysis);
  expect_part(text, "  The waveform shows no change that would begin this dip, so that it has no\n  course.\n");
  expect_no(text, "on the waveform");
}

// --- fewer voltages, and voltages between phases
// -----------------------------------------------------------------------

TEST(Text, NamesTheChannelsWhereFewerThanThreeAreAnalysed) {
  auto analysis = one_dip_found();
  analysis.voltages.phases = 1;
  analysis.voltages.channels = {1, 1, 1};
  for (auto& segment : analysis.found.events[0].course->segments) {
    segment.type.reset();
    segment.sequences.reset();
  }
  const auto text = text_of(a_record(), analysis);
  expect_part(text, "  voltages Ub\n  Types and sequences of dips need three voltages and are not shown.\n");
  expect_part(text, "  depth 50.0 %; below 90 % of the pre-event voltage: Ub\n");
  expect_no(text, "Ua");
  expect_no(text, "type -");
  expect_no(text, "sequences -");
}

TEST(Text, NamesVoltagesBetweenPhasesByTheirLetters) {
  auto analysis = one_dip_found();
  analysis.voltages.between_phases = analysis.voltages.computed = true;
  const auto text = text_of(a_record(), analysis);
  expect_part(text, "  voltages between phases AB, BC, CA\n");
  expect_part(text, "    type D (AB): dip of one voltage, AB (3)\n");
  expect_part(text, "    sequences: positive 200.0 V, negative 50.00 V\n");
}

TEST(Text, MarksAComputedVoltageAmongRecordedOnes) {
  auto analysis = one_dip_found();
  analysis.voltages.between_phases = true;
  analysis.voltages.channels = {0, 1, 1};
  const auto text = text_of(a_record(), analysis);
  expect_part(text, "  voltages between phases Ua, Ub, CA, computed\n");
  expect_part(text, "                                          Ua                Ub      CA, computed\n");
}

// --- lines -----------------------------------------------------------------------------------------------------------

TEST(Lines, SayADipAndItsSegmentsInOneLine) {
  auto analysis = one_dip_found();
  EXPECT_EQ(lines_of(a_record(), analysis),
            "record.cfg: event 1, dip   10.2900 s, 240.0 ms, residual 50.0 % of the pre-event voltage, A; segments of "
            "the level before: D (A) 50.0 %, then D (A) 70.0 %\n");
  auto& dip = analysis.found.events[0];
  dip.start_known = false;
  dip.course->segments.resize(1);
  dip.course->segments[0].gradual = true;
  dip.course->segments[0].type.reset();
  EXPECT_EQ(lines_of(a_record(), analysis),
            "record.cfg: event 1, dip   before the beginning, at least 240.0 ms, residual 50.0 % of the pre-event "
            "voltage, A; segments of the level before: gradual 50.0 %\n");
}

TEST(Lines, HaveOneOfARecordWithoutEvents) {
  auto analysis = nothing_found();
  const std::string line = "record.cfg: no events   Urms(1/2) from 99.0 % (A) to 101.0 % (C) of the pre-event voltage";
  EXPECT_EQ(lines_of(a_record(), analysis), line + "\n");
  expect_part(text_of(a_record(), analysis),
              "\nno events\n  Urms(1/2) from 99.0 % (A) to 101.0 % (C) of the pre-event voltage\n");
  analysis.found.reference_v[1] = std::numeric_limits<double>::quiet_NaN();
  analysis.found.reference_v[2] = std::numeric_limits<double>::quiet_NaN();
  analysis.found.reference_v[0] = std::numeric_limits<double>::quiet_NaN();
  EXPECT_EQ(lines_of(a_record(), analysis), "record.cfg: no events\n");
}

TEST(Lines, CountTheNotes) {
  auto analysis = one_dip_found();
  analysis.notes = {"One.", "Two."};
  expect_part(lines_of(a_record(), analysis), "; 2 notes\n");
  analysis.found.events.clear();
  analysis.notes.pop_back();
  expect_part(lines_of(a_record(), analysis), "of the pre-event voltage; 1 note\n");
}

// --- the embedded library --------------------------------------------------------------------------------------------

analysis::embedded::Results library_results() {
  analysis::embedded::Results results;
  results.nominal_v = 230;
  results.threshold_v = 207;
  analysis::embedded::ResultDip dip;
  dip.begin = 960;
  dip.end = 1600;
  dip.outcome = "analysed";
  dip.duration_s = 0.2;
  dip.segments = {{980, 1590, {115, 230, 230}, {-20, 0, 0}, 1, 3, 25}};
  results.dips = {dip};
  return results;
}

TEST(LibraryText, IsInPlaceOfTheEvents) {
  auto analysis = one_dip_found();
  analysis.library = library_results();
  const auto text = text_of(a_record(), analysis);
  expect_part(text,
              "\nresults of the embedded library\n  These are what a host of the library gets, by its own rules;");
  expect_no(text, "samples times");
  expect_part(text, "\n1 dip\n\ndip 1   10.3000 s to 10.5000 s\n  duration 200.0 ms (at 20 ms per cycle)\n");
  expect_part(text, "  segment 1 10.3063 s to 10.4969 s: single-phase dip, A (3)\n");
  expect_part(text, "      of nominal                      50.0 %           100.0 %           100.0 %\n");
  expect_part(text, "    below the threshold: A; unbalance 25.0 %\n");
  expect_no(text, "event 1");
  expect_no(text, "IEC 61000-4-30, in per cent");
}

TEST(LibraryText, ReportsScalingOutcomesAndUnfinishedDips) {
  auto analysis = one_dip_found();
  analysis.library = library_results();
  analysis.library->factor = 0.25;
  analysis.library->dips[0].outcome = "too long";
  analysis.library->unfinished_dip = 2560;
  const auto text = text_of(a_record(), analysis);
  expect_part(text, "  The library got the samples times 0.25; the voltages shown are the record's\n  own again.\n");
  expect_part(text, "\n2 dips\n");
  expect_part(text, "  not analysed further: too long\n");
  expect_part(text, "\ndip 2   10.8000 s, continues past the record's end\n");
}

TEST(LibraryText, ReportsWhyARecordIsRefused) {
  auto analysis = one_dip_found();
  analysis.library.emplace().refusal = "it takes three voltages, and fewer were chosen";
  expect_part(text_of(a_record(), analysis),
              "  The embedded library does not take this record: it takes three voltages, and\n  fewer were chosen.\n");
}

TEST(LibraryText, IsALineForEachDipWhereLinesAreWanted) {
  auto analysis = one_dip_found();
  analysis.library = library_results();
  const std::string first =
      "record.cfg: library, dip 1   10.3000 s to 10.5000 s, 200.0 ms, lowest 115.0 V, 50.0 % of nominal; single-phase "
      "dip, A\n";
  EXPECT_EQ(lines_of(a_record(), analysis), first);
  analysis.library->unfinished_dip = 2560;
  EXPECT_EQ(lines_of(a_record(), analysis),
            first + "record.cfg: library, dip 2   10.8000 s, continues past the record's end\n");
  analysis.library->dips[0].segments.push_back({1590, 1600, {69, 138, 138}, {0, 0, 0}, 7, 9, 25});
  expect_part(lines_of(a_record(), analysis),
              "lowest 69.00 V, 30.0 % of nominal; single-phase dip, A, then three-phase");
  analysis.library->dips[0].outcome = "too long";
  expect_part(lines_of(a_record(), analysis), "dip 1   10.3000 s to 10.5000 s, not analysed further: too long\n");
  analysis.library = {};
  analysis.library.emplace();
  EXPECT_EQ(lines_of(a_record(), analysis), "");
  analysis.library->refusal = "it takes three voltages, and fewer were chosen";
  EXPECT_EQ(lines_of(a_record(), analysis),
            "record.cfg: the library does not take this record: it takes three voltages, and fewer were chosen\n");
}

// --- figures that are not known
// ---------------------------------------------------------------------------------------

TEST(Text, SaysThatALevelIsNotKnown) {
  auto analysis = one_dip_found();
  analysis.found.reference_v[1] = analysis.usual_v[1] = std::numeric_limits<double>::quiet_NaN();
  expect_part(text_of(a_record(), analysis), "  pre-event voltage: Ua 230.0 V, Ub unknown, Uc 230.0 V\n");
  analysis.declared = analysis::DeclaredVoltage{230, false, false, false, 230};
  expect_part(text_of(a_record(), analysis), "declared voltage: Ua 100.0 %, Ub unknown,");
}

TEST(Text, HasNoPercentagesOfAReferenceOfZero) {
  auto analysis = one_dip_found();
  auto& event = analysis.found.events[0];
  event.course.reset();
  event.kind = measure::EventKind::swell;
  event.reference_v = 0;
  const auto text = text_of(a_record(), analysis);
  expect_part(text, "  highest Urms(1/2) 115.0 V in Ua: the pre-event voltage is zero\n");
  expect_part(text, "    of 0.000 V                             -                 -                 -\n");
  expect_part(lines_of(a_record(), analysis), "highest 115.0 V, ");
  event.kind = measure::EventKind::rapid_voltage_change;
  event.delta_max_v = 7;
  event.delta_steady_v = 5;
  expect_part(text_of(a_record(), analysis),
              "  largest change 7.000 V, steady change 5.000 V, of the pre-event voltage");
  expect_part(lines_of(a_record(), analysis), "largest change 7.000 V, ");
}

// --- width -----------------------------------------------------------------------------------------------------------

TEST(Text, KeepsAnEventBeyondBothEndsWithinEightyColumns) {
  auto analysis = one_dip_found();
  analysis.voltages.parts = 2;
  auto& event = analysis.found.events[0];
  event.kind = measure::EventKind::interruption;
  event.start_known = false;
  event.end_s.reset();
  event.course.reset();
  expect_part(text_of(a_record(), analysis),
              "\nevent 1: interruption\n  before the beginning to beyond the end of the record's part\n");
}

TEST(Text, WrapsTheOriginOfTheRecord) {
  auto record = a_record();
  record.station = "Substation North 110 kV";
  record.device = "Recorder of feeder 17";
  record.start_time = "31/12/1998,23:59:59.998000";
  expect_part(text_of(record, one_dip_found()),
              "  CSV, Substation North 110 kV, Recorder of feeder 17,\n  31/12/1998,23:59:59.998000\n");
}

TEST(Text, KeepsWithinEightyColumns) {
  auto analysis = one_dip_found();
  analysis.declared = analysis::DeclaredVoltage{400, true, false, false, 230.94};
  for (const double volts : {0.001, 1.0, 1000.0}) {
    for (auto& segment : analysis.found.events[0].course->segments) {
      for (auto& phase : segment.phases) phase.voltage_v = {volts * 123.456, volts * 65.432};
    }
    const auto text = text_of(a_record(), analysis);
    for (std::size_t at = 0; at < text.size();) {
      const std::size_t end = text.find('\n', at);
      const std::string line = text.substr(at, end - at);
      EXPECT_LE(outputs::columns_of(line), 80U) << line;
      at = end + 1;
    }
  }
}

}  // namespace

TEST(Lines, GiveTheTimeOfDayAndTheTimeFromTheTrigger) {
  const auto analysis = one_dip_found();
  auto record = a_record();
  record.start_time = "14/01/2008,12:30:06.000000";
  record.trigger = 10.0;
  const std::string lines = lines_of(record, analysis);
  expect_part(lines, " s (2008-01-14T12:30:16.");
  expect_part(lines, "ms after the trigger), ");
}
