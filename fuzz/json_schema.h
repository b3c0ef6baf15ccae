// Compares documents with a JSON schema.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace fuzz {

/// A schema with the keywords that docs/analysis-json.schema.json uses. Members that it does not name are errors.
class JsonSchema {
 public:
  /// Throws std::runtime_error for a keyword that is not supported.
  explicit JsonSchema(nlohmann::json schema);

  /// Returns the place and the cause of the first error; empty if the document fits.
  [[nodiscard]] std::string error_in(const nlohmann::json& document) const;

 private:
  nlohmann::json schema_;
};

}  // namespace fuzz
