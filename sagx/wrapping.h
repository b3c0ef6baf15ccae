// Sums and differences of positions that a host may have set to any value. They wrap around in two's complement, as the
// machine does, where the language leaves the result undefined. Private to the library.
#pragma once

namespace sagx {

inline int wrapping_sum(int a, int b) {
  return static_cast<int>(static_cast<unsigned>(a) + static_cast<unsigned>(b));
}

inline int wrapping_difference(int a, int b) {
  return static_cast<int>(static_cast<unsigned>(a) - static_cast<unsigned>(b));
}

}  // namespace sagx
