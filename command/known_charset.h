// A check that an option names a character set.
#pragma once

#include <CLI/CLI.hpp>
#include <stdexcept>
#include <string>

#include "readers/charset.h"

namespace command {

inline CLI::Validator known_charset() {
  const auto complaint = [](const std::string& name) -> std::string {
    try {
      readers::to_utf8("", name);
      return {};
    } catch (const std::invalid_argument& error) {
      return error.what();
    }
  };
  return CLI::Validator(complaint, "", "charset");
}

}  // namespace command
