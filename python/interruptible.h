// Runs long work without the interpreter's lock, in such a way that Ctrl-C ends the wait for it.
#pragma once

#include <pybind11/pybind11.h>

#include <atomic>
#include <functional>
#include <memory>
#include <stdexcept>

namespace python {

/// Set when the user has pressed Ctrl-C while the work was under way.
using Cancelled = std::shared_ptr<std::atomic<bool>>;

/// Ends work that nobody waits for any longer.
class Abandoned : public std::runtime_error {
 public:
  Abandoned() : std::runtime_error("the work was interrupted") {}
};

/// Runs `work` without the interpreter's lock and throws what it throws. On the main thread of the interpreter, where
/// signals arrive, it runs on a thread of its own. If a signal handler raises an exception, such as KeyboardInterrupt,
/// that exception is thrown at once, the flag is set, and the work ends on its own at its next look at the flag. `work`
/// must therefore own all that it uses, and must not touch Python objects.
void run_interruptibly(const std::function<void(const Cancelled&)>& work);

/// Waits up to some seconds for work that was abandoned, because a process should not end while it runs. Work that
/// waits for a file itself, such as a pipe that nobody writes to, is left behind.
void wait_for_abandoned();

}  // namespace python
