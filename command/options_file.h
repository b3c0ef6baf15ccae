// Reads options from a file, for rules that many runs share.
#pragma once

#include <stdexcept>
#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace command {

/// A file of options cannot be read or understood. The message names the file, the line, the error and a remedy.
class OptionsFileError : public std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// Adds the option --options to a command, for its help.
void add_options_file(CLI::App& command);

/// Returns the arguments with "--options FILE" replaced by the options in the file. Each line has one option, as
/// "dip-threshold 85", "dip-threshold = 85" or "line-to-line"; text after a # is a comment. Options in the arguments
/// take precedence over those in the file. `command` is the command to which the options belong; arguments of other
/// commands are returned unchanged. Throws OptionsFileError.
std::vector<std::string> with_options_file(std::vector<std::string> arguments, const CLI::App& command);

}  // namespace command
