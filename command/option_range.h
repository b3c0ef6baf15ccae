// Checks of an option's number that add nothing to the help, because the option's own text states the range.
#pragma once

#include <fmt/format.h>

#include <CLI/CLI.hpp>

#include "readers/text.h"

namespace command {

/// Accepts a number in a range. NaN is refused explicitly, because it would pass comparisons with the limits.
inline CLI::Validator between(double lowest, double highest) {
  return {[=](const std::string& text) {
            const auto number = readers::parse_number(text);
            if (number && *number >= lowest && *number <= highest) return std::string();
            return fmt::format("'{}' is not a number from {} to {}", text, lowest, highest);
          },
          ""};
}

/// A whole number from 1 on, as things are counted.
inline CLI::Validator counting_number() {
  return {[](const std::string& text) {
            const auto count = readers::parse_count(text);
            constexpr std::size_t most = 1000000000;
            if (count && *count >= 1 && *count <= most) return std::string();
            return fmt::format("{} is not a whole number from 1 to {}", readers::cited(text), most);
          },
          ""};
}

/// A whole number that an unsigned holds.
inline CLI::Validator whole_number() {
  return {[](const std::string& text) {
            const auto count = readers::parse_count(text);
            constexpr auto most = std::numeric_limits<unsigned>::max();
            if (count && *count <= most) return std::string();
            return fmt::format("'{}' is not a whole number from 0 to {}", text, most);
          },
          ""};
}

}  // namespace command
