// Loads a build of the library next to others, so that the shipped one can be compared with the plain one in the same
// process.
#pragma once

#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>

#include "dipx_dll.h"
#include "sagx/dq_dipx.h"

namespace tests {

class LoadedLibrary {
 public:
  explicit LoadedLibrary(const char* file) : handle_(dlopen(file, RTLD_NOW | RTLD_LOCAL)) {
    if (handle_ == nullptr) {
      std::fputs(dlerror(), stderr);
      std::abort();
    }
  }

  void analyse(dipx_data_struct& record) const { symbol<void(void*)>("dipx_fun")(&record); }
  [[nodiscard]] const dq_data& window() const { return **symbol<dq_data*>("dq_data_buf"); }
  [[nodiscard]] const dq_dipx_rms& whole_record() const { return **symbol<dq_dipx_rms*>("dq_rms_buf"); }
  [[nodiscard]] const dq_dipx_struct* results() const { return symbol<dq_dipx_struct>("new_dipx_buf"); }

 private:
  template <typename Symbol>
  [[nodiscard]] Symbol* symbol(const char* name) const {
    void* const found = dlsym(handle_, name);
    if (found == nullptr) std::abort();
    return reinterpret_cast<Symbol*>(found);
  }

  void* handle_;
};

}  // namespace tests
