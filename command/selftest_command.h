// `dipx selftest`: checks that the installed program measures correctly.
#pragma once

#include <stdexcept>
#include <string>

namespace CLI {
class App;
}

namespace command {

/// A known dip was not measured correctly.
class SelfTestFailure : public std::runtime_error {
  using std::runtime_error::runtime_error;
};

void add_selftest(CLI::App& app, const std::string& statuses);

}  // namespace command
