// What the page asks of the analysis.
#pragma once

#include <cstddef>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace web {

/// The request cannot be used. The message says why, and what the user can do.
class UnusableRequest : public std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// Values with names, such as those of the page's controls. A name may have several values.
///
/// The bytes are those that module.js writes: for each value its name, a blank, the number of its bytes in digits, a
/// line feed, and its bytes. So a value may hold whatever a file does.
class Request {
 public:
  /// Refers to `bytes`. Throws std::runtime_error if they have another form.
  explicit Request(std::string_view bytes);

  /// Returns the first value, and an empty text if there is none.
  [[nodiscard]] std::string text(std::string_view name) const;
  [[nodiscard]] std::vector<std::string_view> texts(std::string_view name) const;
  [[nodiscard]] bool has(std::string_view name) const { return !texts(name).empty(); }

  /// Returns a number, or nothing if there is none. Throws UnusableRequest if the value is not one.
  [[nodiscard]] std::optional<double> number(std::string_view name) const;

  /// Returns a whole number, and 0 for "all" or if there is none. Throws UnusableRequest if the value is neither.
  [[nodiscard]] std::size_t count_or_all(std::string_view name) const;

 private:
  std::vector<std::pair<std::string_view, std::string_view>> values_;
};

}  // namespace web
