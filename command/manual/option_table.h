// Tables of the subcommands and options, in the order and the words of --help.
#pragma once

#include <string>
#include <vector>

namespace command::manual {

struct OptionRow {
  std::vector<std::string> names;  ///< "-o", "--output"; a positional's only name is that of its value
  std::string value;               ///< FILE; empty for a flag
  std::string description;
  std::string group;
  bool positional = false;
  bool required = false;
  bool takes_file = false;
  bool repeated = false;              ///< a positional that may be given several times
  std::vector<std::string> choices;   ///< the possible values, if there are only a few
  std::vector<std::string> needs;     ///< options without which it cannot be used
  std::vector<std::string> excludes;  ///< options with which it cannot be used
};

struct CommandTable {
  std::string name;                ///< "dipx analyse"
  std::vector<std::string> words;  ///< "analyse", "analyze"
  std::string description;
  std::string notes;     ///< the footer without the following two
  std::string examples;  ///< its indented lines
  std::string exit_status;
  std::vector<OptionRow> options;
  std::vector<CommandTable> commands;
};

/// Of the whole command line.
CommandTable command_table();

/// The words with something between them.
std::string joined(const std::vector<std::string>& words, const std::string& between);

}  // namespace command::manual
