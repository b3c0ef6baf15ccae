#include "web/request.h"

#include <fmt/format.h>

#include "readers/text.h"

namespace web {

Request::Request(std::string_view bytes) {
  while (!bytes.empty()) {
    const std::size_t end = bytes.find('\n');
    const std::size_t blank = bytes.substr(0, end).find(' ');
    if (end == bytes.npos || blank == bytes.npos) throw std::runtime_error("The request of the page is damaged.");
    const auto length = readers::parse_count(bytes.substr(blank + 1, end - blank - 1));
    const std::string_view name = bytes.substr(0, blank);
    bytes.remove_prefix(end + 1);
    if (!length || *length > bytes.size()) throw std::runtime_error("The request of the page is damaged.");
    values_.emplace_back(name, bytes.substr(0, *length));
    bytes.remove_prefix(*length);
  }
}

std::string Request::text(std::string_view name) const {
  for (const auto& [other, value] : values_) {
    if (other == name) return std::string(value);
  }
  return {};
}

std::vector<std::string_view> Request::texts(std::string_view name) const {
  std::vector<std::string_view> found;
  for (const auto& [other, value] : values_) {
    if (other == name) found.push_back(value);
  }
  return found;
}

std::optional<double> Request::number(std::string_view name) const {
  if (!has(name)) return std::nullopt;
  const auto value = readers::parse_number(text(name));
  if (!value) throw UnusableRequest(fmt::format("{}: '{}' is not a number; use digits", name, text(name)));
  return value;
}

std::size_t Request::count_or_all(std::string_view name) const {
  const std::string value = text(name);
  if (value.empty() || value == "all") return 0;
  const auto count = readers::parse_count(value);
  if (count && *count > 0) return *count;
  throw UnusableRequest(
      fmt::format("{}: '{}' is neither a whole number from 1 on nor 'all'; use one of them", name, value));
}

}  // namespace web
