#include "outputs/voltage_names.h"

namespace outputs {

namespace {

/// If two voltages between phases were recorded, the third one was computed and has no channel.
bool closes_triangle(const analysis::AnalysedVoltages& voltages, std::size_t phase) {
  return phase > 0 && voltages.channels[phase] == voltages.channels[phase - 1];
}

}  // namespace

std::string voltage_name(const readers::Record& record, const analysis::AnalysedVoltages& voltages, std::size_t phase) {
  if (voltages.computed) return voltages.letter(phase);
  // Next to the names of channels, letters alone would look like another channel.
  if (closes_triangle(voltages, phase)) return voltages.letter(phase) + ", computed";
  return record.channels[voltages.channels[phase]].name;
}

std::string voltages_text(const readers::Record& record, const analysis::AnalysedVoltages& voltages,
                          const measure::PhaseFlags& flags) {
  std::string text;
  if (voltages.phases == 3) {
    text = voltages.letters(flags);
  } else {
    for (std::size_t phase = 0; phase < voltages.phases; phase++) {
      if (flags[phase]) text += (text.empty() ? "" : ", ") + voltage_name(record, voltages, phase);
    }
  }
  return text.empty() ? "none" : text;
}

}  // namespace outputs
