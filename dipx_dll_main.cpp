// The host's side of the library: its two interfaces (a host record, or sample arrays), the copying of results into the
// host record, and the report file. The analysis itself is in the driver.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "dipx_dll.h"
#include "platform/default_environment.h"
#include "sagx/dq_dipx.h"
#include "sagx/gbk_text.h"
#include "sagx/mms_time.h"
#include "sagx/report_lines.h"
#include "sagx/signal_acquisition.h"

using sagx::gbk;

int dipx_fun_use_time = 0;

namespace {

/// Copies the first `count` entries of a list, limited to the lengths of the working record's list and of the host's.
template <typename Value, std::size_t From, std::size_t To>
void copy_list(const Value (&from)[From], int count, Value (&to)[To]) {
  std::copy_n(from, std::clamp(count, 0, static_cast<int>(std::min(From, To))), to);
}

void copy_dip(const dq_dipx_struct& dip, dipx_event_record& event) {
  const int segments = event.u_min_num = dip.u_min_num;
  copy_list(dip.ua_min, segments, event.ua_min);
  copy_list(dip.ub_min, segments, event.ub_min);
  copy_list(dip.uc_min, segments, event.uc_min);
  copy_list(dip.u3_min, segments, event.u3_min);
  copy_list(dip.order_min, segments, event.order_min_idx);
  event.hold_time_rms = dip.hold_time_rms;
  event.hold_time_dq = dip.hold_time_dq;
  event.Voltagechange_Va = dip.Voltagechange_Va;
  event.Voltagechange_Vb = dip.Voltagechange_Vb;
  event.Voltagechange_Vc = dip.Voltagechange_Vc;
  // The names are crossed on purpose: "phase type" is the number of phases, and "type" is the category.
  copy_list(dip.dipx_type, segments, event.dipx_phasetype);
  copy_list(dip.dipx_cata_seg, segments, event.dipx_cata_type);
  copy_list(dip.bph_max_value, segments, event.bph_max_value);
  copy_list(dip.angle_diff_ap, segments, event.angle_diff_ap);
  copy_list(dip.angle_diff_bp, segments, event.angle_diff_bp);
  copy_list(dip.angle_diff_cp, segments, event.angle_diff_cp);
  copy_list(dip.angle_diff_an, segments, event.angle_diff_an);
  copy_list(dip.angle_diff_bn, segments, event.angle_diff_bn);
  copy_list(dip.angle_diff_cn, segments, event.angle_diff_cn);
  event.POW_a = dip.POW_a;
  event.POW_b = dip.POW_b;
  event.POW_c = dip.POW_c;
  event.SEG_T_num = dip.T_num;
  copy_list(dip.T, dip.T_num, event.SEG_T_idx);
  copy_list(dip.T0, dip.T_num, event.SEG_T0_idx);
  event.SEG_RMS_T_num = dip.T_rms_num;
  copy_list(dip.T_rms, dip.T_rms_num, event.SEG_RMS_T_idx);
}

/// Returns the RMS over the record's first cycle.
float first_cycle_rms(const float* samples, int smp) {
  float sum = 0;
  for (int j = 0; j < std::min(smp, +DIPX_SAMPLE_CAPACITY); j++) sum += samples[j] * samples[j];
  return static_cast<float>(std::sqrt(static_cast<double>(sum / static_cast<float>(smp))));
}

/// A phase's letter and the value that the report prints for it.
template <typename Value>
struct PhaseValue {
  char letter;
  Value value;
};

using PhaseScalar = PhaseValue<float>;
using PhaseList = PhaseValue<const float*>;

void print_event(std::FILE* report, int number, const dipx_event_record& event) {
  const int segments = std::min(event.u_min_num, +DIPX_SEGMENT_CAPACITY);
  std::fprintf(report, "%s%d%s:\r\n", gbk<"事件">, number, gbk<"信息">);
  for (int j = 0; j < segments; j++) {
    for (const auto& [phase, residual] : {PhaseList{'A', event.ua_min}, {'B', event.ub_min}, {'C', event.uc_min}}) {
      std::fprintf(report, "    %c%s%d=%0.4f\r\n", phase, gbk<"相电压特征值">, j + 1, static_cast<double>(residual[j]));
    }
  }
  // The value is in seconds although its label is "ms"; this is the established form of the report.
  std::fprintf(report, "    %s=%0.4fms\r\n", gbk<"持续时间">, static_cast<double>(event.hold_time_dq));
  for (int j = 0; j < segments; j++) {
    std::fprintf(report, "    %s%d=%d\r\n", gbk<"暂降相别">, j + 1, event.dipx_phasetype[j]);
    std::fprintf(report, "    %s%d=%d\r\n", gbk<"暂降类型">, j + 1, event.dipx_cata_type[j]);
  }
  for (int j = 0; j < segments; j++) {
    std::fprintf(report, "    %s%d=%.3f\r\n", gbk<"电压不平衡">, j + 1, static_cast<double>(event.bph_max_value[j]));
  }
  for (int j = 0; j < segments; j++) {
    for (const auto& [phase, jump] :
         {PhaseList{'A', event.angle_diff_ap}, {'B', event.angle_diff_bp}, {'C', event.angle_diff_cp}}) {
      std::fprintf(report, "    %c%s%d=%0.4f\r\n", phase, gbk<"相正相位跳变">, j + 1, static_cast<double>(jump[j]));
    }
    for (const auto& [phase, jump] :
         {PhaseList{'A', event.angle_diff_an}, {'B', event.angle_diff_bn}, {'C', event.angle_diff_cn}}) {
      std::fprintf(report, "    %c%s%d=%0.4f\r\n", phase, gbk<"相负相位跳变">, j + 1, static_cast<double>(jump[j]));
    }
  }
  for (int j = 0; j < std::min(event.SEG_T_num, +DIPX_SEGMENT_CAPACITY); j++) {
    std::fprintf(report, "    %s%d%s=%d\r\n", gbk<"分段">, j + 1, gbk<"位置">, event.SEG_T_idx[j]);
  }
  for (int j = 0; j < std::min(event.SEG_RMS_T_num, +DIPX_SEGMENT_CAPACITY); j++) {
    std::fprintf(report, "    %s%d%s=%d\r\n", gbk<"有效值分段">, j + 1, gbk<"位置">, event.SEG_RMS_T_idx[j]);
  }
  for (const auto& [phase, degrees] : {PhaseScalar{'A', event.POW_a}, {'B', event.POW_b}, {'C', event.POW_c}}) {
    std::fprintf(report, "    %c%s=%0.4f%s\r\n", phase, gbk<"相波形起始点">, static_cast<double>(degrees), gbk<"度">);
  }
  for (const auto& [phase, rate] :
       {PhaseScalar{'A', event.Voltagechange_Va}, {'B', event.Voltagechange_Vb}, {'C', event.Voltagechange_Vc}}) {
    std::fprintf(report, "    %c%s=%0.4f\r\n", phase, gbk<"相电压变化率">, static_cast<double>(rate));
  }
}

/// Releases those working records that exist.
void free_working_records() {
  std::free(dq_data_buf);
  dq_data_buf = nullptr;
  std::free(dq_rms_buf);
  dq_rms_buf = nullptr;
}

/// A placeholder for work that could be done as soon as the samples are known; it does nothing yet.
void sagx_precalc_if_needed() {}

}  // namespace

void dipx_fun(void* data) {
  platform::in_default_environment([&] {
    if (data == nullptr) return;
    auto* record = static_cast<dipx_data_struct*>(data);
    dipx_fun_use_time = mms_get_ms_time();
    // The number printed is the bit pattern of the first sample, not a run counter; this quirk of the trace is kept.
    int first_word = 0;
    std::memcpy(&first_word, record, sizeof first_word);
    std::printf("dipx fun run(%d)...\r\n", first_word);

    sample_input_number = record->smp_len;
    sample_input_smprate = record->smp_rate;
    psample_input_va = record->smp_va;
    psample_input_vb = record->smp_vb;
    psample_input_vc = record->smp_vc;
    record->evt_num = 0;
    std::printf("sample_input_smprate=%d\r\n", sample_input_smprate);
    dipx_new_pro(record);

    // Every pair of boundaries counts, including those of dips that were skipped. After refused input this is the
    // previous run's count; if the record could not be allocated, the count is 0.
    const int events = dq_rms_buf == nullptr ? 0 : dq_rms_buf->evt_num / 2;
    record->evt_num = events;
    for (int i = 0; i < std::min(events, +DIPX_EVENT_CAPACITY); i++) copy_dip(new_dipx_buf[i], record->evt_buf[i]);

    const auto elapsed = static_cast<unsigned>(mms_get_ms_time()) - static_cast<unsigned>(dipx_fun_use_time);
    dipx_fun_use_time = static_cast<int>(elapsed);
    print_to_txt(record);
  });
}

void print_to_txt(dipx_data_struct* dipx) {
  platform::in_default_environment([&] {
    if (dipx == nullptr) return;
    const auto close = [](std::FILE* file) { std::fclose(file); };
    const std::unique_ptr<std::FILE, decltype(close)> file(std::fopen("dipx_result.txt", "wb"));
    if (!file) return;
    std::FILE* report = file.get();

    std::fprintf(report, "%s = %d\r\n", gbk<"波形采样速率">, dipx->smp_rate);
    std::fprintf(report, "%s = %d\r\n", gbk<"波形数据个数">, dipx->smp_len);
    std::fprintf(report, "%s = %dms\r\n", gbk<"事件分析耗时">, dipx_fun_use_time);
    std::fprintf(report, "%sua=%.4f ub=%.4f uc=%.4f\r\n", gbk<"事件前">,
                 static_cast<double>(first_cycle_rms(dipx->smp_va, dipx->smp_rate)),
                 static_cast<double>(first_cycle_rms(dipx->smp_vb, dipx->smp_rate)),
                 static_cast<double>(first_cycle_rms(dipx->smp_vc, dipx->smp_rate)));
    std::fprintf(report, "%s = %d\r\n", gbk<"暂降事件个数">, dipx->evt_num);
    const int events = std::min(dipx->evt_num, +DIPX_EVENT_CAPACITY);
    for (int i = 0; i < events; i++) print_event(report, i + 1, dipx->evt_buf[i]);
  });
}

int sagx::report_lines(const dipx_data_struct& record) {
  constexpr int header = 5;
  constexpr int per_event = 8;     // its number, the duration, three points on wave, three rates of change
  constexpr int per_segment = 12;  // three residual voltages, phases, category, unbalance, six phase jumps
  const auto listed = [](int count) { return std::clamp(count, 0, +DIPX_SEGMENT_CAPACITY); };
  int lines = header;
  for (int i = 0; i < std::min(record.evt_num, +DIPX_EVENT_CAPACITY); i++) {
    const dipx_event_record& event = record.evt_buf[i];
    lines += per_event + per_segment * listed(event.u_min_num) + listed(event.SEG_T_num) + listed(event.SEG_RMS_T_num);
  }
  return lines;
}

void dipx_new_pro(dipx_data_struct* dipx_data) {
  dq_dipx_new(dipx_data);
}

void sagx_init_from_samples(const float* va, const float* vb, const float* vc, int smp_rate, int smp_len) {
  if (va == nullptr || vb == nullptr || vc == nullptr || smp_rate < 1 || smp_len < 1) {
    std::fprintf(stderr, "[FATAL] sagx_init_from_samples: bad args va=%p vb=%p vc=%p rate=%d len=%d\n",
                 static_cast<const void*>(va), static_cast<const void*>(vb), static_cast<const void*>(vc), smp_rate,
                 smp_len);
    return;
  }
  sample_input_smprate = smp_rate;
  sample_input_number = smp_len;
  // The analysis only reads the samples.
  psample_input_va = const_cast<float*>(va);
  psample_input_vb = const_cast<float*>(vb);
  psample_input_vc = const_cast<float*>(vc);

  free_working_records();
  dq_data_buf = static_cast<dq_data*>(std::calloc(1, sizeof(dq_data)));
  dq_rms_buf = static_cast<dq_dipx_rms*>(std::calloc(1, sizeof(dq_dipx_rms)));
  if (dq_data_buf == nullptr || dq_rms_buf == nullptr) {
    std::fprintf(stderr, "[FATAL] sagx_init_from_samples: alloc failed dq_data_buf=%p dq_rms_buf=%p\n",
                 static_cast<void*>(dq_data_buf), static_cast<void*>(dq_rms_buf));
    free_working_records();
    return;
  }
  dq_rms_buf->smprate = smp_rate;
  dq_rms_buf->smp_num = smp_len;
  const int samples = std::min(smp_len, +DQ_RECORD_CAPACITY);
  std::copy_n(va, samples, dq_rms_buf->va);
  std::copy_n(vb, samples, dq_rms_buf->vb);
  std::copy_n(vc, samples, dq_rms_buf->vc);
  sagx_precalc_if_needed();
  std::fprintf(stderr, "[SAGX] init ok: rate=%d len=%d | dq_data_buf=%p dq_rms_buf=%p va=%p vb=%p vc=%p\n",
               sample_input_smprate, sample_input_number, static_cast<void*>(dq_data_buf),
               static_cast<void*>(dq_rms_buf), static_cast<void*>(dq_rms_buf->va), static_cast<void*>(dq_rms_buf->vb),
               static_cast<void*>(dq_rms_buf->vc));
}

void sagx_free_all(void) {
  free_working_records();
  sample_input_smprate = 0;
  sample_input_number = 0;
  psample_input_va = nullptr;
  psample_input_vb = nullptr;
  psample_input_vc = nullptr;
  std::fputs("[SAGX] free all\n", stderr);
}
