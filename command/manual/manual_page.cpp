#include "command/manual/manual_page.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <sstream>

namespace command::manual {

namespace {

/// Escapes text so that no character is an instruction and hyphens can be copied into a shell.
std::string inert(const std::string& text) {
  std::string roff;
  for (const char character : text) {
    if (character == '\\') {
      roff += "\\e";
    } else if (character == '-') {
      roff += "\\-";
    } else {
      roff += character;
    }
  }
  return roff;
}

/// Writes whole lines so that none of them is mistaken for a request.
std::string lines(const std::string& text) {
  std::istringstream in(text);
  std::string roff;
  for (std::string line; std::getline(in, line);) {
    if (line[0] == '.' || line[0] == '\'') roff += "\\&";
    roff += inert(line) + "\n";
  }
  return roff;
}

/// Writes paragraphs that are filled again.
std::string paragraphs(const std::string& text) {
  std::istringstream in(text);
  std::string roff;
  for (std::string line; std::getline(in, line);) roff += line.empty() ? ".PP\n" : lines(line);
  return roff;
}

std::string bold(const std::string& text) {
  return "\\fB" + inert(text) + "\\fR";
}
std::string italic(const std::string& text) {
  return "\\fI" + inert(text) + "\\fR";
}

std::string upper(std::string text) {
  for (char& character : text) character = static_cast<char>(std::toupper(static_cast<unsigned char>(character)));
  return text;
}

std::string value_of(const OptionRow& row) {
  if (row.choices.empty()) return italic(row.value);
  std::vector<std::string> choices;
  for (const auto& choice : row.choices) choices.push_back(bold(choice));
  return joined(choices, "|");
}

std::string entry_of(const OptionRow& row) {
  std::vector<std::string> names;
  for (const auto& name : row.names) names.push_back(row.positional ? italic(name) : bold(name));
  std::string entry = ".TP\n" + joined(names, ", ");
  if (!row.positional && !row.value.empty()) entry += " " + value_of(row);
  entry += "\n" + lines(row.description + ".");
  if (!row.needs.empty()) entry += "Only with " + bold(joined(row.needs, ", ")) + ".\n";
  if (!row.excludes.empty()) entry += "Not with " + bold(joined(row.excludes, ", ")) + ".\n";
  return entry;
}

std::string synopsis_of(const CommandTable& table) {
  std::string synopsis = bold(table.name);
  if (!table.commands.empty()) return synopsis + " " + italic("COMMAND") + " [" + italic("ARGUMENT") + "...]\n";
  synopsis += " [" + italic("OPTION") + "...]";
  for (const auto& row : table.options) {
    if (!row.positional) continue;
    const std::string value = italic(row.value) + (row.repeated ? "..." : "");
    synopsis += row.required ? " " + value : " [" + value + "]";
  }
  return synopsis + "\n";
}

std::string options_of(const CommandTable& table) {
  std::vector<std::string> groups;
  for (const auto& row : table.options) {
    if (!row.positional && std::find(groups.begin(), groups.end(), row.group) == groups.end()) {
      groups.push_back(row.group);
    }
  }
  std::string roff = ".SH OPTIONS\n";
  for (const auto& row : table.options) {
    if (row.positional) roff += entry_of(row);
  }
  for (const auto& group : groups) {
    if (groups.size() > 1) roff += ".SS " + inert(group) + "\n";
    for (const auto& row : table.options) {
      if (!row.positional && row.group == group) roff += entry_of(row);
    }
  }
  return roff;
}

std::string commands_of(const CommandTable& table) {
  std::string roff = ".SH COMMANDS\n";
  for (const auto& command : table.commands) {
    roff += ".TP\n" + bold(joined(command.words, ", ")) + "\n" + lines(command.description + ".") + "See " +
            bold(page_name(command)) + "(1).\n";
  }
  return roff;
}

std::string see_also(const CommandTable& table, const CommandTable& all) {
  std::vector<std::string> pages;
  if (table.name != all.name) pages.push_back(bold(page_name(all)) + "(1)");
  for (const auto& command : all.commands) {
    if (command.name != table.name) pages.push_back(bold(page_name(command)) + "(1)");
  }
  return ".SH SEE ALSO\n" + joined(pages, ",\n") + "\n";
}

}  // namespace

std::string page_name(const CommandTable& table) {
  std::string name = table.name;
  std::replace(name.begin(), name.end(), ' ', '-');
  return name;
}

std::string manual_page(const CommandTable& table, const CommandTable& all, const std::string& date) {
  const std::string name = page_name(table);
  std::string roff = fmt::format(".TH {} 1 {} \"dipx {}\" \"dipx manual\"\n", inert(upper(name)), date, DIPX_VERSION);
  std::string whatis = table.description;
  whatis[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(whatis[0])));
  roff += ".SH NAME\n" + inert(name) + " \\- " + inert(whatis) + "\n.SH SYNOPSIS\n" + synopsis_of(table);
  roff += ".SH DESCRIPTION\n" + lines(table.description + ".");
  if (!table.notes.empty()) roff += ".PP\n" + paragraphs(table.notes);
  if (!table.commands.empty()) roff += commands_of(table);
  roff += options_of(table);
  if (!table.exit_status.empty()) roff += ".SH EXIT STATUS\n" + paragraphs(table.exit_status);
  if (!table.examples.empty()) roff += ".SH EXAMPLES\n.nf\n" + lines(table.examples) + ".fi\n";
  return roff + see_also(table, all);
}

}  // namespace command::manual
