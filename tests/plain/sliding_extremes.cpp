#include "tests/plain/sliding_extremes.h"

namespace plain {

void sliding_minimum(const float* padded, int count, int width, float* minima) {
  for (int i = 0; i < count; i++) {
    float current = padded[i];
    for (int j = 1; j < width; j++) {
      if (current >= padded[i + j]) current = padded[i + j];
    }
    minima[i] = current;
  }
}

void sliding_maximum(const float* padded, int count, int width, float* maxima) {
  for (int i = 0; i < count; i++) {
    float current = padded[i + width - 1];
    for (int j = width - 2; j >= 0; j--) {
      if (padded[i + j] >= current) current = padded[i + j];
    }
    maxima[i] = current;
  }
}

}  // namespace plain
