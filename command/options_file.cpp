#include "command/options_file.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <string>
#include <string_view>

#include "command/short_file.h"
#include "readers/text.h"

namespace command {

namespace {

constexpr std::string_view option = "--options";

/// Splits a line into "dip-threshold" and "85"; both are empty for a line without an option.
struct Line {
  std::string name;
  std::string value;
};

Line parsed(std::string_view text) {
  const std::string_view line = readers::trimmed(text.substr(0, text.find('#')));
  const std::size_t end = line.find_first_of("= \t");
  Line result{std::string(line.substr(0, end)), {}};
  if (end != std::string_view::npos) {
    const std::string_view rest = readers::trimmed(line.substr(end));
    result.value = rest.starts_with('=') ? readers::trimmed(rest.substr(1)) : rest;
  }
  if (result.name.starts_with("--")) result.name.erase(0, 2);
  return result;
}

bool is_given(const std::vector<std::string>& arguments, const std::string& name) {
  return std::any_of(arguments.begin(), arguments.end(), [&](const std::string& argument) {
    return argument == "--" + name || argument.starts_with("--" + name + "=");
  });
}

/// Returns the commands that lead to a command, which is the last of them.
std::vector<const CLI::App*> way_to(const CLI::App& command) {
  std::vector<const CLI::App*> way;
  for (const CLI::App* app = &command; app->get_parent() != nullptr; app = app->get_parent())
    way.insert(way.begin(), app);
  return way;
}

/// Returns whether the first words that are not options are the names or aliases of the command and of those that lead
/// to it.
bool is_for(const CLI::App& command, const std::vector<std::string>& arguments) {
  const auto way = way_to(command);
  std::size_t found = 0;
  for (std::size_t i = 1; i < arguments.size() && found < way.size(); i++) {
    if (arguments[i].starts_with('-')) continue;
    if (!way[found]->check_name(arguments[i])) return false;
    found++;
  }
  return found == way.size();
}

/// "dipx archive add"
std::string name_of(const CLI::App& command) {
  std::string name = "dipx";
  for (const CLI::App* app : way_to(command)) name += " " + app->get_name();
  return name;
}

std::string content_of(const std::string& file) {
  try {
    return content_of_short_file(file, "one option in a line");
  } catch (const ShortFileError& error) {
    throw OptionsFileError(error.what());
  }
}

/// The options of a file as arguments, without those that are given already.
std::vector<std::string> read_options(const std::string& file, const std::vector<std::string>& given,
                                      const CLI::App& command) {
  const std::string content = content_of(file);
  readers::Lines lines(content);
  std::vector<std::string> arguments;
  while (const auto text = lines.next()) {
    const std::size_t number = lines.number();
    const Line line = parsed(*text);
    if (line.name.empty()) continue;
    const CLI::Option* known = command.get_option_no_throw("--" + line.name);
    if (known == nullptr || line.name == option.substr(2) || line.name == "help") {
      throw OptionsFileError(fmt::format("{}: line {}: there is no option {}; {} --help lists them", file, number,
                                         readers::cited(line.name), name_of(command)));
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

void add_options_file(CLI::App& command) {
  command
      .add_option(std::string(option),
                  "Read options from FILE, one per line; options on the command line take precedence")
      ->type_name("FILE")
      ->group("Events");
}

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
