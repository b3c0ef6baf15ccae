// Explains the command's codes: categories of dips and terms of the field.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace outputs {

/// Explains a code and how it is determined; empty for an unknown code. Lines end in "\n".
std::optional<std::string> explanation_of(const std::string& code);

/// Returns up to three codes that a mistyped one may mean, the nearest first; empty for less than three letters.
std::vector<std::string> near_codes(const std::string& code);

/// Lists all codes, one per line with its meaning.
std::string list_of_codes();

}  // namespace outputs
