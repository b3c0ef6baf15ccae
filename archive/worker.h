// A worker process analyses one record at a time, so that a record that crashes, hangs or needs too much memory costs
// only this process.
#pragma once

#include <sys/types.h>

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "archive/found_files.h"
#include "archive/parameters.h"
#include "archive/store.h"

namespace archive {

/// What every worker of a run has in common.
struct WorkerSettings {
  RecordAnalysis how;
  Origin origin;
  std::size_t memory_mb = 0;  ///< memory for one record; 0: no limit
};

/// A message between a run and its worker: a length and a document in CBOR (RFC 8949).
using Message = nlohmann::json;

/// Converts rows to a message and back.
Message message_of(const std::vector<TableRows>& tables);
std::vector<TableRows> rows_in(const Message& message);

/// A worker as the run sees it. The process ends when this object does, and also when the run is killed.
class Worker {
 public:
  /// Starts the process. Throws std::system_error.
  explicit Worker(const WorkerSettings& settings);
  Worker(const Worker&) = delete;
  Worker& operator=(const Worker&) = delete;
  /// Kills the process if it is still there.
  ~Worker();

  /// The descriptor that becomes readable when the worker has something to say or has ended.
  [[nodiscard]] int descriptor() const { return socket_; }

  /// Asks the worker to load a file. It answers with {"kind": "none"}, {"kind": "zip", "members": [...]},
  /// {"kind": "record", "sha256": ...} or {"kind": "refused", "reason": ..., "message": ...}.
  void load(const FoundFile& file, const std::string& stamp);

  /// Tells the worker to analyse the record that it has loaded, or to forget it. It answers an analysis with
  /// {"kind": "analysed", "tables": ...} or as above.
  void analyse(const std::string& analysis);
  void forget();

  /// Takes the bytes that the worker has sent so far. Returns false when it has ended.
  bool receive();
  /// Returns the next complete message.
  std::optional<Message> next();

  /// Kills the process and returns how it ended, in words: "ended by signal 11 (Segmentation fault)".
  std::string kill();

 private:
  void send(const Message& message);

  int socket_ = -1;
  pid_t process_ = 0;
  std::string received_;
};

}  // namespace archive
