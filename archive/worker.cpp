#include "archive/worker.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <new>
#include <system_error>
#include <utility>

#include "archive/analysed_record.h"
#include "archive/loaded_file.h"
#include "readers/record.h"

namespace archive {

namespace {

using Length = std::uint64_t;

/// Sends all bytes. Returns false if the other side has ended.
bool send_all(int socket, const char* bytes, std::size_t size) {
  while (size > 0) {
    const ssize_t sent = send(socket, bytes, size, MSG_NOSIGNAL);
    if (sent < 0 && errno == EINTR) continue;
    if (sent <= 0) return false;
    bytes += sent;
    size -= static_cast<std::size_t>(sent);
  }
  return true;
}

bool receive_all(int socket, char* bytes, std::size_t size) {
  while (size > 0) {
    const ssize_t received = recv(socket, bytes, size, 0);
    if (received < 0 && errno == EINTR) continue;
    if (received <= 0) return false;
    bytes += received;
    size -= static_cast<std::size_t>(received);
  }
  return true;
}

bool send_message(int socket, const Message& message) {
  const std::vector<std::uint8_t> bytes = Message::to_cbor(message);
  const Length length = bytes.size();
  return send_all(socket, reinterpret_cast<const char*>(&length), sizeof length) &&
         send_all(socket, reinterpret_cast<const char*>(bytes.data()), bytes.size());
}

std::optional<Message> receive_message(int socket) {
  Length length = 0;
  if (!receive_all(socket, reinterpret_cast<char*>(&length), sizeof length)) return std::nullopt;
  std::string bytes(length, '\0');
  if (!receive_all(socket, bytes.data(), bytes.size())) return std::nullopt;
  return Message::from_cbor(bytes);
}

/// Limits the address space to what the process has now and `megabytes` more.
void limit_memory(std::size_t megabytes) {
  if (megabytes == 0) return;
  std::size_t pages = 0;
  if (std::FILE* about = std::fopen("/proc/self/statm", "r")) {
    if (std::fscanf(about, "%zu", &pages) != 1) pages = 0;
    std::fclose(about);
  }
  const rlim_t bytes = pages * static_cast<std::size_t>(sysconf(_SC_PAGESIZE)) + (megabytes << 20);
  const rlimit limit{bytes, bytes};
  setrlimit(RLIMIT_AS, &limit);
}

Message refusal(const char* reason, const std::string& message) {
  return {{"kind", "refused"}, {"reason", reason}, {"message", message}};
}

/// The worker's own side.
class Service {
 public:
  Service(int socket, const WorkerSettings& settings) : socket_(socket), settings_(settings) {}

  /// Answers until the run has nothing more to ask.
  void serve() {
    while (const auto request = receive_message(socket_)) {
      try {
        if (!answer(*request)) return;
      } catch (const std::bad_alloc&) {
        loaded_ = {};
        send_message(socket_, refusal(reason_memory, fmt::format("needs more than {} MB of memory; allow more with "
                                                                 "--memory",
                                                                 settings_.memory_mb)));
        // Whatever was being done may be incomplete, so that another process takes over.
        return;
      }
    }
  }

 private:
  bool answer(const Message& request) {
    const std::string what = request.at("do");
    if (what == "load") return send_message(socket_, load(request));
    if (what == "analyse") return send_message(socket_, analyse(request));
    loaded_ = {};
    return true;
  }

  Message load(const Message& request) {
    file_ = {request.at("path"), request.at("data"), "", request.at("named"), request.at("member")};
    loaded_ = {};
    try {
      loaded_ = loader_.load(file_, request.at("stamp"));
    } catch (const readers::ReadError& error) {
      return refusal(reason_unreadable, error.what());
    }
    switch (loaded_.kind) {
      case FileKind::zip:
        return {{"kind", "zip"}, {"members", loaded_.members}};
      case FileKind::record:
        return {{"kind", "record"}, {"sha256", loaded_.sha256}};
      case FileKind::no_record:
        break;
    }
    return {{"kind", "none"}};
  }

  Message analyse(const Message& request) {
    const RecordIdentity identity{loaded_.sha256, request.at("analysis"), loaded_.contents.name};
    const auto tables = analysed_rows(std::move(loaded_.contents), identity, settings_.how, settings_.origin);
    loaded_ = {};
    return {{"kind", "analysed"}, {"tables", message_of(tables)}};
  }

  int socket_;
  const WorkerSettings& settings_;
  FileLoader loader_;
  FoundFile file_;
  LoadedFile loaded_;
};

[[noreturn]] void run_worker(int socket, pid_t run, const WorkerSettings& settings) {
  // The worker ends with the run, even if a record keeps it busy for ever.
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() != run) _exit(0);
  // The connection to the store and those to other workers belong to the run.
  constexpr int own = STDERR_FILENO + 1;
  if (socket != own && dup2(socket, own) != own) _exit(1);
  close_range(own + 1, ~0U, 0);
  limit_memory(settings.memory_mb);
  try {
    Service(own, settings).serve();
  } catch (...) {
    _exit(1);
  }
  _exit(0);
}

Message value_message(const Value& value) {
  return std::visit(
      [](const auto& held) -> Message {
        if constexpr (std::is_same_v<std::decay_t<decltype(held)>, std::monostate>) {
          return nullptr;
        } else {
          return held;
        }
      },
      value);
}

Value value_in(const Message& message) {
  if (message.is_number_integer()) return message.get<std::int64_t>();
  if (message.is_number_float()) return message.get<double>();
  return message.is_string() ? Value(message.get<std::string>()) : Value();
}

}  // namespace

Message message_of(const std::vector<TableRows>& tables) {
  Message all = Message::array();
  for (const TableRows& one : tables) {
    Message rows = Message::array();
    for (const Row& row : one.rows) {
      Message values = Message::array();
      for (const Value& value : row) values.push_back(value_message(value));
      rows.push_back(std::move(values));
    }
    all.push_back({{"table", one.table->name}, {"rows", std::move(rows)}});
  }
  return all;
}

std::vector<TableRows> rows_in(const Message& message) {
  std::vector<TableRows> tables;
  for (const Message& one : message) {
    for (const Table* table : all_tables()) {
      if (one.at("table") != table->name) continue;
      TableRows& added = tables.emplace_back(TableRows{table, {}});
      for (const Message& values : one.at("rows")) {
        Row& row = added.rows.emplace_back();
        for (const Message& value : values) row.push_back(value_in(value));
      }
    }
  }
  return tables;
}

Worker::Worker(const WorkerSettings& settings) {
  int ends[2];
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) {
    throw std::system_error(errno, std::generic_category(), "cannot connect a worker process");
  }
  const pid_t run = getpid();
  process_ = fork();
  if (process_ < 0) {
    const int error = errno;
    close(ends[0]);
    close(ends[1]);
    throw std::system_error(error, std::generic_category(), "cannot start a worker process");
  }
  if (process_ == 0) run_worker(ends[1], run, settings);
  close(ends[1]);
  socket_ = ends[0];
}

Worker::~Worker() {
  if (process_ > 0) kill();
  close(socket_);
}

void Worker::send(const Message& message) {
  // If the worker has ended, `receive` notices it.
  static_cast<void>(send_message(socket_, message));
}

void Worker::load(const FoundFile& file, const std::string& stamp) {
  const auto bytes = [](const std::string& path) { return Message(path); };
  send({{"do", "load"},
        {"path", bytes(file.path)},
        {"data", bytes(file.data)},
        {"member", bytes(file.member)},
        {"named", file.named},
        {"stamp", stamp}});
}

void Worker::analyse(const std::string& analysis) {
  send({{"do", "analyse"}, {"analysis", analysis}});
}

void Worker::forget() {
  send({{"do", "forget"}});
}

bool Worker::receive() {
  std::array<char, 1 << 16> piece{};
  const ssize_t count = recv(socket_, piece.data(), piece.size(), 0);
  if (count < 0 && errno == EINTR) return true;
  if (count <= 0) return false;
  received_.append(piece.data(), static_cast<std::size_t>(count));
  return true;
}

std::optional<Message> Worker::next() {
  Length length = 0;
  if (received_.size() < sizeof length) return std::nullopt;
  std::memcpy(&length, received_.data(), sizeof length);
  if (received_.size() < sizeof length + length) return std::nullopt;
  Message message = Message::from_cbor(received_.substr(sizeof length, length));
  received_.erase(0, sizeof length + length);
  return message;
}

std::string Worker::kill() {
  // A worker that has crashed already keeps its own signal.
  ::kill(process_, SIGKILL);
  int status = 0;
  pid_t ended = 0;
  do {
    ended = waitpid(process_, &status, 0);
  } while (ended < 0 && errno == EINTR);
  process_ = 0;
  if (ended > 0 && WIFSIGNALED(status)) {
    return fmt::format("ended by signal {} ({})", WTERMSIG(status), strsignal(WTERMSIG(status)));
  }
  return fmt::format("ended with status {}", WIFEXITED(status) ? WEXITSTATUS(status) : -1);
}

}  // namespace archive
