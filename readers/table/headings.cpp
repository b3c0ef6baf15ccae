#include "readers/table/headings.h"

#include "readers/text.h"

namespace readers {

namespace {

/// Splits the heading of a time column, whose unit may also follow as a word: "Zeit in ms", "Time, ms".
Heading time_heading_of(const std::string& text) {
  const std::size_t start = text.find_last_of(" ,");
  if (start == text.npos || !seconds_per(text.substr(start + 1))) return {text, ""};
  std::string_view name = text;
  name = name.substr(0, start);
  while (name.ends_with(' ') || name.ends_with(',')) name.remove_suffix(1);
  if (name.ends_with(" in")) name.remove_suffix(3);
  const Heading heading{std::string(trimmed(name)), text.substr(start + 1)};
  return names_time(heading) ? heading : Heading{text, ""};
}

/// Returns whether a name in lower case is that of a current, so that A after it is the unit and not a phase: "Ia",
/// "3I0", "Line 1 IL2".
bool names_current(std::string_view name) {
  if (name.starts_with('i') || name.starts_with("3i") || name.find("curr") != name.npos) return true;
  const std::string_view last = name.substr(name.find_last_of(" _-.:") + 1);
  return is_one_of(last, {"ia", "ib", "ic", "i1", "i2", "i3", "il1", "il2", "il3", "i0", "3i0"});
}

}  // namespace

std::optional<double> seconds_per(const std::string& unit) {
  const std::string small = lower_case(unit);
  if (is_one_of(small, {"", "s", "sec", "secs", "second", "seconds", "sekunden", "с", "сек"})) return 1;
  if (is_one_of(small, {"ms", "msec", "millisecond", "milliseconds", "millisekunden", "мс"})) return 1e-3;
  // The micro sign is written either as such or as the Greek letter.
  if (is_one_of(small, {"us", "usec", "\xC2\xB5s", "\xCE\xBCs", "microsecond", "microseconds", "мкс"})) return 1e-6;
  return std::nullopt;
}

bool is_unit(std::string_view word, std::string_view name) {
  const std::string small_name = lower_case(name);
  const std::string small_word = lower_case(word);
  if (small_word == "a") return names_current(small_name);
  return is_one_of(small_word, {"v", "kv", "mv", "volt", "volts", "ka", "ma", "amp", "amps", "ampere"}) ||
         is_one_of(small_word, {"В", "в", "кВ", "кв", "мВ", "А", "кА", "hz", "w", "kw", "mw", "%"}) ||
         (!word.empty() && seconds_per(std::string(word)).has_value());
}

bool names_time(const Heading& heading) {
  const std::string name = lower_case(heading.name);
  return is_one_of(name, {"t", "time", "timestamp", "time_stamp", "time stamp", "datetime", "date time", "date/time",
                          "date_time", "Время", "время", "时间"}) ||
         name.starts_with("zeit");
}

Heading heading_of(std::string_view cell) {
  const std::string text = inert(trimmed(cell));
  const std::string_view all = text;
  std::size_t start = 0;
  std::string_view unit;
  if (all.ends_with(']') || all.ends_with(')')) {
    start = all.rfind(all.back() == ']' ? '[' : '(');
    if (start != all.npos) unit = trimmed(all.substr(start + 1, all.size() - start - 2));
  } else {
    start = all.find_last_of("_/");
    if (start != all.npos) unit = all.substr(start + 1);
  }
  const std::string_view name = trimmed(all.substr(0, start));
  // Text in square brackets is a unit, whether known here or not, unless it is the letter of a phase.
  const bool certain = all.ends_with(']') && !is_one_of(lower_case(unit), {"a", "b", "c"});
  if (unit.empty() || name.empty() || (!certain && !is_unit(unit, name))) return time_heading_of(text);
  return {std::string(name), std::string(unit)};
}

bool names_date(const Heading& heading) {
  return is_one_of(lower_case(heading.name), {"date", "datum", "Дата", "дата", "日期"});
}

std::string bare_unit(std::string_view cell) {
  const bool bracketed =
      cell.size() > 2 && ((cell.front() == '[' && cell.back() == ']') || (cell.front() == '(' && cell.back() == ')'));
  return inert(trimmed(bracketed ? cell.substr(1, cell.size() - 2) : cell));
}

}  // namespace readers
