// A store cannot be used.
#pragma once

#include <stdexcept>
#include <string>

namespace archive {

/// The message names the store, the error and a remedy.
class StoreError : public std::runtime_error {
 public:
  StoreError(const std::string& store, const std::string& cause, const std::string& cure)
      : std::runtime_error(store + ": " + cause + (cure.empty() ? "" : "; " + cure)) {}
};

}  // namespace archive
