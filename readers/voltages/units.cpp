#include "readers/voltages/units.h"

#include "readers/text.h"

namespace readers {

std::optional<double> volts_per(const std::string& unit) {
  const std::string_view text = trimmed(unit);
  const std::string small = lower_case(text);
  if (is_one_of(small, {"", "v", "volt", "volts"})) return 1;
  if (is_one_of(small, {"kv", "kilovolt", "kilovolts"})) return 1e3;
  if (small == "mv") return text[0] == 'm' ? 1e-3 : 1e6;  // milli or mega: here the case of the letter decides
  // Russian devices write units in Cyrillic; "В/кВ" means secondary volts and primary kilovolts, and the samples are
  // secondary.
  if (is_one_of(text, {"В", "в", "В/кВ", "В/к", "V/kV"})) return 1;
  if (is_one_of(text, {"кВ", "КВ", "кв"})) return 1e3;
  if (text == "мВ") return 1e-3;
  return std::nullopt;
}

std::optional<double> amperes_per(const std::string& unit) {
  const std::string_view text = trimmed(unit);
  const std::string small = lower_case(text);
  if (is_one_of(small, {"", "a", "amp", "amps", "ampere", "amperes"})) return 1;
  if (small == "ka") return 1e3;
  if (small == "ma") return 1e-3;
  if (is_one_of(text, {"А", "а"})) return 1;  // Cyrillic
  if (is_one_of(text, {"кА", "КА", "ка"})) return 1e3;
  if (is_one_of(text, {"мА", "ма"})) return 1e-3;
  return std::nullopt;
}

bool is_of_another_quantity(const std::string& unit) {
  const std::string small = lower_case(trimmed(unit));
  return is_one_of(
      small, {"ka", "ma",  "hz",  "khz", "%",    "deg",  "degree", "degrees", "\xC2\xB0", "rad", "w",  "kw", "mw",
              "va", "kva", "mva", "var", "kvar", "mvar", "ohm",    "s",       "ms",       "us",  "гц", "Гц", "кА"});
}

}  // namespace readers
