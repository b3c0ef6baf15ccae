#include "fuzz/json_schema.h"

#include <map>
#include <regex>
#include <set>
#include <stdexcept>
#include <utility>

namespace fuzz {
namespace {

using nlohmann::json;

void check_keywords(const json& schema) {
  static const std::set<std::string> known = {
      "$defs",    "$ref",  "$schema", "const",   "enum",       "exclusiveMinimum", "items", "maxItems", "maximum",
      "minItems", "oneOf", "minimum", "pattern", "properties", "required",         "title", "type"};
  for (const auto& [keyword, value] : schema.items()) {
    if (known.count(keyword) == 0) throw std::runtime_error("the schema has the unsupported keyword " + keyword);
    if (keyword == "properties" || keyword == "$defs") {
      for (const auto& part : value) check_keywords(part);
    } else if (keyword == "items") {
      check_keywords(value);
    } else if (keyword == "oneOf") {
      for (const auto& part : value) check_keywords(part);
    }
  }
}

bool is_of_type(const json& value, const std::string& type) {
  if (type == "object") return value.is_object();
  if (type == "array") return value.is_array();
  if (type == "string") return value.is_string();
  if (type == "number") return value.is_number();
  if (type == "integer") return value.is_number_integer();
  if (type == "boolean") return value.is_boolean();
  return type == "null" && value.is_null();
}

bool has_type(const json& value, const json& types) {
  if (types.is_string()) return is_of_type(value, types);
  for (const auto& type : types) {
    if (is_of_type(value, type)) return true;
  }
  return false;
}

bool contains(const json& list, const json& value) {
  for (const auto& entry : list) {
    if (entry == value) return true;
  }
  return false;
}

bool matches(const std::string& text, const std::string& pattern) {
  static std::map<std::string, std::regex> known;
  auto place = known.find(pattern);
  if (place == known.end()) place = known.emplace(pattern, std::regex(pattern)).first;
  return std::regex_search(text, place->second);
}

/// Compares one value with one schema.
class Comparison {
 public:
  explicit Comparison(const json& root) : root_(root) {}

  std::string error(const json& value, const json& schema) const {
    if (schema.contains("$ref")) {
      const std::string name = schema["$ref"].get<std::string>().substr(std::string("#/$defs/").size());
      return error(value, root_["$defs"][name]);
    }
    if (std::string text = error_of_value(value, schema); !text.empty()) return text;
    if (value.is_object()) {
      if (std::string text = error_of_object(value, schema); !text.empty()) return text;
    }
    if (value.is_array()) {
      if (std::string text = error_of_array(value, schema); !text.empty()) return text;
    }
    return error_of_choice(value, schema);
  }

 private:
  static std::string error_of_value(const json& value, const json& schema) {
    if (schema.contains("type") && !has_type(value, schema["type"])) return ": not of type " + schema["type"].dump();
    if (schema.contains("const") && value != schema["const"]) return ": not " + schema["const"].dump();
    if (schema.contains("enum") && !contains(schema["enum"], value)) return ": not one of " + schema["enum"].dump();
    if (value.is_number()) {
      const auto number = value.get<double>();
      const bool low = schema.contains("minimum") && number < schema["minimum"].get<double>();
      const bool high = schema.contains("maximum") && number > schema["maximum"].get<double>();
      const bool at = schema.contains("exclusiveMinimum") && number <= schema["exclusiveMinimum"].get<double>();
      if (low || high || at) return ": out of range: " + value.dump();
    }
    if (value.is_string() && schema.contains("pattern") && !matches(value, schema["pattern"])) {
      return ": does not match " + schema["pattern"].dump() + ": " + value.dump();
    }
    return {};
  }

  std::string error_of_object(const json& value, const json& schema) const {
    if (schema.contains("required")) {
      for (const auto& name : schema["required"]) {
        if (!value.contains(name.get<std::string>())) return ": lacks " + name.dump();
      }
    }
    if (!schema.contains("properties")) return {};
    const json& properties = schema["properties"];
    for (const auto& [name, member] : value.items()) {
      if (!properties.contains(name)) return ": the schema does not name " + name;
      if (std::string text = error(member, properties[name]); !text.empty()) return "/" + name + text;
    }
    return {};
  }

  std::string error_of_array(const json& value, const json& schema) const {
    const bool few = schema.contains("minItems") && value.size() < schema["minItems"].get<std::size_t>();
    const bool many = schema.contains("maxItems") && value.size() > schema["maxItems"].get<std::size_t>();
    if (few || many) return ": wrong number of items";
    if (!schema.contains("items")) return {};
    for (std::size_t i = 0; i < value.size(); i++) {
      if (std::string text = error(value[i], schema["items"]); !text.empty()) return "/" + std::to_string(i) + text;
    }
    return {};
  }

  std::string error_of_choice(const json& value, const json& schema) const {
    if (!schema.contains("oneOf")) return {};
    std::size_t fitting = 0;
    std::string errors;
    for (const auto& part : schema["oneOf"]) {
      const std::string text = error(value, part);
      if (text.empty()) fitting++;
      if (!text.empty()) errors += " [" + text + "]";
    }
    return fitting == 1 ? "" : ": fits " + std::to_string(fitting) + " of the permitted forms:" + errors;
  }

  const json& root_;
};

}  // namespace

JsonSchema::JsonSchema(json schema) : schema_(std::move(schema)) {
  check_keywords(schema_);
}

std::string JsonSchema::error_in(const json& document) const {
  return Comparison(schema_).error(document, schema_);
}

}  // namespace fuzz
