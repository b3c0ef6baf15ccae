// Sine and cosine with the accuracy that equal results on all systems need: the nearest double-precision number, or in
// rare cases its neighbour.
//
// What is portable: std::sin and std::cos wherever the C library divides the argument by pi/2 with as many digits as
// the argument needs. What is not: the C library of mingw-w64 leaves this to the processor, whose pi has 66 bits. Near
// a zero of the function, as at half a turn, the error of that pi is a large part of the result.
#pragma once

#include <cmath>

namespace platform {

#if defined(__MINGW32__)

/// What is left of an argument, at most pi/4 in magnitude, and the number of quarter turns that were taken off.
struct QuarterTurns {
  long double rest;
  int count;  // modulo 4
};

/// The first three parts of pi/2 have 32 bits each, so their products with up to 2^30 quarter turns are exact.
inline QuarterTurns without_quarter_turns(double angle) {
  constexpr long double parts[] = {0xC90FDAA2p-31L, 0x2168C234p-63L, 0xC4C6628Bp-95L, 0x80DC1CD129024E08p-159L};
  const long double turns = std::rint(static_cast<long double>(angle) * 0.6366197723675813430755350534900574L);
  if (turns == 0) return {angle, 0};  // a negative zero stays one
  long double rest = static_cast<long double>(angle);
  for (const long double part : parts) rest -= turns * part;
  return {rest, static_cast<int>(static_cast<long long>(turns) & 3)};
}

/// Returns the sine of an angle plus 0 or 1 quarter turns. Angles beyond the limit, which 50 Hz reach after 39 days,
/// are left to the C library, and so are those that are not finite.
inline double sine_after(double angle, int quarter_turns) {
  constexpr double limit = 1 << 30;
  if (!(std::fabs(angle) < limit)) return quarter_turns == 0 ? std::sin(angle) : std::cos(angle);
  const auto [rest, count] = without_quarter_turns(angle);
  const int quadrant = (count + quarter_turns) % 4;
  const long double magnitude = quadrant % 2 == 0 ? std::sin(rest) : std::cos(rest);
  return static_cast<double>(quadrant < 2 ? magnitude : -magnitude);
}

inline double sine(double angle) {
  return sine_after(angle, 0);
}

inline double cosine(double angle) {
  return sine_after(angle, 1);
}

#else

inline double sine(double angle) {
  return std::sin(angle);
}

inline double cosine(double angle) {
  return std::cos(angle);
}

#endif

}  // namespace platform
