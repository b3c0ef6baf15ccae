// The SHA-256 of bytes (FIPS 180-4), by which the content of a record is recognised.
#pragma once

#include <memory>
#include <string>
#include <string_view>

namespace readers {

/// Computes the hash of bytes that arrive in pieces.
class Sha256 {
 public:
  Sha256();
  ~Sha256();
  Sha256(const Sha256&) = delete;
  Sha256& operator=(const Sha256&) = delete;

  void add(std::string_view bytes);

  /// Returns the hash of all bytes as 64 hexadecimal digits in small letters. Further bytes begin a new message.
  [[nodiscard]] std::string hex();

 private:
  struct Context;
  std::unique_ptr<Context> context_;
};

/// Returns the hash of bytes as 64 hexadecimal digits.
std::string sha256_hex(std::string_view bytes);

}  // namespace readers
