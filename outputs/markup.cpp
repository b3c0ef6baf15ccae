#include "outputs/markup.h"

#include "readers/text.h"

namespace outputs {

std::string markup_text(const std::string& text) {
  std::string safe;
  for (const char c : readers::inert(text)) {
    switch (c) {
      case '&':
        safe += "&amp;";
        break;
      case '<':
        safe += "&lt;";
        break;
      case '>':
        safe += "&gt;";
        break;
      default:
        safe += c;
    }
  }
  return safe;
}

}  // namespace outputs
