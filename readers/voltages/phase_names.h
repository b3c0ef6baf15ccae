// Reads phases from the names and the phase fields of channels.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace readers {

/// The meaning of a phase field.
struct PhaseField {
  std::optional<std::size_t> phase;  ///< 0 to 2 for A to C; nothing if it denotes no single phase
  bool other = false;                ///< it denotes neutral, zero sequence or two phases
  std::optional<std::size_t> pair;   ///< the two phases, as a position in AB, BC, CA
  bool turned = false;               ///< the voltage runs from the second of them to the first
};

/// Reads a phase field as the file has it.
PhaseField read_phase_field(const std::string& field);

// All names below are in lower case.

/// The letters in which a name gives the phase.
enum class Alphabet { letters, other };  // `other` covers digits, R S T and U V W

/// A place in a name that may give the phase.
struct PhaseMark {
  std::size_t position = 0;               ///< of the character in the name
  std::size_t phase = 0;                  ///< 0 to 2 for A to C
  Alphabet alphabet = Alphabet::letters;  ///< of the character
  bool after_quantity = false;  ///< it directly follows U, V, L or "phase", so it almost certainly is the phase
};

/// Returns all places of a name that may give the phase.
std::vector<PhaseMark> phase_marks(std::string_view name);

/// Returns the same for the name of a current, in which the quantity is I: "IL1", "I_b".
std::vector<PhaseMark> current_marks(std::string_view name);

/// The place where a name says between which phases the voltage is.
struct PairMark {
  std::size_t first = 0;   ///< positions of the two phases
  std::size_t second = 0;  ///< of the second phase
  std::size_t pair = 0;    ///< as a position in AB, BC, CA
  bool turned = false;     ///< the voltage runs from the second of them to the first
};

/// Returns the mark of a line-to-line voltage such as Uab, VL12 or "Ua-Ub".
std::optional<PairMark> pair_mark(std::string_view name, const std::vector<PhaseMark>& marks);

/// Returns whether a name without a unit is that of a voltage.
bool sounds_like_voltage(std::string_view name, const std::vector<PhaseMark>& marks);

/// Returns whether a name is that of a phase current.
bool sounds_like_current(std::string_view name, const std::vector<PhaseMark>& marks);

/// Returns whether a name is that of a phasor quantity, which some relays record alongside the waveforms.
bool is_computed(std::string_view name);

/// Returns the text with each run of digits replaced by one '0', so that running numbers in names do not matter.
std::string without_numbers(const std::string& text);

}  // namespace readers
