#include "command/manual/completions.h"

#include <fmt/format.h>

namespace command::manual {

namespace {

constexpr const char* origin = "made from the option tables of dipx " DIPX_VERSION;

/// Quotes any text as one word for bash and zsh.
std::string shell_word(const std::string& text) {
  std::string word = "'";
  for (const char character : text) {
    if (character == '\'') {
      word += "'\\''";
    } else {
      word += character;
    }
  }
  return word + "'";
}

std::string option_names(const CommandTable& table) {
  std::string names;
  for (const auto& row : table.options) {
    if (!row.positional) names += (names.empty() ? "" : " ") + joined(row.names, " ");
  }
  return names;
}

std::string all_words(const CommandTable& all) {
  std::string words;
  for (const auto& command : all.commands) words += (words.empty() ? "" : " ") + joined(command.words, " ");
  return words;
}

// --- bash ---

constexpr const char* bash_files = "compopt -o filenames; mapfile -t COMPREPLY < <(compgen -f -- \"$current\")";

std::string bash_words(const std::string& words) {
  return fmt::format("mapfile -t COMPREPLY < <(compgen -W {} -- \"$current\")", shell_word(words));
}

std::string bash_values(const OptionRow& row) {
  if (row.takes_file) return bash_files;
  return row.choices.empty() ? ":" : bash_words(joined(row.choices, " "));
}

/// Offers the options and files of a command, and the commands within it. `outer` is the name of the command around it
/// with a blank, or empty.
std::string bash_command(const CommandTable& table, const std::string& outer) {
  std::vector<std::string> names;
  for (const auto& word : table.words) names.push_back(outer.empty() ? word : "'" + outer + word + "'");
  std::string script = fmt::format("    {})\n      case $previous in\n", joined(names, "|"));
  std::string positional;
  for (const auto& row : table.options) {
    if (row.positional) {
      positional = bash_values(row);
    } else if (!row.value.empty()) {
      script += fmt::format("        {}) {}; return ;;\n", joined(row.names, "|"), bash_values(row));
    }
  }
  script += fmt::format("      esac\n      if [[ $current == -* ]]; then {}\n", bash_words(option_names(table)));
  if (!table.commands.empty()) positional = bash_words(all_words(table));
  if (!positional.empty()) script += fmt::format("      else {}\n", positional);
  script += "      fi ;;\n";
  for (const auto& command : table.commands) script += bash_command(command, table.words.front() + " ");
  return script;
}

/// Finds the command, and the command within it, among the words before the current one.
std::string bash_search(const CommandTable& all) {
  std::string script = "    case $command in\n";
  script += fmt::format("      '') case \" {} \" in *\" $word \"*) command=$word ;; esac ;;\n", all_words(all));
  for (const auto& command : all.commands) {
    if (command.commands.empty()) continue;
    script += fmt::format("      {0}) case \" {1} \" in *\" $word \"*) command=\"{0} $word\" ;; esac ;;\n",
                          command.words.front(), all_words(command));
  }
  return script + "    esac\n";
}

// --- zsh ---

/// Escapes a description inside [...], where brackets and colons would end it.
std::string zsh_text(const std::string& text) {
  std::string inert;
  for (const char character : text) {
    if (character == '[' || character == ']' || character == ':' || character == '\\') inert += '\\';
    inert += character;
  }
  return inert;
}

std::string zsh_values(const OptionRow& row) {
  const std::string value = ":" + zsh_text(row.value) + ":";
  if (row.takes_file) return value + "_files";
  return row.choices.empty() ? value + " " : value + "(" + joined(row.choices, " ") + ")";
}

/// `place` counts the positional arguments of the command.
std::string zsh_option(const OptionRow& row, std::size_t& place) {
  if (row.positional) {
    place++;
    if (row.repeated) return shell_word("*" + zsh_values(row));
    return shell_word(fmt::format("{}{}", place, row.required ? "" : ":") + zsh_values(row));
  }
  std::vector<std::string> arguments;
  for (const auto& name : row.names) {
    std::string argument = "(" + joined(row.names, " ") + ")" + name;
    // --option=VALUE and -oVALUE are completed too.
    if (!row.value.empty()) argument += name[1] == '-' ? "=" : "+";
    argument += "[" + zsh_text(row.description) + "]";
    if (!row.value.empty()) argument += zsh_values(row);
    arguments.push_back(shell_word(argument));
  }
  return joined(arguments, " ");
}

std::string zsh_options(const CommandTable& table) {
  std::string script;
  std::size_t place = 0;
  for (const auto& row : table.options) script += " \\\n            " + zsh_option(row, place);
  return script;
}

/// Lists commands with their descriptions, for _describe.
std::string zsh_list(const CommandTable& table) {
  std::string script;
  for (const auto& command : table.commands) {
    for (const auto& word : command.words) {
      script += "    " + shell_word(word + ":" + zsh_text(command.description)) + "\n";
    }
  }
  return script;
}

/// Completes the arguments of a command, and those of the commands within it.
std::string zsh_command(const CommandTable& table) {
  std::string script = fmt::format("        {})\n          _arguments", joined(table.words, "|"));
  if (table.commands.empty()) return script + zsh_options(table) + " ;;\n";
  script += " -C" + zsh_options(table) + " \\\n            '1:command:->inner' '*::argument:->inner_argument'\n";
  script += "          local -a inner=(\n" + zsh_list(table) + "          )\n";
  script += "          case $state in\n            inner) _describe command inner ;;\n";
  script += "            inner_argument)\n          case $words[1] in\n";
  for (const auto& command : table.commands) script += zsh_command(command);
  return script + "          esac ;;\n          esac ;;\n";
}

// --- fish ---

/// Quotes any text as one word for fish, which accepts \' inside quotation marks.
std::string fish_word(const std::string& text) {
  std::string word = "'";
  for (const char character : text) {
    if (character == '\'' || character == '\\') word += '\\';
    word += character;
  }
  return word + "'";
}

std::string fish_values(const OptionRow& row) {
  if (row.takes_file) return " -r -F";
  return row.choices.empty() ? " -x" : " -x -a " + fish_word(joined(row.choices, " "));
}

std::string fish_options(const CommandTable& table, const std::string& condition) {
  std::string script;
  bool positional_file = false;
  for (const auto& row : table.options) {
    if (row.positional) {
      positional_file = row.takes_file;
      continue;
    }
    script += "complete -c dipx -n " + fish_word(condition);
    for (const auto& name : row.names) {
      script += name[1] == '-' ? " -l " + name.substr(2) : " -s " + name.substr(1);
    }
    if (!row.value.empty()) script += fish_values(row);
    script += " -d " + fish_word(row.description) + "\n";
  }
  if (!positional_file) script = "complete -c dipx -f -n " + fish_word(condition) + "\n" + script;
  return script;
}

/// Offers the names of commands.
std::string fish_commands(const CommandTable& table, const std::string& condition) {
  std::string script;
  for (const auto& command : table.commands) {
    for (const auto& word : command.words) {
      script += fmt::format("complete -c dipx -n {} -a {} -d {}\n", fish_word(condition), word,
                            fish_word(command.description));
    }
  }
  return script;
}

}  // namespace

std::string bash_completion(const CommandTable& all) {
  std::string script = fmt::format("# bash completion for dipx, {}\n", origin);
  script +=
      "_dipx() {\n"
      "  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} command= word\n"
      "  COMPREPLY=()\n"
      "  # --option=value comes as three words.\n"
      "  if [[ $current == = ]]; then current=\n"
      "  elif [[ $previous == = ]]; then previous=${COMP_WORDS[COMP_CWORD - 2]}\n"
      "  fi\n"
      "  for word in \"${COMP_WORDS[@]:1:COMP_CWORD - 1}\"; do\n";
  script += bash_search(all);
  script += "  done\n  case $command in\n";
  script += fmt::format("    '') {} ;;\n", bash_words(all_words(all) + " " + option_names(all)));
  for (const auto& command : all.commands) script += bash_command(command, "");
  return script + "  esac\n}\ncomplete -F _dipx dipx\n";
}

std::string zsh_completion(const CommandTable& all) {
  std::string script = fmt::format("#compdef dipx\n# zsh completion for dipx, {}\n", origin);
  script +=
      "_dipx() {\n"
      "  local context state state_descr line curcontext=$curcontext\n"
      "  typeset -A opt_args\n"
      "  local -a commands=(\n";
  script += zsh_list(all);
  script += "  )\n  _arguments -C \\\n";
  std::size_t place = 0;
  for (const auto& row : all.options) script += "    " + zsh_option(row, place) + " \\\n";
  script +=
      "    '1:command:->command' '*::argument:->argument'\n"
      "  case $state in\n"
      "    command) _describe command commands ;;\n"
      "    argument)\n"
      "      case $words[1] in\n";
  for (const auto& command : all.commands) script += zsh_command(command);
  return script + "      esac ;;\n  esac\n}\n_dipx \"$@\"\n";
}

std::string fish_completion(const CommandTable& all) {
  std::string script = fmt::format("# fish completion for dipx, {}\n", origin);
  script += fish_options(all, "__fish_use_subcommand");
  script += fish_commands(all, "__fish_use_subcommand");
  for (const auto& command : all.commands) {
    const std::string inside = "__fish_seen_subcommand_from " + joined(command.words, " ");
    if (command.commands.empty()) {
      script += fish_options(command, inside);
      continue;
    }
    const std::string first = inside + "; and not __fish_seen_subcommand_from " + all_words(command);
    script += fish_options(command, first) + fish_commands(command, first);
    for (const auto& inner : command.commands) {
      script += fish_options(inner, inside + "; and __fish_seen_subcommand_from " + joined(inner.words, " "));
    }
  }
  return script;
}

}  // namespace command::manual
