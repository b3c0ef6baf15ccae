#include "tests/plain/rms.h"

#include <cmath>

namespace plain {

void cycle_rms(const float* samples, int count, int cycle, float* rms) {
  for (int i = cycle - 1; i < count; i++) {
    float sum = 0;
    for (int j = 0; j < cycle; j++) {
      const float square = samples[i - j] * samples[i - j];
      sum = sum + square;
    }
    const float mean = sum / static_cast<float>(cycle);
    rms[i] = static_cast<float>(std::sqrt(static_cast<double>(mean)));
  }
}

int restless_blocks(const float* values, int length, int blocks) {
  int restless = 0;
  for (int i = 0; i < blocks; i++) {
    const float* block = values + static_cast<long>(i) * length;
    float sum = 0;
    for (int j = 0; j < length; j++) sum = sum + block[j];
    const float mean = sum / static_cast<float>(length);
    float squares = 0;
    for (int j = 0; j < length; j++) {
      const float off = block[j] - mean;
      const float square = off * off;
      squares = squares + square;
    }
    const float deviation = static_cast<float>(std::sqrt(static_cast<double>(squares / static_cast<float>(length))));
    if (static_cast<double>(deviation) > 0.5) restless++;
  }
  return restless;
}

}  // namespace plain
