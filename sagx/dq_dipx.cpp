// Defines the working records and the one operation that concerns a record alone.
#include "sagx/dq_dipx.h"

#include <algorithm>

// Hosts share these records byte for byte, so their layout is checked here.
static_assert(sizeof(int) == 4 && sizeof(float) == 4 && sizeof(vec_struct) == 8);

static_assert(offsetof(dq_dipx_rms, rmsa) == 4UL * 4 * DQ_RECORD_CAPACITY);
static_assert(offsetof(dq_dipx_rms, ua_max) == 4UL * 7 * DQ_RECORD_CAPACITY);
static_assert(offsetof(dq_dipx_rms, smp_num) == 4UL * (7 * DQ_RECORD_CAPACITY + 3));
static_assert(offsetof(dq_dipx_rms, T0) == 4UL * (7 * DQ_RECORD_CAPACITY + 8));
static_assert(offsetof(dq_dipx_rms, evt_num) == 4UL * (7 * DQ_RECORD_CAPACITY + 68));
static_assert(sizeof(dq_dipx_rms) == 10752276);

static_assert(offsetof(dq_data, upd) == 4UL * 8 * DQ_RECORD_CAPACITY);
static_assert(offsetof(dq_data, eroder) == offsetof(dq_data, upd) + 4UL * 4 * DQ_WINDOW_CAPACITY);
static_assert(offsetof(dq_data, A) == offsetof(dq_data, eroder) + 4UL * 7 * DQ_FILTER_CAPACITY);
static_assert(offsetof(dq_data, ua) == offsetof(dq_data, A) + 4UL * (DQ_FILTER_ROWS + 1) * DQ_FILTER_CAPACITY);
static_assert(offsetof(dq_data, hold_time) == offsetof(dq_data, ua) + 4UL * 12 * DQ_WINDOW_CAPACITY);
static_assert(offsetof(dq_data, feasvd_a) == offsetof(dq_data, hold_time) + 4UL * (1 + 3 * DQ_WINDOW_CAPACITY));
static_assert(offsetof(dq_data, num) == offsetof(dq_data, feasvd_a) + 4UL * 3 * DQ_RECORD_CAPACITY);
static_assert(sizeof(dq_data) == 60580460);

static_assert(offsetof(dq_dipx_struct, un) == 4UL * 67);
static_assert(offsetof(dq_dipx_struct, Trms_num) == 4UL * 138);
static_assert(offsetof(dq_dipx_struct, T_rms_num) == 4UL * 203);
static_assert(offsetof(dq_dipx_struct, T_num) == 4UL * 464);
static_assert(offsetof(dq_dipx_struct, u_min_num) == 4UL * 721);
static_assert(offsetof(dq_dipx_struct, hold_time_dq) == 4UL * 725);
static_assert(offsetof(dq_dipx_struct, dipx_cata) == 4UL * 1303);
static_assert(sizeof(dq_dipx_struct) == 4UL * (1303 + DQ_WINDOW_CAPACITY + 34));

static_assert(offsetof(feasvd_data, feasvd_max) == 4UL * DQ_RECORD_CAPACITY);
static_assert(sizeof(feasvd_data) == 4UL * (DQ_RECORD_CAPACITY + 24));

dq_data* dq_data_buf = nullptr;
dq_dipx_rms* dq_rms_buf = nullptr;
dq_dipx_struct new_dipx_buf[DQ_LIST_CAPACITY];
dq_dipx_struct qd_dipx_buf;
feasvd_data feasvd_buf;

void clear_segdid_buf(dq_data* data) {
  if (data == nullptr) return;
  for (auto* magnitude : {data->ua0, data->ub0, data->uc0}) std::fill_n(magnitude, +DQ_WINDOW_CAPACITY, 0.0F);
  for (auto* feature : {data->feasvd_a, data->feasvd_b, data->feasvd_c}) {
    std::fill_n(feature, +DQ_RECORD_CAPACITY, 0.0F);
  }
  std::fill_n(data->u, +DQ_RECORD_CAPACITY, 0.0F);
}
