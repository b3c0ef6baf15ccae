// Colours of text on a terminal.
#pragma once

#include <string>

namespace outputs {

/// Sets text in colours, or leaves it as it is.
class Colours {
 public:
  explicit Colours(bool on) : on_(on) {}

  [[nodiscard]] std::string heading(const std::string& text) const { return in("1", text); }
  [[nodiscard]] std::string low(const std::string& text) const { return in("31", text); }
  [[nodiscard]] std::string note(const std::string& text) const { return in("33", text); }
  [[nodiscard]] std::string faint(const std::string& text) const { return in("2", text); }

 private:
  [[nodiscard]] std::string in(const char* code, const std::string& text) const {
    return on_ ? std::string("\033[") + code + 'm' + text + "\033[0m" : text;
  }
  bool on_;
};

}  // namespace outputs
