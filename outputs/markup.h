// Text within XML and HTML.
#pragma once

#include <string>

namespace outputs {

/// Returns a text from a file in a form that no markup can interpret, without control characters.
std::string markup_text(const std::string& text);

}  // namespace outputs
