#include "tests/plain/dq_segment_feature.h"

#include <cmath>

#include "sagx/dipx_lib.h"
#include "sagx/dq_delay.h"
#include "sagx/dqdelay_POW.h"
#include "tests/plain/median.h"
#include "tests/plain/svd_feature.h"

namespace plain {

namespace {

float magnitude_of(const vec_struct& phasor) {
  const float square = phasor.r * phasor.r + phasor.x * phasor.x;
  return static_cast<float>(std::sqrt(static_cast<double>(square)));
}

struct Stretch {
  int pos;
  int len;
};

/// Returns the section from half a cycle before boundary a to half a cycle after boundary b.
Stretch stretch_of(int a, int b, int dq_len) {
  Stretch stretch{a - dq_len, 2 * dq_len + (b - a)};
  if (stretch.pos < 0) stretch.pos = 0;
  if (stretch.len > DQ_WINDOW_CAPACITY) stretch.len = DQ_WINDOW_CAPACITY;
  return stretch;
}

void transform(dq_data* data, const dq_dipx_struct* dipx, const Stretch& stretch) {
  const int sample = static_cast<int>(data->smp);
  float* t = data->t + stretch.pos;
  dq_delay(data->Va + stretch.pos, t, sample, stretch.len, dipx->f, data->ua, data->angle_a, data->vec_ua);
  dq_delay(data->Vb + stretch.pos, t, sample, stretch.len, dipx->f, data->ub, data->angle_b, data->vec_ub);
  dq_delay(data->Vc + stretch.pos, t, sample, stretch.len, dipx->f, data->uc, data->angle_c, data->vec_uc);
}

void pad(dq_data* data, int len) {
  const int L = static_cast<int>(data->smp) / 4 + 1;
  const auto win = static_cast<int>((L * 3) / 2 + 0.5);
  float* const arrays[] = {data->ua, data->ub, data->uc, data->angle_a, data->angle_b, data->angle_c};
  for (float* values : arrays) {
    for (int i = 0; i < win; i++) values[i] = values[win];
    for (int i = len - win; i < len; i++) values[i] = values[len - win];
  }
}

void segment(dq_data* data, const dq_dipx_struct* dipx, int len, int* T, int* count) {
  pad(data, len);
  data->num = static_cast<unsigned>(len);
  clear_segdid_buf(data);
  SVDsegment_multiclass2(data, dipx, T, count);
}

bool changes(const dq_data* data, const dq_dipx_struct* dipx, int j) {
  const float dua = std::fabs(data->ua[j] - data->ua[j - 1]);
  const float dub = std::fabs(data->ub[j] - data->ub[j - 1]);
  const float duc = std::fabs(data->uc[j] - data->uc[j - 1]);
  float most = dua;
  if (dub > most) most = dub;
  if (duc > most) most = duc;
  return static_cast<double>(most) > 0.01 * static_cast<double>(dipx->un);
}

struct Phases {
  int type;
  int mask;
};

Phases low_phases(float a, float b, float c, float ut) {
  Phases low{0, 0};
  if (a < ut) {
    low.type += 1;
    low.mask |= 1;
  }
  if (b < ut) {
    low.type += 1;
    low.mask |= 2;
  }
  if (c < ut) {
    low.type += 1;
    low.mask |= 4;
  }
  return low;
}

void jump(float angle, float before, float* positive, float* negative) {
  const float angle_diff = angle - before;
  if (angle_diff >= 0) {
    *positive = angle_diff;
    *negative = 0;
  } else {
    *positive = 0;
    *negative = angle_diff;
  }
}

}  // namespace

void SVDsegment_multiclass2(dq_data* buf, const dq_dipx_struct* dipx, int* T0, int* T0num) {
  const auto S = static_cast<float>(static_cast<double>(dipx->un) * 0.01);
  const int sample = static_cast<int>(buf->smp);
  const int n = static_cast<int>(buf->num);
  for (int i = 0; i < n; i++) {
    buf->ua0[i] = buf->ua[i];
    buf->ub0[i] = buf->ub[i];
    buf->uc0[i] = buf->uc[i];
  }
  for (int i = 0; i < n; i++) {
    float lowest = buf->ua0[i];
    if (buf->ub0[i] < lowest) lowest = buf->ub0[i];
    if (buf->uc0[i] < lowest) lowest = buf->uc0[i];
    buf->u[i] = lowest;
  }
  const int h = sample / 4;
  for (int i = h; i < n - h; i++) {
    buf->ua[i] = median(buf->ua0 + (i - h), sample / 2 + 1);
    buf->ub[i] = median(buf->ub0 + (i - h), sample / 2 + 1);
    buf->uc[i] = median(buf->uc0 + (i - h), sample / 2 + 1);
  }

  const auto matlen = static_cast<int>(std::sqrt(sample / 2.0) + 0.5);
  const int winlen = matlen * matlen;
  for (int i = winlen; i < n; i++) buf->feasvd_a[i] = svd_feature(buf->ua, i, matlen);
  for (int i = winlen; i < n; i++) buf->feasvd_b[i] = svd_feature(buf->ub, i, matlen);
  for (int i = winlen; i < n; i++) buf->feasvd_c[i] = svd_feature(buf->uc, i, matlen);
  for (int i = 0; i < winlen; i++) {
    buf->feasvd_a[i] = buf->feasvd_a[winlen];
    buf->feasvd_b[i] = buf->feasvd_b[winlen];
    buf->feasvd_c[i] = buf->feasvd_c[winlen];
  }

  const auto strongest = [&](int i) {
    float largest = buf->feasvd_a[i];
    if (buf->feasvd_b[i] > largest) largest = buf->feasvd_b[i];
    if (buf->feasvd_c[i] > largest) largest = buf->feasvd_c[i];
    return largest;
  };
  int T_num = 0;
  float before = strongest(0);
  for (int i = 1; i < n; i++) {
    const float now = strongest(i);
    if (now >= S && before < S) {
      T0[T_num++] = i - 1;
      if (T_num > 31) break;
    }
    if (now < S && before >= S) {
      T0[T_num++] = i;
      if (T_num > 31) break;
    }
    before = now;
  }
  *T0num = T_num;
}

void dq_segment_feature(dq_data* data, dq_dipx_struct* dipx) {
  const int sample = static_cast<int>(data->smp);
  const int dq_len = sample / 2;
  int Tstart[32] = {};
  int Tstartnum = 0;
  int Tend[32] = {};
  int Tendnum = 0;
  int T0[32] = {};
  int T0_num = 0;
  int Tmiddle[32] = {};
  int mid_num = 0;
  int T_new[32] = {};
  int Tnew_num = 0;
  if (seg_check(dipx->Trms, dipx->Trms_num) != 0) return;
  const int* Trms = dipx->Trms;

  // This is the start transition. It is judged by the end transition's count, which is still 0.
  Stretch at = stretch_of(Trms[0], Trms[1], dq_len);
  transform(data, dipx, at);
  dqdelay_POW(data->ua, data->ub, data->uc, data->angle_a, data->angle_b, data->angle_c, data->t, dipx, dipx->un,
              static_cast<unsigned>(at.len));
  vec_struct phasor_up0{};
  seq_cal(&data->vec_ua[0], &data->vec_ub[0], &data->vec_uc[0], &phasor_up0);
  segment(data, dipx, at.len, Tstart, &Tstartnum);
  if (Tendnum < 2 || Tstart[0] == Tstart[1]) {
    Tstart[0] = dq_len;
    Tstart[1] = dq_len + (Trms[1] - Trms[0]);
  }
  for (int j = Tstart[1]; j >= Tstart[0] + 1; j--) {
    if (changes(data, dipx, j)) {
      Tstart[1] = j;
      break;
    }
  }
  const float angle_a_1 = data->angle_a[sample / 2];
  const float angle_b_1 = data->angle_b[sample / 2];
  const float angle_c_1 = data->angle_c[sample / 2];

  const int Trms_num = dipx->Trms_num;
  if (Trms_num >= 4) {
    at = stretch_of(Trms[Trms_num - 2], Trms[Trms_num - 1], dq_len);
    transform(data, dipx, at);
    segment(data, dipx, at.len, Tend, &Tendnum);
    if (Tendnum < 2 || Tend[0] == Tend[1]) {
      Tend[0] = dq_len;
      Tend[1] = dq_len + (Trms[Trms_num - 1] - Trms[Trms_num - 2]);
    }
    for (int j = Tend[0] < 1 ? 1 : Tend[0]; j <= Tend[1] - 1; j++) {
      if (changes(data, dipx, j)) {
        Tend[0] = j - 1;
        break;
      }
    }
  }
  if (Trms_num == 3) {
    at = stretch_of(Trms[2], Trms[2], dq_len);
    transform(data, dipx, at);
    pad(data, at.len);
    for (int i = 0; i < at.len; i++) {
      float lowest = data->ua[i];
      if (data->ub[i] < lowest) lowest = data->ub[i];
      if (data->uc[i] < lowest) lowest = data->uc[i];
      data->u[i] = lowest;
    }
    for (int i = 1; i <= at.len - 2; i++) {
      if (data->u[i] < dipx->ut && data->u[i + 1] >= dipx->ut) {
        Tend[0] = Tend[1] = i;
        break;
      }
    }
  }
  if (Trms_num >= 5) {
    for (int i = 2; i < Trms_num - 2; i += 2) {
      at = stretch_of(Trms[i], Trms[i + 1], dq_len);
      transform(data, dipx, at);
      segment(data, dipx, at.len, T0, &T0_num);
      const int mid_num1 = mid_num++;
      const int mid_num2 = mid_num++;
      if (T0_num < 2 || T0[0] == T0[1]) {
        Tmiddle[mid_num1] = dq_len;
        Tmiddle[mid_num2] = dq_len + (Trms[i + 1] - Trms[i]);
        continue;
      }
      Tmiddle[mid_num1] = T0[0];
      Tmiddle[mid_num2] = T0[1];
      for (int j = T0[0] < 1 ? 1 : T0[0]; j <= T0[1] - 1; j++) {
        if (changes(data, dipx, j)) {
          Tmiddle[mid_num1] = j - 1;
          break;
        }
      }
      for (int j = T0[1]; j >= T0[0] + 1; j--) {
        if (changes(data, dipx, j)) {
          Tmiddle[mid_num2] = j;
          break;
        }
      }
    }
  }

  T_new[Tnew_num++] = Tstart[0];
  T_new[Tnew_num++] = Tstart[1];
  if (Trms_num >= 5) {
    for (int i = 0; i < mid_num; i++) T_new[Tnew_num++] = Tmiddle[i];
  }
  T_new[Tnew_num++] = Tend[0];
  if (Trms_num != 3) T_new[Tnew_num++] = Tend[1];

  if (Trms_num == 3) {
    for (int i = 0; i < 3; i++) T_new[i] += Trms[i] - dq_len;
  } else {
    for (int i = 0; i < Trms_num; i += 2) {
      T_new[i] += Trms[i] - dq_len;
      T_new[i + 1] += Trms[i] - dq_len;
    }
  }
  for (int i = 0; i < Tnew_num; i++) dipx->T[i] = T_new[i];
  dipx->T_num = Tnew_num;
  if (seg_check(dipx->T, dipx->T_num) != 0) return;

  const int* T = dipx->T;
  for (int i = 0; i < dipx->min_num; i++) {
    int& reference = dipx->order_min[i];
    if (reference < T[2 * i + 1] || reference > T[2 * i + 2]) {
      reference = static_cast<int>((T[2 * i] + T[2 * i + 1]) / 2.0 + 0.5);
    }
  }
  for (int i = 0; i < dipx->min_num; i++) {
    const int middle = 3 * sample;
    at = {dipx->order_min[i] - middle, 6 * sample};
    if (at.pos < 0) at.pos = 0;
    transform(data, dipx, at);
    dipx->ua_min[i] = data->ua[middle];
    dipx->ub_min[i] = data->ub[middle];
    dipx->uc_min[i] = data->uc[middle];
    dipx->angle_a_min[i] = data->angle_a[middle];
    dipx->angle_b_min[i] = data->angle_b[middle];
    dipx->angle_c_min[i] = data->angle_c[middle];
    dipx->phasor_ua[i] = data->vec_ua[middle];
    dipx->phasor_ub[i] = data->vec_ub[middle];
    dipx->phasor_uc[i] = data->vec_uc[middle];
    dipx->u3_min[i] = dipx->ua_min[i];
    if (dipx->ub_min[i] < dipx->u3_min[i]) dipx->u3_min[i] = dipx->ub_min[i];
    if (dipx->uc_min[i] < dipx->u3_min[i]) dipx->u3_min[i] = dipx->uc_min[i];
    const Phases low = low_phases(dipx->ua_min[i], dipx->ub_min[i], dipx->uc_min[i], dipx->ut);
    dipx->dipx_type[i] = low.type;
    dipx->dipx_phase[i] = low.mask;

    vec_struct phasor_up{};
    vec_struct phasor_un{};
    vec_struct phasor_u0{};
    seq_cal(&dipx->phasor_ua[i], &dipx->phasor_ub[i], &dipx->phasor_uc[i], &phasor_up);
    seq_cal(&dipx->phasor_ua[i], &dipx->phasor_uc[i], &dipx->phasor_ub[i], &phasor_un);
    const float up = magnitude_of(phasor_up);
    dipx->bph_max_value[i] = 0;
    if (static_cast<double>(up) > 1.0) dipx->bph_max_value[i] = (magnitude_of(phasor_un) / up) * 100.0F;
    jump(dipx->angle_a_min[i], angle_a_1, &dipx->angle_diff_ap[i], &dipx->angle_diff_an[i]);
    jump(dipx->angle_b_min[i], angle_b_1, &dipx->angle_diff_bp[i], &dipx->angle_diff_bn[i]);
    jump(dipx->angle_c_min[i], angle_c_1, &dipx->angle_diff_cp[i], &dipx->angle_diff_cn[i]);

    int num1 = dipx->order_min[i] - T[2 * i + 1];
    if (num1 > sample) num1 = sample;
    const int start_pos = middle - num1;
    int num2 = T[2 * i + 2] - dipx->order_min[i];
    if (num2 > sample) num2 = sample;
    int type_num[10] = {};
    for (int k = start_pos; k < start_pos + num1 + num2; k++) {
      const Phases here = low_phases(data->ua[k], data->ub[k], data->uc[k], dipx->ut);
      seq_cal(&data->vec_ua[k], &data->vec_ub[k], &data->vec_uc[k], &phasor_up);
      seq_cal(&data->vec_ua[k], &data->vec_uc[k], &data->vec_ub[k], &phasor_un);
      seq0_cal(&data->vec_ua[k], &data->vec_ub[k], &data->vec_uc[k], &phasor_u0);
      const int category = symmetrical_components_dq(&phasor_up0, &phasor_up, &phasor_un, magnitude_of(phasor_un),
                                                     magnitude_of(phasor_u0), dipx->un, here.type, here.mask);
      if (category <= 9) type_num[category]++;
    }
    int num0 = 10;
    int max_type_num = 0;
    for (int j = 0; j < 10; j++) {
      if (type_num[j] > max_type_num) {
        max_type_num = type_num[j];
        num0 = j;
      }
    }
    dipx->dipx_cata_seg[i] = num0;
  }
}

}  // namespace plain
