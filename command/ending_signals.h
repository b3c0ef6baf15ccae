// Lets a service end in its own time when it receives SIGINT, SIGTERM or SIGHUP.
#pragma once

namespace command {

/// Blocks these signals from its construction on and reports whether one has arrived. Processes that are started
/// afterwards inherit the blocked signals unless they are started with another mask.
class EndingSignals {
 public:
  /// Throws std::system_error.
  EndingSignals();
  EndingSignals(const EndingSignals&) = delete;
  EndingSignals& operator=(const EndingSignals&) = delete;
  ~EndingSignals();

  /// Returns whether a signal has arrived.
  [[nodiscard]] bool arrived() const;
  /// The descriptor that becomes readable when one arrives, and stays so.
  [[nodiscard]] int descriptor() const { return descriptor_; }

 private:
  int descriptor_;
};

}  // namespace command
