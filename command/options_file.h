// Options from a file, for rules that many runs share.
#pragma once

#include <stdexcept>
#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace command {

/// A file of options that cannot be read or understood; says which file, which line, what is wrong and what helps.
class OptionsFileError : public std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// The arguments with "--options FILE" replaced by the options in the file: one in a line, as "dip-threshold 85",
/// "dip-threshold = 85" or "line-to-line" alone; what follows a # is a comment. Options that the arguments have
/// themselves win over those of the file. `command`: whose options these are; arguments of other commands are returned
/// as they are. Throws OptionsFileError.
std::vector<std::string> with_options_file(std::vector<std::string> arguments, const CLI::App& command);

}  // namespace command
