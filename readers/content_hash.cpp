#include "readers/content_hash.h"

#include <nettle/sha2.h>

#include <array>
#include <cstdint>

namespace readers {

struct Sha256::Context {
  sha256_ctx state{};
};

Sha256::Sha256() : context_(std::make_unique<Context>()) {
  sha256_init(&context_->state);
}

Sha256::~Sha256() = default;

void Sha256::add(std::string_view bytes) {
  sha256_update(&context_->state, bytes.size(), reinterpret_cast<const std::uint8_t*>(bytes.data()));
}

std::string Sha256::hex() {
  std::array<std::uint8_t, SHA256_DIGEST_SIZE> digest{};
  sha256_digest(&context_->state, digest.size(), digest.data());
  constexpr const char* digits = "0123456789abcdef";
  std::string text;
  for (const std::uint8_t byte : digest) {
    text += digits[byte >> 4U];
    text += digits[byte & 15U];
  }
  return text;
}

std::string sha256_hex(std::string_view bytes) {
  Sha256 hash;
  hash.add(bytes);
  return hash.hex();
}

}  // namespace readers
