#include "readers/content_hash.h"

namespace readers {

std::string sha256_hex(std::string_view bytes) {
  Sha256 hash;
  hash.add(bytes);
  return hash.hex();
}

}  // namespace readers
