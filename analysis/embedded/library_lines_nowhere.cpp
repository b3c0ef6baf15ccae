// For systems without file descriptors, such as a browser: whoever starts the program decides where its lines go.
#include "analysis/embedded/library_lines.h"

namespace analysis::embedded {

LibraryLines::LibraryLines(bool /*show*/) : saved_out_(-1), saved_err_(-1) {}

LibraryLines::~LibraryLines() {
  // Nothing was redirected.
  static_cast<void>(saved_out_);
  static_cast<void>(saved_err_);
}

}  // namespace analysis::embedded
