// Determines where on the wave a dip begins from the dq magnitudes and angles of the window, for the feature stages.
#include "sagx/dqdelay_POW.h"

#include <algorithm>

#include "platform/default_environment.h"

namespace {

/// Returns the last sample at or above `before` that precedes the first one at or below `dipped`; `num` if there is
/// none. Sample 0 is never returned.
unsigned last_before_fall(const float* magnitude, float dipped, float before, unsigned num) {
  const unsigned held = std::min(num, unsigned{DQ_WINDOW_CAPACITY});
  const auto fall = static_cast<unsigned>(
      std::find_if(magnitude, magnitude + held, [=](float u) { return u <= dipped; }) - magnitude);
  if (fall == held) return num;
  for (unsigned i = fall; i >= 1; i--) {
    if (magnitude[i] >= before) return i;
  }
  return num;
}

/// Reduces an angle to one turn, towards zero. An angle of more turns than an int can count is left unchanged.
float within_a_turn(float degrees) {
  const float turns = degrees / 360.0F;
  if (!(turns >= -2147483648.0F && turns < 2147483648.0F)) return degrees;
  return degrees - static_cast<float>(static_cast<long long>(turns) * 360);
}

}  // namespace

void dqdelay_POW(float* ua, float* ub, float* uc, float* angle_a, float* angle_b, float* angle_c, float* t,
                 dq_dipx_struct* dipx, float Vfund, unsigned int num) {
  platform::in_default_environment([&] {
    for (const float* array : {ua, ub, uc, angle_a, angle_b, angle_c, t}) {
      if (array == nullptr) return;
    }
    if (dipx == nullptr) return;
    const auto dipped = static_cast<float>(static_cast<double>(Vfund) * 0.9);
    const auto before = static_cast<float>(static_cast<double>(Vfund) * 0.95);
    const unsigned start =
        std::min({last_before_fall(ua, dipped, before, num), last_before_fall(ub, dipped, before, num),
                  last_before_fall(uc, dipped, before, num)});

    const float time = start < DQ_RECORD_CAPACITY ? t[start] : 0.0F;
    const auto point_on_wave = [=](const float* angle) {
      const float degrees = start < DQ_WINDOW_CAPACITY ? angle[start] : 0.0F;
      // The frame rotates at 18000 degrees per second at 50 Hz. Adding 90 degrees turns a cosine's phase into a sine's.
      return within_a_turn(18000.0F * time + degrees + 90.0F);
    };
    dipx->POW_a = point_on_wave(angle_a);
    dipx->POW_b = point_on_wave(angle_b);
    dipx->POW_c = point_on_wave(angle_c);
  });
}
