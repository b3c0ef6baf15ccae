#include "command/manual/option_table.h"

#include <CLI/CLI.hpp>
#include <set>
#include <sstream>
#include <stdexcept>

#include "command/command_line.h"
#include "readers/text.h"

namespace command::manual {

namespace {

constexpr const char* exit_status_heading = "Exit status: ";

std::vector<std::string> names_of(const CLI::Option& option) {
  if (option.get_positional()) return {option.get_name(true)};
  std::vector<std::string> names;
  for (const auto& name : option.get_snames()) names.push_back("-" + name);
  for (const auto& name : option.get_lnames()) names.push_back("--" + name);
  return names;
}

/// Returns the names of the `chosen` options in the order of the help, because the order in a set of pointers varies.
std::vector<std::string> names_among(const std::set<CLI::Option*>& chosen, const CLI::App& app) {
  std::vector<std::string> names;
  for (const CLI::Option* option : app.get_options()) {
    if (chosen.count(const_cast<CLI::Option*>(option)) != 0) names.push_back(option->get_name());
  }
  return names;
}

std::vector<std::string> choices_in(const std::string& value) {
  std::vector<std::string> choices;
  if (value.find('|') == std::string::npos) return choices;
  std::istringstream words(value);
  for (std::string word; std::getline(words, word, '|');) choices.push_back(word);
  return choices;
}

OptionRow row_of(const CLI::Option& option, const CLI::App& app) {
  OptionRow row;
  row.names = names_of(option);
  row.positional = option.get_positional();
  row.value = row.positional                        ? option.get_name(true)
              : option.get_items_expected_max() > 0 ? option.get_type_name()
                                                    : "";
  row.description = option.get_description();
  row.group = option.get_group();
  row.required = option.get_required();
  row.takes_file = readers::is_one_of(row.value, {"FILE", "RECORD", "DB", "PATH", "FROM"});
  row.repeated = row.positional && option.get_items_expected_max() > 1;
  row.choices = choices_in(row.value);
  row.needs = names_among(option.get_needs(), app);
  row.excludes = names_among(option.get_excludes(), app);
  if (row.description.empty()) throw std::logic_error(row.names.at(0) + " has no description");
  return row;
}

void add_paragraph(std::string& text, const std::string& paragraph) {
  if (!text.empty()) text += "\n";
  text += paragraph;
}

/// Sorts the footer's paragraphs, each of which ends in one line feed here.
void read_footer(const std::string& footer, CommandTable& table) {
  std::istringstream lines(footer);
  std::string paragraph;
  const auto finish = [&] {
    if (paragraph.empty()) return;
    const std::string heading = exit_status_heading;
    if (paragraph.compare(0, heading.size(), heading) == 0) {
      table.exit_status = paragraph.substr(heading.size());
    } else {
      add_paragraph(paragraph.compare(0, 2, "  ") == 0 ? table.examples : table.notes, paragraph);
    }
    paragraph.clear();
  };
  for (std::string line; std::getline(lines, line);) {
    if (line.empty()) {
      finish();
    } else {
      paragraph += line + "\n";
    }
  }
  finish();
}

/// "dipx archive add" for a command within a command.
std::string whole_name(const CLI::App& app) {
  return app.get_parent() == nullptr ? app.get_name() : whole_name(*app.get_parent()) + " " + app.get_name();
}

CommandTable table_of(const CLI::App& app) {
  CommandTable table;
  table.name = whole_name(app);
  table.words = {app.get_name()};
  table.words.insert(table.words.end(), app.get_aliases().begin(), app.get_aliases().end());
  table.description = app.get_description();
  read_footer(app.get_footer(), table);
  for (const CLI::Option* option : app.get_options()) {
    if (!option->get_group().empty()) table.options.push_back(row_of(*option, app));
  }
  for (const CLI::App* command : app.get_subcommands(nullptr)) {
    if (!command->get_group().empty()) table.commands.push_back(table_of(*command));
  }
  return table;
}

}  // namespace

CommandTable command_table() {
  CLI::App app;
  Answers answers;
  add_command_line(app, answers);
  return table_of(app);
}

std::string joined(const std::vector<std::string>& words, const std::string& between) {
  std::string all;
  for (const auto& word : words) all += (all.empty() ? "" : between) + word;
  return all;
}

}  // namespace command::manual
