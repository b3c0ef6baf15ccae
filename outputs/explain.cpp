#include "outputs/explain.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <complex>
#include <numbers>
#include <string_view>
#include <vector>

#include "outputs/dip_category_name.h"
#include "outputs/explain_terms.h"
#include "outputs/figures_text.h"
#include "outputs/near_words.h"
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

/// Returns the state of the three phases in a dip of a category, in the form that the generator uses.
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

/// Of EN 50160's table of swells: "s1".
bool is_swell_cell(const std::string& code) {
  return code.size() == 2 && (code[0] == 's' || code[0] == 't') && code[1] >= '1' && code[1] <= '3';
}

std::vector<Term> terms() {
  std::vector<Term> all = measured_terms();
  all.insert(all.end(), assessment_terms().begin(), assessment_terms().end());
  return all;
}

/// Returns the code of a term as it is written in the list: "SEMI F47" becomes "semi_f47".
std::string code_of(const std::string& asked) {
  std::string code = readers::lower_case(asked);
  std::replace_if(
      code.begin(), code.end(), [](char c) { return c == '-' || c == ' ' || c == '.'; }, '_');
  if (is_cell(code)) return "en50160";
  if (is_swell_cell(code)) return "en50160_swell";
  if (code == "i" || code == "ii" || code == "iii") return "c4_110";
  return code;
}

/// Returns only the letters and digits of a text, in lower case, so that "EN 50160" and "en50160" are equal.
std::string letters_of(const std::string& text) {
  std::string letters = readers::lower_case(text);
  std::erase_if(letters, [](char c) { return c == '_' || c == ' ' || c == '-' || c == '.'; });
  return letters;
}

}  // namespace

const std::string* text_of_term(const std::string& code) {
  for (const auto* list : {&measured_terms(), &assessment_terms()}) {
    for (const auto& term : *list) {
      if (code == term.code) return &term.text;
    }
  }
  return nullptr;
}

std::vector<std::string> near_codes(const std::string& asked) {
  std::vector<std::string> codes;
  for (const auto& term : terms()) codes.emplace_back(term.code);
  return near_words(code_of(asked), codes);
}

std::optional<std::string> explanation_of(const std::string& asked) {
  const std::string code = code_of(asked);
  for (int category = 0; category <= not_classified; category++) {
    if (code == fmt::format("{}", category)) return category_explained(category);
  }
  for (const auto& term : terms()) {
    const bool asked_for = letters_of(code) == letters_of(term.code) || letters_of(code) == letters_of(term.name);
    if (asked_for) return fmt::format("{}   {}\n\n{}", term.code, term.name, paragraph(term.text));
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
