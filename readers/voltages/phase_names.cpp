#include "readers/voltages/phase_names.h"

#include <algorithm>
#include <array>
#include <initializer_list>
#include <utility>

#include "readers/text.h"

namespace readers {

namespace {

constexpr std::string_view separators = " _-.:/()[]'#";

bool is_letter(char c) {
  return c >= 'a' && c <= 'z';
}
bool is_digit(char c) {
  return c >= '0' && c <= '9';
}

/// Returns the phase that a letter or digit denotes: 0, 1 or 2 for A, B or C; nothing for other characters.
std::optional<std::size_t> phase_of(char c) {
  switch (c) {
    case 'a':
    case '1':
    case 'r':
    case 'u':
      return 0;
    case 'b':
    case '2':
    case 's':
    case 'v':
      return 1;
    case 'c':
    case '3':
    case 't':
    case 'w':
      return 2;
    default:
      return std::nullopt;
  }
}

/// Returns whether two characters belong to the same naming of phases: A B C, 1 2 3, R S T or U V W.
bool of_one_kind(char one, char other) {
  const auto kind = [](char c) { return is_digit(c) ? 0 : c <= 'c' ? 1 : c <= 't' ? 2 : 3; };
  return kind(one) == kind(other);
}

bool is_ground(char c) {
  return c == 'n' || c == 'g' || c == 'e';
}

/// Returns whether a voltage from one phase to another has the opposite sign to AB, BC or CA.
bool is_turned(std::size_t from, std::size_t to) {
  return to != (from + 1) % 3;
}

/// Returns the position of the voltage between two phases in the order AB, BC, CA.
std::size_t pair_of(std::size_t one, std::size_t other) {
  const auto [low, high] = std::minmax(one, other);
  return low == 0 && high == 2 ? 2 : low;
}

/// Returns the word that ends before `position`, ignoring separators. Of a longer word than any that callers know, only
/// the end is returned, so that a name of one long word takes no more time than others.
std::string_view word_before(std::string_view name, std::size_t position) {
  constexpr std::size_t longest = 6;  // more than "phase"
  const std::size_t last = position == 0 ? name.npos : name.find_last_not_of(separators, position - 1);
  if (last == name.npos) return {};
  std::size_t first = last + 1;
  while (first > 0 && last + 1 - first < longest && is_letter(name[first - 1])) first--;
  return name.substr(first, last + 1 - first);
}

/// Returns whether a word continues after `position` in a way that rules out a phase letter; "Van" is still phase A.
bool word_goes_on(std::string_view name, std::size_t position) {
  const auto letter_at = [&](std::size_t i) { return i < name.size() && is_letter(name[i]); };
  if (!letter_at(position + 1)) return false;
  return !is_ground(name[position + 1]) || letter_at(position + 2);
}

bool beside_digit(std::string_view name, std::size_t position) {
  return (position > 0 && is_digit(name[position - 1])) || (position + 1 < name.size() && is_digit(name[position + 1]));
}

/// Returns the first two marks after quantities that are of one alphabet and of different phases, as in "Ua-Ub".
std::optional<PairMark> pair_of_marks(const std::vector<PhaseMark>& marks) {
  std::array<bool, 2> searched{};  // per alphabet; all its marks have the same phase
  for (const PhaseMark& one : marks) {
    const auto alphabet = static_cast<std::size_t>(one.alphabet);
    if (!one.after_quantity || searched[alphabet]) continue;
    searched[alphabet] = true;
    const auto other = std::find_if(marks.begin(), marks.end(), [&](const PhaseMark& mark) {
      return mark.after_quantity && mark.alphabet == one.alphabet && mark.phase != one.phase;
    });
    if (other == marks.end()) continue;
    return PairMark{one.position, other->position, pair_of(one.phase, other->phase),
                    is_turned(one.phase, other->phase)};
  }
  return std::nullopt;
}

/// Drops the T of "VT", which is a voltage transformer and not phase T if the name gives a phase elsewhere.
void drop_transformer(std::string_view name, std::vector<PhaseMark>& marks) {
  const auto is_transformer = [&](const PhaseMark& mark) {
    return name[mark.position] == 't' && mark.position > 0 && name[mark.position - 1] == 'v' &&
           !word_goes_on(name, mark.position);
  };
  const auto gives_phase = [&](const PhaseMark& mark) { return mark.after_quantity && !is_transformer(mark); };
  if (std::any_of(marks.begin(), marks.end(), gives_phase)) std::erase_if(marks, is_transformer);
}

/// Returns the places that may give the phase. `quantities` are the words that are followed by a phase.
std::vector<PhaseMark> marks_after(std::string_view name, std::initializer_list<std::string_view> quantities) {
  std::vector<PhaseMark> marks;
  if (const auto phase = name.size() == 1 && is_letter(name[0]) ? phase_of(name[0]) : std::nullopt) {
    return {{0, *phase, name[0] <= 'c' ? Alphabet::letters : Alphabet::other, true}};
  }
  for (std::size_t i = 0; i < name.size(); i++) {
    const auto phase = phase_of(name[i]);
    if (!phase) continue;
    const bool letter = name[i] <= 'c' && !is_digit(name[i]);
    if (is_digit(name[i]) ? beside_digit(name, i) : word_goes_on(name, i)) continue;
    const bool after_quantity = is_one_of(word_before(name, i), quantities);
    // Letters mark phases in many ways (Ua, HCSA, "Sig (a)"), but digits and R, S, T or U, V, W have many other
    // meanings.
    if (!letter && !after_quantity) continue;
    marks.push_back({i, *phase, letter ? Alphabet::letters : Alphabet::other, after_quantity});
  }
  return marks;
}

}  // namespace

PhaseField read_phase_field(const std::string& field) {
  const std::string small = lower_case(field);
  const bool of_several = small.find("sequence") != small.npos || small.find("mean of") != small.npos;
  if (of_several || is_one_of(small, {"ng", "residual", "net", "total", "worst", "dc+", "dc-"})) {
    return {std::nullopt, true, {}, false};
  }
  std::string text;
  for (const char c : small) {
    if (c != 'l' && separators.find(c) == separators.npos) text += c;  // skips the L of L1 and the hyphen of A-N
  }
  if (text.size() == 1) return {phase_of(text[0]), is_ground(text[0]) || text[0] == '0', {}, false};
  if (text.size() == 2 && phase_of(text[0])) {
    if (is_ground(text[1])) return {phase_of(text[0]), false, {}, false};
    if (const auto second = phase_of(text[1]); second && second != phase_of(text[0]) && of_one_kind(text[0], text[1])) {
      return {std::nullopt, true, pair_of(*phase_of(text[0]), *second), is_turned(*phase_of(text[0]), *second)};
    }
  }
  return {};
}

std::vector<PhaseMark> phase_marks(std::string_view name) {
  auto marks = marks_after(name, {"u", "v", "ul", "vl", "l", "ph", "phase"});
  drop_transformer(name, marks);
  return marks;
}

std::vector<PhaseMark> current_marks(std::string_view name) {
  return marks_after(name, {"i", "il", "l", "ph", "phase"});
}

std::optional<PairMark> pair_mark(std::string_view name, const std::vector<PhaseMark>& marks) {
  for (std::size_t i = 0; i + 1 < name.size(); i++) {
    const auto first = phase_of(name[i]);
    if (!first) continue;
    const auto second = phase_of(name[i + 1]);
    if (!second || *first == *second || !of_one_kind(name[i], name[i + 1])) continue;
    const char behind = i + 2 < name.size() ? name[i + 2] : ' ';
    const bool ends = is_digit(name[i]) ? !is_digit(behind) : !is_letter(behind);
    if (ends && is_one_of(word_before(name, i), {"u", "v", "ul", "vl"}))
      return PairMark{i, i + 1, pair_of(*first, *second), is_turned(*first, *second)};
  }
  return pair_of_marks(marks);
}

bool sounds_like_voltage(std::string_view name, const std::vector<PhaseMark>& marks) {
  constexpr std::string_view voltage_in_chinese = "\xE7\x94\xB5\xE5\x8E\x8B";
  const auto contains = [&](std::string_view word) {
    return name.size() >= word.size() && name.find(word) != name.npos;
  };
  if (contains("volt") || contains("spannung")) return true;
  const bool other_letters =
      std::any_of(name.begin(), name.end(), [](char c) { return static_cast<unsigned char>(c) >= 0x80; });
  if (other_letters && (contains("напряж") || contains("Напряж") || contains(voltage_in_chinese))) return true;
  for (std::size_t i = 0; i < name.size(); i++) {  // the quantity must be a separate word: "U Sig (a)", "V_L1"
    const bool quantity = name[i] == 'u' || name[i] == 'v';
    const bool starts = i == 0 || !is_letter(name[i - 1]);
    if (quantity && starts && (i + 1 == name.size() || !is_letter(name[i + 1]))) return true;
  }
  return std::any_of(marks.begin(), marks.end(), [&](const PhaseMark& mark) {
    return is_one_of(word_before(name, mark.position), {"u", "v", "ul", "vl"});
  });
}

bool sounds_like_current(std::string_view name, const std::vector<PhaseMark>& marks) {
  return std::any_of(marks.begin(), marks.end(), [&](const PhaseMark& mark) {
    return is_one_of(word_before(name, mark.position), {"i", "il"});
  });
}

bool is_computed(std::string_view name) {
  std::size_t start = 0;
  for (std::size_t i = 0; i <= name.size(); i++) {
    if (i < name.size() && is_letter(name[i])) continue;
    const bool candidate = i - start >= 3 && (name[start] == 'm' || name[start] == 'r' || name[start] == 'a');
    if (candidate && is_one_of(name.substr(start, i - start), {"mag", "magnitude", "rms", "ang", "angle"})) return true;
    start = i + 1;
  }
  return false;
}

std::string without_numbers(const std::string& text) {
  std::string result;
  for (const char c : text) {
    if (!is_digit(c)) {
      result += c;
    } else if (result.empty() || result.back() != '0') {
      result += '0';
    }
  }
  return result;
}

}  // namespace readers
