#include "readers/voltages/phase_names.h"

#include <algorithm>
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

/// Returns the word that ends before `position`, ignoring separators.
std::string_view word_before(std::string_view name, std::size_t position) {
  const std::size_t last = position == 0 ? name.npos : name.find_last_not_of(separators, position - 1);
  if (last == name.npos) return {};
  std::size_t first = last + 1;
  while (first > 0 && is_letter(name[first - 1])) first--;
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

}  // namespace

PhaseField read_phase_field(const std::string& field) {
  std::string text;
  for (const char c : lower_case(field)) {
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
  std::vector<PhaseMark> marks;
  if (const auto phase = name.size() == 1 && is_letter(name[0]) ? phase_of(name[0]) : std::nullopt) {
    return {{0, *phase, name[0] <= 'c' ? Alphabet::letters : Alphabet::other, true}};
  }
  for (std::size_t i = 0; i < name.size(); i++) {
    const auto phase = phase_of(name[i]);
    if (!phase) continue;
    const bool after_quantity = is_one_of(word_before(name, i), {"u", "v", "ul", "vl", "l", "ph", "phase"});
    const bool letter = name[i] <= 'c' && !is_digit(name[i]);
    if (is_digit(name[i]) ? beside_digit(name, i) : word_goes_on(name, i)) continue;
    // Letters mark phases in many ways (Ua, HCSA, "Sig (a)"), but digits and R, S, T or U, V, W have many other
    // meanings.
    if (!letter && !after_quantity) continue;
    marks.push_back({i, *phase, letter ? Alphabet::letters : Alphabet::other, after_quantity});
  }
  return marks;
}

std::optional<PairMark> pair_mark(std::string_view name, const std::vector<PhaseMark>& marks) {
  for (std::size_t i = 0; i + 1 < name.size(); i++) {
    const auto first = phase_of(name[i]);
    const auto second = phase_of(name[i + 1]);
    if (!first || !second || *first == *second || !of_one_kind(name[i], name[i + 1])) continue;
    const char behind = i + 2 < name.size() ? name[i + 2] : ' ';
    const bool ends = is_digit(name[i]) ? !is_digit(behind) : !is_letter(behind);
    if (ends && is_one_of(word_before(name, i), {"u", "v", "ul", "vl"}))
      return PairMark{i, i + 1, pair_of(*first, *second), is_turned(*first, *second)};
  }
  for (const PhaseMark& one : marks) {
    for (const PhaseMark& other : marks) {
      if (one.after_quantity && other.after_quantity && one.alphabet == other.alphabet && one.phase != other.phase) {
        return PairMark{one.position, other.position, pair_of(one.phase, other.phase),
                        is_turned(one.phase, other.phase)};
      }
    }
  }
  return std::nullopt;
}

bool sounds_like_voltage(std::string_view name, const std::vector<PhaseMark>& marks) {
  constexpr std::string_view voltage_in_chinese = "\xE7\x94\xB5\xE5\x8E\x8B";
  for (const std::string_view word : {std::string_view("volt"), std::string_view("spannung"),
                                      std::string_view("напряж"), std::string_view("Напряж"), voltage_in_chinese}) {
    if (name.find(word) != name.npos) return true;
  }
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
    if (is_one_of(name.substr(start, i - start), {"mag", "magnitude", "rms", "ang", "angle"})) return true;
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
