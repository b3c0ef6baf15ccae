// The usual slips in a command line: words that can only be meant in one way, and complaints that name the cause.
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

namespace command {

/// Rewrites words whose meaning is beyond doubt: "dipx help analyse" asks for the help of a command, "dipx RECORD"
/// analyses a file, and the unit of "--nominal 90 kV" belongs to its number. The first argument is the program.
std::vector<std::string> with_meant_words(std::vector<std::string> arguments, const CLI::App& app);

/// Names the slip because of which the parser refuses the arguments, and its cure, in one sentence. Empty if none of
/// the known ones is found. `app` has parsed the arguments.
std::string slip_in(const std::vector<std::string>& arguments, const CLI::App& app);

}  // namespace command
