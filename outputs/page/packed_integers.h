// Packs 16-bit integers into little text, for the curves of the page.
#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace outputs {

/// Returns integers as base64 of a bit stream, most significant bit first. Each 256 of them begin with 2 bits for the
/// order of a difference (0 to 3) and 4 bits for a width k. Each integer is given by that difference to its
/// predecessors, which are zero before the first one. Differences are mapped to 0, -1, 1, -2, ... and written as Rice
/// codes: the quotient by 2^k as that many ones and a zero, and k bits for the rest. 24 ones without a zero announce 20
/// plain bits instead.
std::string packed_integers(std::span<const std::int16_t> values);

}  // namespace outputs
