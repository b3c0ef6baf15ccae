// Captures what the code under test prints, byte for byte. Standard output and standard error are redirected at the
// descriptor, which catches stdio, iostreams and plain writes alike.
#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace tests {

struct Printed {
  std::string out;
  std::string err;
};

/// Redirects one descriptor to a temporary file during its lifetime.
class TakenDescriptor {
 public:
  explicit TakenDescriptor(int descriptor) : descriptor_(descriptor), saved_(dup(descriptor)), file_(std::tmpfile()) {
    if (saved_ < 0 || file_ == nullptr || dup2(fileno(file_), descriptor_) < 0) std::abort();
  }
  TakenDescriptor(const TakenDescriptor&) = delete;
  TakenDescriptor& operator=(const TakenDescriptor&) = delete;
  ~TakenDescriptor() {
    dup2(saved_, descriptor_);
    close(saved_);
    std::fclose(file_);
  }

  [[nodiscard]] std::string text() const {
    std::string all(static_cast<std::size_t>(lseek(fileno(file_), 0, SEEK_END)), '\0');
    if (pread(fileno(file_), all.data(), all.size(), 0) != static_cast<ssize_t>(all.size())) std::abort();
    return all;
  }

 private:
  int descriptor_;
  int saved_;
  std::FILE* file_;
};

/// Runs `action` and returns everything that it printed.
template <typename Action>
Printed printed_by(Action action) {
  std::fflush(nullptr);
  const TakenDescriptor out(STDOUT_FILENO);
  const TakenDescriptor err(STDERR_FILENO);
  action();
  std::fflush(nullptr);
  return {out.text(), err.text()};
}

/// Returns a pointer in the form in which the library prints it.
inline std::string text_of(const void* pointer) {
  char text[32];
  std::snprintf(text, sizeof text, "%p", pointer);
  return text;
}

}  // namespace tests
