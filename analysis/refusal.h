// A record that was read but cannot be analysed. The message names the file, the reason and a remedy.
#pragma once

#include <stdexcept>
#include <string>

namespace analysis {

class Refusal : public std::runtime_error {
 public:
  Refusal(const std::string& file, const std::string& cause, const std::string& cure)
      : std::runtime_error(file + ": " + cause + "; " + cure) {}
};

}  // namespace analysis
