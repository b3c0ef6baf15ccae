#include "readers/fourier.h"

#include <numbers>

namespace readers {

Rotation rotation_of(double period, std::size_t length, double size) {
  Rotation rotation;
  rotation.reserve(length);
  for (std::size_t i = 0; i < length; i++) {
    rotation.push_back(std::polar(size, -2 * std::numbers::pi * static_cast<double>(i) / period));
  }
  return rotation;
}

}  // namespace readers
