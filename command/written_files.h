// Writes the files that options name.
#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include "files/whole_file.h"

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace command {

/// There is a file already, and the user wants to keep it.
class FileKept : public std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// Adds --no-clobber.
CLI::Option* add_no_clobber(CLI::App& app, bool& no_clobber);

/// Throws FileKept if a file exists that would be replaced and `no_clobber` is given. A run that is going to write
/// files calls it before it takes any time.
void check_clobbering(const std::vector<std::string>& files, bool no_clobber);

/// Writes all files or none. Mentions those that were replaced on standard error, if that is a terminal. Throws
/// FileKept and std::system_error.
void write_files(const std::vector<files::NamedBytes>& files, bool no_clobber);

}  // namespace command
