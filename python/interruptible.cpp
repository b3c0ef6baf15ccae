#include "python/interruptible.h"

#include <chrono>
#include <future>
#include <list>
#include <mutex>
#include <thread>
#include <utility>

namespace py = pybind11;

namespace python {

namespace {

/// A signal waits at most this long for an answer.
constexpr std::chrono::milliseconds longest_wait{20};

/// The process ends at most this much later for all work that was abandoned.
constexpr std::chrono::seconds longest_farewell{2};

struct AbandonedWork {
  std::thread thread;
  std::future<void> done;
};

std::mutex abandoned_mutex;
std::list<AbandonedWork> abandoned_works;

void abandon(AbandonedWork work) {
  const std::lock_guard lock(abandoned_mutex);
  abandoned_works.push_back(std::move(work));
}

bool is_main_thread() {
  const py::object main = py::module_::import("threading").attr("main_thread")();
  return main.attr("ident").cast<unsigned long>() == PyThread_get_thread_ident();
}

bool ready_soon(const std::future<void>& done) {
  const py::gil_scoped_release unlocked;
  return done.wait_for(longest_wait) == std::future_status::ready;
}

}  // namespace

void run_interruptibly(const std::function<void(const Cancelled&)>& work) {
  const auto cancelled = std::make_shared<std::atomic<bool>>(false);
  if (!is_main_thread()) {
    const py::gil_scoped_release unlocked;
    work(cancelled);
    return;
  }
  std::packaged_task<void()> task([work, cancelled] { work(cancelled); });
  std::future<void> done = task.get_future();
  std::thread thread(std::move(task));
  while (!ready_soon(done)) {
    if (PyErr_CheckSignals() == 0) continue;
    *cancelled = true;
    abandon({std::move(thread), std::move(done)});
    throw py::error_already_set();
  }
  thread.join();
  done.get();
}

void wait_for_abandoned() {
  const py::gil_scoped_release unlocked;
  const std::lock_guard lock(abandoned_mutex);
  const auto end = std::chrono::steady_clock::now() + longest_farewell;
  for (AbandonedWork& work : abandoned_works) {
    if (work.done.wait_until(end) == std::future_status::ready) {
      work.thread.join();
    } else {
      work.thread.detach();
    }
  }
  abandoned_works.clear();
}

}  // namespace python
