// Windows itself computes the hash, so that the command for it needs no further library.
#include <windows.h>
// The header of the cryptography needs the types of the first one.
#include <bcrypt.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <stdexcept>

#include "readers/content_hash.h"
#include "readers/hexadecimal.h"

namespace readers {

namespace {

void check(NTSTATUS status) {
  if (status < 0) throw std::runtime_error("Windows cannot compute the hash SHA-256");
}

BCRYPT_ALG_HANDLE sha256() {
  static const BCRYPT_ALG_HANDLE algorithm = [] {
    BCRYPT_ALG_HANDLE opened = nullptr;
    check(BCryptOpenAlgorithmProvider(&opened, BCRYPT_SHA256_ALGORITHM, nullptr, 0));
    return opened;
  }();
  return algorithm;
}

}  // namespace

struct Sha256::Context {
  Context() { check(BCryptCreateHash(sha256(), &hash, nullptr, 0, nullptr, 0, 0)); }
  Context(const Context&) = delete;
  Context& operator=(const Context&) = delete;
  ~Context() { BCryptDestroyHash(hash); }

  BCRYPT_HASH_HANDLE hash = nullptr;
};

Sha256::Sha256() : context_(std::make_unique<Context>()) {}

Sha256::~Sha256() = default;

void Sha256::add(std::string_view bytes) {
  constexpr std::size_t most = std::size_t{1} << 30;
  while (!bytes.empty()) {
    const std::string_view piece = bytes.substr(0, most);
    auto* const begin = reinterpret_cast<PUCHAR>(const_cast<char*>(piece.data()));  // it only reads these bytes
    check(BCryptHashData(context_->hash, begin, static_cast<ULONG>(piece.size()), 0));
    bytes.remove_prefix(piece.size());
  }
}

std::string Sha256::hex() {
  std::array<unsigned char, 32> digest{};
  check(BCryptFinishHash(context_->hash, digest.data(), static_cast<ULONG>(digest.size()), 0));
  context_ = std::make_unique<Context>();
  return hexadecimal(digest);
}

}  // namespace readers
