#include "sagx/voltagechange.h"

#include "platform/default_environment.h"

float voltagechange(float* v, unsigned int num, unsigned int sample) {
  return platform::in_default_environment([&]() -> float {
    if (v == nullptr) return 0;
    const auto sample_time = static_cast<float>(0.02 / sample);
    float largest = 0;
    for (unsigned i = 2; i < num; i++) {
      float change = (v[i] - v[i - 1]) / sample_time;
      if (change < 0) change = 0 - change;
      if (change > largest) largest = change;
    }
    return largest;
  });
}
