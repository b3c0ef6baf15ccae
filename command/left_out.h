// Reports parts that a build of the command does not have, because their packages were missing.
#pragma once

#include <stdexcept>
#include <string>

namespace command {

/// The user asks for a part that this build does not have.
class LeftOut : public std::runtime_error {
 public:
  /// `option`: as the user writes it; `packages`: what the part needs, as words.
  LeftOut(const std::string& option, const std::string& packages)
      : std::runtime_error(option + " is not in this build of dipx, because " + packages +
                           " was missing; run scripts/setup.sh, which installs it, and build dipx again") {}
};

}  // namespace command
