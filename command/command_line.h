// The dipx command line: all subcommands with their options. --help, the manual and the completions are generated from
// it.
#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace command {

/// What the exit status reports besides success.
struct Answers {
  bool found = false;    ///< see add_analyse
  bool differs = false;  ///< see add_verify
};

/// Adds everything to `app`; parsing then runs the requested subcommand, which fills `answers`.
void add_command_line(CLI::App& app, Answers& answers);

/// The outcome of a run that threw no exception.
enum class CommandEnd {
  done,
  found,    ///< an event that --fail-on names
  differs,  ///< a certificate and its record do not agree
  usage     ///< the command line is wrong, and the user has got a message
};
/// `given`: the arguments in UTF-8, with the name of the program first.
CommandEnd run_command_line(const std::vector<std::string>& given);

}  // namespace command
