#include "readers/named_origin.h"

#include <fmt/format.h>

#include <algorithm>
#include <optional>
#include <string_view>
#include <vector>

#include "readers/text.h"

namespace readers {
namespace {

/// Returns the number that two digits of a text denote, or 100 if they are not digits.
unsigned two_digits(std::string_view text, std::size_t at) {
  const auto digit = [&](std::size_t i) { return static_cast<unsigned char>(text[i] - '0'); };
  return digit(at) < 10 && digit(at + 1) < 10 ? 10U * digit(at) + digit(at + 1) : 100;
}

bool all_digits(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

/// Returns YYMMDD or YYYYMMDD as YYYY-MM-DD.
std::optional<std::string> date_of(std::string_view text) {
  if ((text.size() != 6 && text.size() != 8) || !all_digits(text)) return std::nullopt;
  const std::string_view day_and_month = text.substr(text.size() - 4);
  const unsigned month = two_digits(day_and_month, 0);
  const unsigned day = two_digits(day_and_month, 2);
  if (month < 1 || month > 12 || day < 1 || day > 31) return std::nullopt;
  constexpr unsigned first_of_last_century = 70;
  const std::string century = text.size() == 8 ? "" : two_digits(text, 0) < first_of_last_century ? "20" : "19";
  const std::string_view year = text.substr(0, text.size() - 4);
  return fmt::format("{}{}-{:02}-{:02}", century, year, month, day);
}

/// Returns HHMMSS and its decimals as HH:MM:SS.ffffff.
std::optional<std::string> time_of(std::string_view text) {
  constexpr std::size_t most_digits = 12;
  if (text.size() < 6 || text.size() > most_digits || !all_digits(text)) return std::nullopt;
  if (two_digits(text, 0) > 23 || two_digits(text, 2) > 59 || two_digits(text, 4) > 60) return std::nullopt;
  std::string time = fmt::format("{}:{}:{}", text.substr(0, 2), text.substr(2, 2), text.substr(4, 2));
  if (text.size() > 6) time += "." + std::string(text.substr(6));
  return time;
}

/// Returns whether text is a time code such as "0", "-5t", "+5h30" or "0z".
bool is_time_code(std::string_view text) {
  return !text.empty() && text.size() <= 8 && text.find_first_of("0123456789") != text.npos &&
         lower_case(text).find_first_not_of("+-0123456789hstz") == std::string::npos;
}

/// Returns the offset from UTC in a time code, without the letter that says whether it is summer time.
std::string zone_of(std::string_view code) {
  std::string zone(code);
  while (!zone.empty() && (zone.back() < '0' || zone.back() > '9')) zone.pop_back();
  return zone;
}

}  // namespace

void take_named_origin(Record& record, const std::string& file_name) {
  constexpr std::size_t fewest_fields = 5;
  const std::size_t folder = file_name.find_last_of("/\\:");
  std::string_view stem = file_name;
  if (folder != file_name.npos) stem.remove_prefix(folder + 1);
  stem = stem.substr(0, stem.rfind('.'));
  const std::vector<std::string_view> fields = split_fields(stem, ',');
  if (fields.size() < fewest_fields) return;
  const auto date = date_of(fields[0]);
  const auto time = time_of(fields[1]);
  if (!date || !time || !is_time_code(fields[2])) return;
  std::string taken;
  const auto fill = [&](std::string& field, const std::string& value, const char* what) {
    if (!field.empty() || value.empty()) return;
    field = value;
    taken += (taken.empty() ? "" : ", ") + std::string(what);
  };
  fill(record.station, inert(fields[3]), "station");
  fill(record.device, inert(fields[4]), "device");
  if (record.start_time.empty()) {
    fill(record.start_time, *date + " " + *time, "start");
    fill(record.time_zone, zone_of(fields[2]), "time zone");
  }
  if (!taken.empty()) record.notes.push_back(fmt::format("The name of the file gives {} of the record.", taken));
}

}  // namespace readers
