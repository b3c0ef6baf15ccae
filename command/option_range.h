// What an option's figure must be, without a mark of it in the help: the option's own text says it.
#pragma once

#include <fmt/format.h>

#include <CLI/CLI.hpp>

#include "readers/text.h"

namespace command {

/// A number in a range. No NaN, which a comparison with the limits alone would let through.
inline CLI::Validator between(double lowest, double highest) {
  return {[=](const std::string& text) {
            const auto number = readers::parse_number(text);
            if (number && *number >= lowest && *number <= highest) return std::string();
            return fmt::format("'{}' is no number from {} to {}", text, lowest, highest);
          },
          ""};
}

/// A whole number that an unsigned holds.
inline CLI::Validator whole_number() {
  return {[](const std::string& text) {
            const auto count = readers::parse_count(text);
            constexpr auto most = std::numeric_limits<unsigned>::max();
            if (count && *count <= most) return std::string();
            return fmt::format("'{}' is no whole number from 0 to {}", text, most);
          },
          ""};
}

}  // namespace command
