// Lines of text with a column for each voltage.
#pragma once

#include <cstddef>
#include <string>

#include "outputs/colours.h"

namespace outputs {

class PhaseTable {
 public:
  PhaseTable(std::size_t phases, const Colours& colours) : phases_(phases), colours_(colours) {}

  /// "  level before            230.0 V           230.0 V           230.0 V". `figure` gives the text of a phase.
  template <typename Text>
  [[nodiscard]] std::string line(const std::string& heading, Text figure) const {
    return line(heading, figure, [](std::size_t) { return false; });
  }

  /// The same; figures of phases for which `low` is true are coloured so.
  template <typename Text, typename Low>
  [[nodiscard]] std::string line(const std::string& heading, Text figure, Low low) const {
    std::string text = begun(heading);
    for (std::size_t phase = 0; phase < phases_; phase++) {
      const std::string shown = cell(figure(phase));
      text += low(phase) ? colours_.low(shown) : shown;
    }
    return text + '\n';
  }

  /// The line with the voltages' names. `name` gives that of a phase.
  template <typename Text>
  [[nodiscard]] std::string names(Text name) const {
    std::string text = begun("");
    for (std::size_t phase = 0; phase < phases_; phase++) text += colours_.faint(name_cell(name(phase)));
    return text + '\n';
  }

 private:
  /// The heading, on a line of its own if the terminal is too narrow for it and the figures.
  [[nodiscard]] std::string begun(const std::string& heading) const;
  static std::string cell(const std::string& figure);
  static std::string name_cell(const std::string& name);

  std::size_t phases_;
  const Colours& colours_;
};

}  // namespace outputs
