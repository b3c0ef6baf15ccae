// dipx selftest: whether the installed program measures right.
#pragma once

#include <stdexcept>
#include <string>

namespace CLI {
class App;
}

namespace command {

/// Some known dip was not measured right.
class SelfTestFailure : public std::runtime_error {
  using std::runtime_error::runtime_error;
};

void add_selftest(CLI::App& app, const std::string& statuses);

}  // namespace command
