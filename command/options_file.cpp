#include "command/options_file.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <fstream>
#include <string_view>

#include "readers/text.h"

namespace command {

namespace {

constexpr std::string_view option = "--options";

/// "dip-threshold" and "85" of a line; both are empty for a line without an option.
struct Line {
  std::string name;
  std::string value;
};

std::string trimmed(const std::string& text) {
  constexpr const char* blank = " \t\r";
  const std::size_t first = text.find_first_not_of(blank);
  if (first == std::string::npos) return {};
  return text.substr(first, text.find_last_not_of(blank) - first + 1);
}

Line parsed(const std::string& text) {
  const std::string line = trimmed(text.substr(0, text.find('#')));
  const std::size_t end = line.find_first_of("= \t");
  Line result{line.substr(0, end), {}};
  if (end != std::string::npos) {
    const std::string rest = trimmed(line.substr(end));
    result.value = rest.starts_with('=') ? trimmed(rest.substr(1)) : rest;
  }
  if (result.name.starts_with("--")) result.name.erase(0, 2);
  return result;
}

bool is_given(const std::vector<std::string>& arguments, const std::string& name) {
  return std::any_of(arguments.begin(), arguments.end(), [&](const std::string& argument) {
    return argument == "--" + name || argument.starts_with("--" + name + "=");
  });
}

/// Whether the first word that is no option names the command, or another name of it.
bool is_for(const CLI::App& command, const std::vector<std::string>& arguments) {
  for (std::size_t i = 1; i < arguments.size(); i++) {
    if (!arguments[i].starts_with('-')) return command.check_name(arguments[i]);
  }
  return false;
}

/// The options of a file as arguments, without those that are given already.
std::vector<std::string> read_options(const std::string& file, const std::vector<std::string>& given,
                                      const CLI::App& command) {
  std::ifstream in(file);
  if (!in) {
    throw OptionsFileError(fmt::format("{}: cannot be opened; check the path and its read permission", file));
  }
  std::vector<std::string> arguments;
  std::size_t number = 0;
  for (std::string text; std::getline(in, text);) {
    number++;
    const Line line = parsed(text);
    if (line.name.empty()) continue;
    const CLI::Option* known = command.get_option_no_throw("--" + line.name);
    if (known == nullptr || line.name == option.substr(2) || line.name == "help") {
      throw OptionsFileError(fmt::format("{}: line {}: there is no option {}; dipx analyse --help lists them", file,
                                         number, readers::cited(line.name)));
    }
    if (is_given(given, line.name)) continue;
    const bool takes_value = known->get_expected_min() > 0;
    if (takes_value == line.value.empty()) {
      throw OptionsFileError(fmt::format("{}: line {}: {} {}", file, number, line.name,
                                         takes_value ? "needs a value" : "takes no value; remove it"));
    }
    arguments.push_back(takes_value ? fmt::format("--{}={}", line.name, line.value) : "--" + line.name);
  }
  return arguments;
}

}  // namespace

std::vector<std::string> with_options_file(std::vector<std::string> arguments, const CLI::App& command) {
  if (!is_for(command, arguments)) return arguments;
  for (std::size_t i = 1; i < arguments.size(); i++) {
    const std::string argument = arguments[i];
    const bool joined = argument.starts_with(std::string(option) + "=");
    if (argument != option && !joined) continue;
    if (!joined && i + 1 == arguments.size()) return arguments;  // the parser says that the value is missing
    const std::string file = joined ? argument.substr(option.size() + 1) : arguments[i + 1];
    const auto begin = arguments.begin() + static_cast<std::ptrdiff_t>(i);
    arguments.erase(begin, begin + (joined ? 1 : 2));
    const auto options = read_options(file, arguments, command);
    arguments.insert(arguments.begin() + static_cast<std::ptrdiff_t>(i), options.begin(), options.end());
    i += options.size();
    i--;
  }
  return arguments;
}

}  // namespace command
