// Text within XML and HTML.
#pragma once

#include <string>

namespace outputs {

/// A file's text as text only: inert, and with no character that markup would read.
std::string markup_text(const std::string& text);

}  // namespace outputs
