#include <nettle/sha2.h>

#include <array>
#include <cstdint>

#include "readers/content_hash.h"
#include "readers/hexadecimal.h"

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
  return hexadecimal(digest);
}

}  // namespace readers
