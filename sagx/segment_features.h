// Computations shared by the feature stages of short and long windows. Private to them.
#pragma once

#include "sagx/dq_dipx.h"

namespace sagx {

/// Positive, negative and zero sequence of the window at one sample.
struct Sequences {
  Sequences(const dq_data& data, int sample);
  vec_struct positive;
  vec_struct negative;
  vec_struct zero;
};

float magnitude(const vec_struct& phasor);

/// Returns the ratio of the negative to the positive sequence, per cent; 0 if the positive one is close to 0.
float unbalance_ratio(const Sequences& sequences);

/// Stores a phase jump in the field for its sign; the other field becomes 0.
void store_jump(float jump, float& positive, float& negative);

/// Returns the window's minimum curve u; 0 outside its array.
inline float minimum_at(const dq_data& data, int position) {
  return position >= 0 && position < DQ_RECORD_CAPACITY ? data.u[position] : 0.0F;
}

/// Returns by how much the minimum curve differs between two positions.
float change_between(const dq_data& data, int from, int to);

/// Measures the largest slopes of the three RMS curves from one boundary to the next.
void measure_voltage_change(dq_data& data, dq_dipx_struct& dipx, int from, int to);

}  // namespace sagx
