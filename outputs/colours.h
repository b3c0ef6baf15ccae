// Colours and width of text on a terminal.
#pragma once

#include <cstddef>
#include <string>

namespace outputs {

/// Sets text in colours, or returns it unchanged, and knows how wide lines may be.
class Colours {
 public:
  static constexpr std::size_t usual_width = 80;

  explicit Colours(bool on, std::size_t width = usual_width) : on_(on), width_(width) {}

  /// The number of columns at which sentences are broken.
  [[nodiscard]] std::size_t width() const { return width_; }

  [[nodiscard]] std::string heading(const std::string& text) const { return in("1", text); }
  [[nodiscard]] std::string low(const std::string& text) const { return in("31", text); }
  [[nodiscard]] std::string note(const std::string& text) const { return in("33", text); }
  [[nodiscard]] std::string faint(const std::string& text) const { return in("2", text); }

 private:
  [[nodiscard]] std::string in(const char* code, const std::string& text) const {
    return on_ ? std::string("\033[") + code + 'm' + text + "\033[0m" : text;
  }
  bool on_;
  std::size_t width_;
};

}  // namespace outputs
