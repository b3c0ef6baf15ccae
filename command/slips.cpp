#include "command/slips.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <optional>

#include "outputs/near_words.h"
#include "platform/utf8_path.h"

namespace command {

namespace {

bool is_file(const std::string& word) {
  std::error_code ignored;
  return std::filesystem::exists(platform::utf8_path(word), ignored);
}

bool is_command(const std::string& word, const CLI::App& app) {
  const auto commands = app.get_subcommands([&](const CLI::App* command) { return command->check_name(word); });
  return !commands.empty();
}

bool is_number(const std::string& word) {
  return !word.empty() && word.find_first_not_of("0123456789.") == std::string::npos;
}

/// A word such as "--json=x.json" as name and value; the name is empty for a word that is not an option.
struct Word {
  explicit Word(const std::string& text) : name(text.substr(0, text.find('='))) {
    if (name.size() < text.size()) value = text.substr(name.size() + 1);
    const bool is_option = name.starts_with("--") ? name.size() > 2 : name.size() == 2 && name[0] == '-';
    if (!is_option || is_number(name.substr(1))) name.clear();
  }
  std::string name;
  std::optional<std::string> value;
};

std::vector<std::string> names_of_options(const CLI::App& command) {
  std::vector<std::string> names;
  for (const CLI::Option* option : command.get_options()) {
    for (const std::string& name : option->get_lnames()) names.push_back(name);
  }
  return names;
}

/// Looks for slips in the arguments of one command.
class Slips {
 public:
  Slips(const std::vector<std::string>& arguments, const CLI::App& command) : command_(command) {
    const auto begin = std::find_if(arguments.begin() + 1, arguments.end(),
                                    [&](const std::string& word) { return command.check_name(word); });
    if (begin != arguments.end()) words_.assign(begin + 1, arguments.end());
  }

  std::string first() const {
    for (std::size_t i = 0; i < words_.size(); i++) {
      const Word word(words_[i]);
      if (word.name.empty()) continue;
      const CLI::Option* option = command_.get_option_no_throw(word.name);
      if (option == nullptr) return unknown(word.name);
      const bool takes_value = option->get_expected_max() > 0;
      if (word.value && !takes_value) return superfluous(word);
      if (takes_value && !word.value && i + 1 < words_.size()) {
        if (lacks_record() && is_file(words_[i + 1])) return swallowed(*option, word.name, words_[i + 1]);
        i++;
      }
    }
    return "";
  }

 private:
  [[nodiscard]] std::string unknown(const std::string& name) const {
    const std::string known = fmt::format("dipx {} --help lists all options", command_.get_name());
    std::vector<std::string> near =
        outputs::near_words(name.substr(std::min<std::size_t>(2, name.size())), names_of_options(command_));
    for (std::string& word : near) word.insert(0, "--");
    return fmt::format("{} is not an option of dipx {}; {}{}", name, command_.get_name(),
                       near.empty() ? "" : "did you mean " + outputs::alternatives(near) + "? ", known);
  }

  [[nodiscard]] static std::string superfluous(const Word& word) {
    constexpr std::array<const char*, 3> printing = {"--json", "--json-lines", "--csv"};
    const bool prints = std::find(printing.begin(), printing.end(), word.name) != printing.end();
    return fmt::format("{} is a switch and takes no value; {}", word.name,
                       prints ? fmt::format("send what it prints to a file: {} >{}", word.name, *word.value)
                              : fmt::format("write {} alone", word.name));
  }

  [[nodiscard]] std::string swallowed(const CLI::Option& option, const std::string& name,
                                      const std::string& file) const {
    return fmt::format("{} took {} as its own value, and no record is left; write dipx {} {} {} {}", name, file,
                       command_.get_name(), file, name, option.get_type_name());
  }

  [[nodiscard]] bool lacks_record() const {
    const auto options = command_.get_options();
    return std::any_of(options.begin(), options.end(), [](const CLI::Option* option) {
      return option->get_positional() && option->get_required() && option->count() == 0;
    });
  }

  const CLI::App& command_;
  std::vector<std::string> words_;
};

/// Complains about the first word, which should have named a command.
std::string no_command(const std::string& word, const CLI::App& app) {
  std::vector<std::string> names;
  for (const CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; })) {
    names.push_back(command->get_name());
  }
  const auto near = outputs::near_words(word, names);
  if (!near.empty()) {
    return fmt::format("'{}' is not a command of dipx; did you mean {}? dipx --help lists all", word,
                       outputs::alternatives(near));
  }
  return fmt::format("'{}' is neither a command of dipx nor a file; dipx --help lists the commands", word);
}

}  // namespace

std::vector<std::string> with_meant_words(std::vector<std::string> arguments, const CLI::App& app) {
  if (arguments.size() < 2) return arguments;
  const std::string& first = arguments[1];
  if (first == "help") {
    arguments.erase(arguments.begin() + 1);
    arguments.push_back("--help");
  } else if (first == "-" || (!first.starts_with('-') && !is_command(first, app) && is_file(first))) {
    arguments.insert(arguments.begin() + 1, "analyse");
  }
  for (std::size_t i = 1; i + 2 < arguments.size(); i++) {
    const std::string& unit = arguments[i + 2];
    const bool is_unit = unit == "V" || unit == "kV" || unit == "KV" || unit == "MV";
    if (arguments[i] != "--nominal" || !is_number(arguments[i + 1]) || !is_unit || is_file(unit)) continue;
    arguments[i + 1] += unit;
    arguments.erase(arguments.begin() + static_cast<std::ptrdiff_t>(i) + 2);
  }
  return arguments;
}

std::string slip_in(const std::vector<std::string>& arguments, const CLI::App& app) {
  const auto commands = app.get_subcommands();
  if (!commands.empty()) return Slips(arguments, *commands.front()).first();
  if (arguments.size() < 2) return "a command is missing, as in dipx analyse RECORD; dipx --help lists the commands";
  if (arguments[1].starts_with('-')) {
    return fmt::format("{} is not an option of dipx; begin with a command, as in dipx analyse RECORD", arguments[1]);
  }
  return no_command(arguments[1], app);
}

}  // namespace command
