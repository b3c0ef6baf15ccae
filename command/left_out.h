// Reports parts that a build of the command does not have.
#pragma once

#include <stdexcept>
#include <string>

namespace command {

/// Says why a build lacks a part, and what to do, as the end of a sentence. `packages`: what the part needs, as words.
std::string why_left_out(const std::string& packages);

/// The user asks for a part that this build does not have.
class LeftOut : public std::runtime_error {
 public:
  /// `option`: as the user writes it; `packages`: what the part needs, as words.
  LeftOut(const std::string& option, const std::string& packages)
      : std::runtime_error(option + " is not in this build of dipx, because " + why_left_out(packages)) {}
};

}  // namespace command
