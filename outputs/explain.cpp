#include "outputs/explain.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <complex>
#include <numbers>
#include <string_view>
#include <vector>

#include "analysis/embedded/limits.h"
#include "analysis/event_terms.h"
#include "analysis/findings.h"
#include "analysis/quantity_text.h"
#include "outputs/dip_category_name.h"
#include "outputs/phasor_sketch.h"
#include "readers/text.h"
#include "synth/dip_description.h"

namespace outputs {

using analysis::count_text;
using analysis::Obstacle;
namespace embedded = analysis::embedded;

namespace {

constexpr int not_classified = 10;

std::string decided_by_components() {
  return fmt::format(
      "Each sample of a segment votes. Where the negative sequence is below {:g} % of nominal, the phases below the dip "
      "threshold decide: one, two or all three; in dips of up to {} cycles, all three low are a three-phase dip in any "
      "case. Otherwise the angle between the negative sequence and what the positive sequence lost decides, in sectors "
      "of 60 degrees (two-phase dips at 0, 120 and 240 degrees, single-phase dips at 180, 300 and 60). A two-phase dip "
      "whose zero sequence exceeds {:g} % of nominal has a code of its own. The segment gets the category with the most "
      "votes.",
      embedded::least_negative_sequence_percent, embedded::longest_short_window_cycles,
      embedded::least_zero_sequence_percent);
}

constexpr std::array<Obstacle, 9> obstacles = {
    Obstacle::not_recovered, Obstacle::near_start,      Obstacle::near_end,
    Obstacle::too_shallow,   Obstacle::unstable,        Obstacle::too_long,
    Obstacle::not_segmented, Obstacle::unsteady_before, Obstacle::not_found_again};

/// Text of one paragraph in lines that fit a terminal.
std::string paragraph(std::string_view words) {
  constexpr std::size_t widest = 78;
  std::string text;
  std::size_t width = 0;
  while (!words.empty()) {
    const std::size_t length = std::min(words.find(' '), words.size());
    if (width > 0) {
      const bool fits = width + 1 + length <= widest;
      text += fits ? ' ' : '\n';
      width = fits ? width + 1 : 0;
    }
    text += words.substr(0, length);
    width += length;
    words.remove_prefix(std::min(length + 1, words.size()));
  }
  return text + '\n';
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
      return "Two phases move towards each other and fall; the three voltages still add up to zero. A fault between "
             "two phases looks so, and one to earth behind a transformer without a path for zero sequence (type C of "
             "the ABC classification).";
    case 1:
    case 3:
    case 5:
      return "One phase falls more than the others. A fault of one phase to earth looks so (type B of the ABC "
             "classification), and behind a transformer also a fault between two phases (type D).";
    case 6:
    case 7:
    case 8:
      return "Two phases fall and the three voltages no longer add up to zero. A fault of two phases to earth looks so "
             "(types E and G of the ABC classification).";
    case 9:
      return "All three phases fall alike. A three-phase fault looks so, or the start of a large motor (type A of the "
             "ABC classification).";
    default:
      return fmt::format(
          "No sample had a category: the negative sequence is below {:g} % of nominal with no phase below the dip "
          "threshold, or the positive sequence lost nothing.",
          embedded::least_negative_sequence_percent);
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
                                 paragraph(meaning_of(category)), paragraph(decided_by_components()));
  if (category != not_classified) text += '\n' + sketch_of(category);
  return text;
}

/// How it comes about, and what helps.
std::string reason_explained(Obstacle obstacle) {
  switch (obstacle) {
    case Obstacle::not_recovered:
      return "No phase-voltage sample behind the fall brings the lowest one-cycle RMS back to the dip threshold. "
             "Start, lowest voltages and kind are still right for what was recorded. A longer record would help.";
    case Obstacle::near_start:
    case Obstacle::near_end:
      return fmt::format(
          "Segments are told apart in a window that reaches {} cycles past the dip on either side. A record that begins "
          "earlier or ends later would help.",
          count_text(embedded::window_margin_cycles));
    case Obstacle::too_shallow:
      return "Such dips are too close to the ordinary changes of the voltage for their segments to mean anything. "
             "Start, end and lowest voltages are right.";
    case Obstacle::unstable:
      return "The half-cycle RMS changes so much for so long that steps of the dip cannot be told from it; flicker and "
             "arc furnaces do that.";
    case Obstacle::too_long:
      return fmt::format(
          "One run of the library takes {} cycles ({} s at 50 Hz), and segments are told apart within one run. Start, "
          "end and lowest voltages are right.",
          embedded::longest_run_cycles, embedded::longest_run_cycles / 50);
    case Obstacle::not_segmented:
      return "The dip has no stretch in which the voltage stays about the same, or its transitions hide one another; "
             "slow falls over many cycles do that. Start, end and lowest voltages are right.";
    case Obstacle::unsteady_before:
      return "Level and angle before the dip are taken from two cycles that must not differ by more than 10 % between "
             "the phases. Another dip or a slow fall just before this one spoils them.";
    case Obstacle::not_found_again:
      return "The dip lies below the threshold of the record's first cycles, but the level just before it had sunk "
             "already; against that level it is no dip.";
    case Obstacle::none:
      break;
  }
  return "";
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
       fmt::format("The voltage of at least one phase falls below 90 % of the pre-event voltage for a while: from the "
                   "sample at which the lowest phase's one-cycle RMS passes that threshold to the one at which it is "
                   "back. Dips less than {} cycles apart count as one; a note tells how many IEC 61000-4-30 would "
                   "count.",
                   count_text(embedded::joining_cycles))},
      {"residual_voltage", "residual voltage",
       "Of a dip: the lowest one-cycle RMS of its lowest phase, as IEC 61000-4-30 has it. Of a segment: per phase, the "
       "lowest magnitude of the dq transform in that stretch. It follows a change within a quarter of a cycle, where "
       "the RMS takes a whole one, so that it is right in short segments too. Harmonics do not count in it, and it "
       "differs from the RMS by some per cent, where a dip is deep and short by more."},
      {"depth", "depth", "100 % less a dip's residual voltage in per cent of the pre-event voltage."},
      {"duration", "duration",
       "From the sample at which the lowest phase's one-cycle RMS passes the dip threshold to the one at which it is "
       "back."},
      {"segment", "segment",
       "A stretch of a dip in which the voltage stays about the same: from the end of one transition to the start of "
       "the next. Transitions are found in the voltage's 50 Hz part, not in the one-cycle RMS that start and end of "
       "the dip are taken from, so that a segment may begin up to a cycle ahead of the dip."},
      {"unbalance", "voltage unbalance",
       "The largest ratio of negative to positive sequence in a segment. Where all voltages are next to zero it is one "
       "of noise to noise."},
      {"phase_jump", "phase jump",
       "The angle of a phase where it is lowest in the segment, against its angle before the dip. Where the voltage is "
       "next to zero it is one of noise."},
      {"point_on_wave", "point on wave",
       "The angle of each phase's sine at the start of the dip: 0 at the rising zero crossing, 90 at the crest."},
      {"interruption", "voltage interruption",
       "A dip in which all three phases stood below 5 % at once, as EN 50160 has it. Per cent here are of the declared "
       "voltage where --nominal gives it, otherwise of the pre-event voltage."},
      {"declared", "declared voltage",
       "What the voltage should be, given with --nominal as phase or line voltage, on either side of the transformers: "
       "it is taken for the one that the record's level is nearest to. Where it is given, voltages are shown in per "
       "cent of it too, and the tolerance curves, EN 50160's table and interruptions relate to it. The dip threshold "
       "stays 90 % of the pre-event voltage."},
      {"itic", "the ITIC curve",
       "Equipment is to ride through a voltage of 0 % for 20 ms, 70 % for 0.5 s, 80 % for 10 s and 90 % for as long as "
       "it lasts. A dip with its residual voltage on or above the curve at its duration is 'above', otherwise 'below'. "
       "Per cent here are of the declared voltage where --nominal gives it, otherwise of the pre-event voltage."},
      {"semi_f47", "the SEMI F47 curve",
       "Equipment is to ride through 50 % for 0.2 s, 70 % for 0.5 s and 80 % for 1 s. Dips shorter than 0.05 s or "
       "longer than 1 s are 'outside' it. Per cent here are of the declared voltage where --nominal gives it, "
       "otherwise of the pre-event voltage."},
      {"en50160", "EN 50160's table of dips",
       "Rows by residual voltage: A from 80 to below 90 %, B from 70, C from 40, D from 5, X below that. Columns by "
       "duration: 1 from 10 to 200 ms, 2 to 0.5 s, 3 to 1 s, 4 to 5 s, 5 to 60 s. Per cent here are of the declared "
       "voltage where --nominal gives it, otherwise of the pre-event voltage."},
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
  for (const Obstacle obstacle : obstacles) {
    const auto [name, sentence] = describe(obstacle);
    if (code == name)
      return fmt::format("{}   not analysed: {}\n\n{}", name, sentence, paragraph(reason_explained(obstacle)));
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
    text += fmt::format("  {:<16} {}\n", category, dip_category_name(category));
  }
  text += "\nWhy a dip is not analysed\n";
  for (const Obstacle obstacle : obstacles) {
    const auto [name, sentence] = describe(obstacle);
    text += fmt::format("  {:<16} {}\n", name, sentence);
  }
  text += "\nTerms\n";
  for (const auto& term : terms()) text += fmt::format("  {:<16} {}\n", term.code, term.name);
  return text;
}

}  // namespace outputs
