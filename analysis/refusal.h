// A record that was read but that the analysis does not take: which file, why, and what helps.
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
