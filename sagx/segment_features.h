// What the feature stages of short and long windows have in common. Private to them.
#pragma once

#include "sagx/dq_dipx.h"

namespace sagx {

/// Positive, negative and zero sequence of the window at a sample.
struct Sequences {
  Sequences(dq_data& data, int sample);
  vec_struct positive{};
  vec_struct negative{};
  vec_struct zero{};
};

float magnitude(const vec_struct& phasor);

/// Ratio of the negative to the positive sequence, per cent; 0 where the positive one is next to nothing.
float unbalance_ratio(const Sequences& sequences);

/// A phase jump into the field of its sign; the other field becomes 0.
void store_jump(float jump, float& positive, float& negative);

/// The window's minimum curve u; 0 outside its array.
inline float minimum_at(const dq_data& data, int position) {
  return position >= 0 && position < DQ_RECORD_CAPACITY ? data.u[position] : 0.0F;
}

/// By how much it differs between two positions.
float change_between(const dq_data& data, int from, int to);

/// Largest slopes of the three RMS curves from one boundary to the next.
void measure_voltage_change(dq_data& data, dq_dipx_struct& dipx, int from, int to);

}  // namespace sagx
