#include "analysis/own_curve.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "assess/known_curves.h"
#include "platform/utf8_path.h"
#include "readers/charset.h"
#include "readers/table/headings.h"
#include "readers/text.h"

namespace analysis {

namespace {

std::string_view unquoted(std::string_view field) {
  const bool quoted = field.size() >= 2 && field.front() == '"' && field.back() == '"';
  return quoted ? readers::trimmed(field.substr(1, field.size() - 2)) : field;
}

/// Returns "press_line_3" for "Press line 3". Bytes of other alphabets remain, so that names in them differ.
std::string code_of(const std::string& name) {
  std::string code = readers::lower_case(name);
  for (char& letter : code) {
    const auto byte = static_cast<unsigned char>(letter);
    if (byte < 0x80 && std::isalnum(byte) == 0) letter = '_';
  }
  return code;
}

class Reading {
 public:
  Reading(std::string_view text, const std::string& file) : lines_(readers::without_file_marks(text)), file_(file) {
    curve_.name = platform::utf8_path(file).stem().string();
  }

  assess::Curve curve() {
    while (const auto line = lines_.next()) take(readers::trimmed(*line));
    if (!header_) complain("holds no header", "a line such as duration_ms,voltage_percent", "add one");
    if (curve_.steps.empty()) complain("holds no step after the header", "a row such as 200,50", "add one");
    curve_.code = code_of(curve_.name);
    return curve_;
  }

 private:
  struct Header {
    char separator = ',';
    std::size_t duration = 0;
    std::size_t voltage = 0;
    double seconds_per_unit = 1;
  };

  [[noreturn]] void complain(const std::string& found, const char* expected, const char* cure) const {
    const std::string place = lines_.number() > 0 ? ", " + readers::line_place(lines_.number()) : "";
    throw CurveError(fmt::format("{}{}: the curve {}; expected {}; {}", file_, place, found, expected, cure));
  }

  void take(std::string_view line) {
    if (line.starts_with('#')) return take_comment(readers::trimmed(line.substr(1)));
    // A spreadsheet fills blank rows with separators.
    if (line.find_first_not_of(",;\t ") == line.npos) return;
    if (header_) {
      take_step(line);
    } else {
      take_header(line);
    }
  }

  void take_comment(std::string_view words) {
    constexpr std::string_view mark = "name:";
    if (!readers::lower_case(words).starts_with(mark)) return;
    std::string_view name = words.substr(mark.size());
    name = readers::trimmed(name.substr(0, name.find_last_not_of(",;\t ") + 1));
    if (!name.empty()) curve_.name = name;
  }

  [[nodiscard]] static std::vector<std::string_view> fields_of(std::string_view line, char separator) {
    auto fields = readers::split_fields(line, separator);
    std::transform(fields.begin(), fields.end(), fields.begin(), unquoted);
    return fields;
  }

  void take_header(std::string_view line) {
    Header header;
    header.separator = line.find(';') != line.npos ? ';' : line.find('\t') != line.npos ? '\t' : ',';
    const auto names = fields_of(line, header.separator);
    const auto column_of = [&](std::initializer_list<std::string_view> words) -> std::optional<std::size_t> {
      for (std::size_t i = 0; i < names.size(); i++) {
        const std::string name = readers::lower_case(names[i]);
        for (const std::string_view word : words) {
          if (name.find(word) != name.npos) return i;
        }
      }
      return std::nullopt;
    };
    const auto duration = column_of({"duration", "time"});
    const auto voltage = column_of({"voltage"});
    constexpr const char* example = "use a header such as duration_ms,voltage_percent";
    const std::string found = "has the header " + readers::cited(line);
    if (!duration) complain(found, "a column named duration or time", example);
    if (!voltage || *voltage == *duration) complain(found, "a column named voltage", example);
    header.duration = *duration;
    header.voltage = *voltage;
    const std::string unit = readers::heading_of(names[*duration]).unit;
    const auto seconds = readers::seconds_per(unit);
    if (unit.empty() || !seconds) {
      complain("has the column " + readers::cited(names[*duration]), "a duration in s or ms",
               "name the unit, as in duration_ms");
    }
    header.seconds_per_unit = *seconds;
    header_ = header;
  }

  void take_step(std::string_view line) {
    const auto fields = fields_of(line, header_->separator);
    const auto field = [&](std::size_t column) { return column < fields.size() ? fields[column] : std::string_view(); };
    const std::string_view duration = field(header_->duration);
    const std::string_view voltage = field(header_->voltage);
    const std::string has_duration = "has the duration " + readers::cited(duration);
    const std::string has_voltage = "has the voltage " + readers::cited(voltage);
    const auto seconds = number_in(duration);
    if (!seconds) complain(has_duration, "a number", "correct it");
    const auto percent = number_in(voltage);
    if (!percent || !std::isfinite(*percent)) complain(has_voltage, "a number", "correct it");
    const assess::CurveStep step{*seconds * header_->seconds_per_unit, *percent};
    if (!(step.seconds > 0)) complain(has_duration, "more than 0", "correct it");
    if (!(step.percent >= 0 && step.percent <= 100)) complain(has_voltage, "0 to 100 %", "give it in per cent");
    if (!curve_.steps.empty() && step.seconds <= curve_.steps.back().seconds) {
      complain(has_duration, "more than in the row before", "sort the rows by duration");
    }
    if (!curve_.steps.empty() && step.percent < curve_.steps.back().percent) {
      complain(has_voltage, "at least that of the row before",
               "give each row the lowest voltage that equipment rides through for that time");
    }
    curve_.steps.push_back(step);
  }

  /// Returns the number in a field, which may be infinite.
  [[nodiscard]] std::optional<double> number_in(std::string_view field) const {
    if (field.ends_with('%')) field.remove_suffix(1);
    std::string digits(field);
    if (header_->separator != ',') std::replace(digits.begin(), digits.end(), ',', '.');
    const auto number = readers::parse_number(digits);
    return number && !std::isnan(*number) ? number : std::nullopt;
  }

  readers::Lines lines_;
  const std::string& file_;
  std::optional<Header> header_;
  assess::Curve curve_;
};

}  // namespace

assess::Curve own_curve(std::string_view text, const std::string& file) {
  const std::string utf8 = readers::to_utf8(text, "").text;
  return Reading(utf8, file).curve();
}

void add_own_curve(std::vector<assess::Curve>& curves, std::string_view text, const std::string& file) {
  assess::Curve curve = own_curve(text, file);
  std::vector<assess::Curve> others = curves;
  for (assess::Curve& known : assess::known_curves(1)) others.push_back(std::move(known));
  for (const assess::Curve& other : others) {
    if (other.code != curve.code) continue;
    throw CurveError(
        fmt::format("{}: another curve is also named '{}'; begin the file with a line such as # name: Press line 3",
                    file, other.name));
  }
  curves.push_back(std::move(curve));
}

}  // namespace analysis
