// Checks the numbers of figures and pages.
#pragma once

#include <cmath>
#include <stdexcept>

namespace outputs {

/// Reports a time or a voltage that no figure can show.
class Undrawable : public std::runtime_error {
 public:
  Undrawable()
      : std::runtime_error(
            "the record cannot be drawn, because a time or a voltage in it is not finite or far too large; check it "
            "with --json, and draw another part with --part") {}
};

/// Returns a number that is drawn. Throws Undrawable if it is not finite or larger than any number of a record.
inline double drawable(double value) {
  constexpr double largest = 1e15;
  if (!(std::abs(value) <= largest)) throw Undrawable();
  return value;
}

}  // namespace outputs
