// Reads the members of the objects of a certificate.
#pragma once

#include <cmath>
#include <cstddef>
#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

namespace outputs {

/// A member of a certificate is missing or has a value that no certificate can have. The message names the place, the
/// error and a remedy.
class BadCertificate : public std::runtime_error {
 public:
  BadCertificate(const std::string& place, const std::string& cause)
      : std::runtime_error(place + ": " + cause + "; use a certificate as dipx analyse --certificate wrote it") {}
};

/// Reads the members of an object in a certificate. Members throw BadCertificate with their place if they are missing
/// or not of the type that is asked for.
class Members {
 public:
  /// `place` names the object for messages; it is empty for the whole document.
  Members(const nlohmann::ordered_json& object, std::string place) : object_(object), place_(std::move(place)) {
    if (!object.is_object()) throw BadCertificate(place_, "is not an object");
  }

  /// Returns the place of a member, such as "record.files".
  [[nodiscard]] std::string place_of(const char* name) const { return place_.empty() ? name : place_ + "." + name; }

  /// Returns a member of any type.
  [[nodiscard]] const nlohmann::ordered_json& member(const char* name) const {
    const auto found = object_.find(name);
    if (found == object_.end()) throw BadCertificate(place_of(name), "is missing");
    return *found;
  }
  /// Returns a number of a range.
  [[nodiscard]] double number(const char* name, double lowest, double highest) const {
    const nlohmann::ordered_json& value = member(name);
    if (!value.is_number()) throw BadCertificate(place_of(name), "is not a number");
    const auto number = value.get<double>();
    if (!(number >= lowest && number <= highest)) throw BadCertificate(place_of(name), "is not a possible number");
    return number;
  }
  [[nodiscard]] std::optional<double> number_or_null(const char* name, double lowest, double highest) const {
    const nlohmann::ordered_json& value = member(name);
    if (value.is_null()) return std::nullopt;
    if (!value.is_number()) throw BadCertificate(place_of(name), "is neither a number nor null");
    return number(name, lowest, highest);
  }
  [[nodiscard]] std::size_t count(const char* name) const {
    constexpr double highest = 1e9;
    const double value = number(name, 0, highest);
    if (value != std::floor(value)) throw BadCertificate(place_of(name), "is not a whole number");
    return static_cast<std::size_t>(value);
  }
  [[nodiscard]] std::string text(const char* name) const {
    const nlohmann::ordered_json& value = member(name);
    if (!value.is_string()) throw BadCertificate(place_of(name), "is not a text");
    return value.get<std::string>();
  }
  [[nodiscard]] bool flag(const char* name) const {
    const nlohmann::ordered_json& value = member(name);
    if (!value.is_boolean()) throw BadCertificate(place_of(name), "is neither true nor false");
    return value.get<bool>();
  }
  [[nodiscard]] Members object(const char* name) const { return {member(name), place_of(name)}; }
  [[nodiscard]] const nlohmann::ordered_json& list(const char* name) const {
    const nlohmann::ordered_json& value = member(name);
    if (!value.is_array()) throw BadCertificate(place_of(name), "is not a list");
    return value;
  }

 private:
  const nlohmann::ordered_json& object_;
  std::string place_;
};

}  // namespace outputs
