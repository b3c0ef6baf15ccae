// What the command's codes mean: categories of dips, and the field's terms.
#pragma once

#include <optional>
#include <string>

namespace outputs {

/// What a code means and how it is decided; nothing for an unknown one. Lines end in "\n".
std::optional<std::string> explanation_of(const std::string& code);

/// All codes, one per line with its meaning.
std::string list_of_codes();

}  // namespace outputs
