// Unpacks zlib streams of unknown unpacked size without letting a small stream fill the memory.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace readers::pqdif {

/// Measured data unpack to about thirty times their size at most, so larger ratios are only accepted up to a size that
/// does no harm. Computed waveforms without noise and silent channels may have any ratio that zlib can reach.
inline constexpr std::size_t most_unpacked_ratio = 200;
inline constexpr std::size_t small_unpacked = std::size_t{1} << 27;
inline constexpr std::size_t most_unpacked = std::size_t{1} << 28;

/// What a stream held, or why it cannot be used.
struct Unpacked {
  std::string bytes;
  std::string fault;  ///< for example "its zlib stream is damaged (incorrect data check)"; empty if all is well
};

/// Unpacks one zlib stream; bytes after its end are ignored. A stream that would unpack to more than `most` bytes, to
/// more than `most_unpacked` bytes, or to more than `most_unpacked_ratio` times its size and `small_unpacked` bytes is
/// not unpacked any further and has a fault.
Unpacked unpack(std::string_view stream, std::size_t most = most_unpacked);

}  // namespace readers::pqdif
