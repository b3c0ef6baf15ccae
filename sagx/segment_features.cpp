#include "sagx/segment_features.h"

#include <algorithm>
#include <cmath>

#include "sagx/symmetrical_components.h"
#include "sagx/voltagechange.h"

namespace sagx {

Sequences::Sequences(const dq_data& data, int sample)
    : positive(sequence_of(data.vec_ua[sample], data.vec_ub[sample], data.vec_uc[sample])),
      negative(sequence_of(data.vec_ua[sample], data.vec_uc[sample], data.vec_ub[sample])),
      zero(zero_sequence_of(data.vec_ua[sample], data.vec_ub[sample], data.vec_uc[sample])) {}

float magnitude(const vec_struct& phasor) {
  return static_cast<float>(std::sqrt(static_cast<double>(phasor.x * phasor.x + phasor.r * phasor.r)));
}

float unbalance_ratio(const Sequences& sequences) {
  const float positive = magnitude(sequences.positive);
  return positive > 1.0F ? magnitude(sequences.negative) / positive * 100.0F : 0.0F;
}

void store_jump(float jump, float& positive, float& negative) {
  positive = jump >= 0 ? jump : 0.0F;
  negative = jump >= 0 ? 0.0F : jump;
}

float change_between(const dq_data& data, int from, int to) {
  return std::fabs(minimum_at(data, from) - minimum_at(data, to));
}

void measure_voltage_change(dq_data& data, dq_dipx_struct& dipx, int from, int to) {
  const int begin = std::min(from, +DQ_RECORD_CAPACITY);
  const auto length = static_cast<unsigned>(std::min(to, +DQ_RECORD_CAPACITY) - begin);
  const auto rate = static_cast<unsigned>(dipx.smprate);
  dipx.Voltagechange_Va = voltagechange(data.rms_ua + begin, length, rate);
  dipx.Voltagechange_Vb = voltagechange(data.rms_ub + begin, length, rate);
  dipx.Voltagechange_Vc = voltagechange(data.rms_uc + begin, length, rate);
}

}  // namespace sagx
