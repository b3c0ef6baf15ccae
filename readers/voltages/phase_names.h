// Phases as the names and the phase fields of channels tell them.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace readers {

/// What a phase field says.
struct PhaseField {
  std::optional<std::size_t> phase;
  bool other = false;               ///< neutral, zero sequence or two phases
  std::optional<std::size_t> pair;  ///< which two
  bool turned = false;              ///< from the second of them to the first
};

PhaseField read_phase_field(const std::string& field);

// Names are in lower case from here on.

enum class Alphabet { letters, other };  // other: digits, R S T, or U V W

/// A place in a name that may tell the phase.
struct PhaseMark {
  std::size_t position = 0;
  std::size_t phase = 0;
  Alphabet alphabet = Alphabet::letters;
  bool after_quantity = false;  ///< right behind U, V, L or "phase", so that hardly anything else can be meant
};

/// All places of a name that may tell the phase.
std::vector<PhaseMark> phase_marks(std::string_view name);

/// Where a name says between which phases the voltage is.
struct PairMark {
  std::size_t first = 0;  ///< positions of the two phases
  std::size_t second = 0;
  std::size_t pair = 0;
  bool turned = false;
};

/// A voltage between two phases: Uab, VL12, "Ua-Ub".
std::optional<PairMark> pair_mark(std::string_view name, const std::vector<PhaseMark>& marks);

/// Whether a name without a unit is that of a voltage.
bool sounds_like_voltage(std::string_view name, const std::vector<PhaseMark>& marks);

/// Whether a name is that of a phase's current.
bool sounds_like_current(std::string_view name, const std::vector<PhaseMark>& marks);

/// Phasor figures that some relays record beside the waveforms.
bool is_computed(std::string_view name);

/// The text with each run of digits made one '0', so that running numbers in names do not matter.
std::string without_numbers(const std::string& text);

}  // namespace readers
