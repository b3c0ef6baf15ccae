// The driver, which takes one record from samples to analysed dips. It checks and copies the input, has the nominal
// voltage and the dip boundaries determined, cuts a window around each dip, rejects dips that cannot be measured, and
// converts the results back to record positions. The host learns of this only through printed lines; last_outcome keeps
// the same information for the command and the tests.
#include "sagx/signal_acquisition.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "platform/default_environment.h"
#include "sagx/RMS_segment_feature.h"
#include "sagx/Vrms.h"
#include "sagx/boundary_list.h"
#include "sagx/clear_results.h"
#include "sagx/dip_window.h"
#include "sagx/dipx_lib.h"
#include "sagx/dipx_outcome.h"
#include "sagx/dq_dipx.h"
#include "sagx/dq_segment_feature.h"
#include "sagx/dq_segment_feature_multiclass.h"

using sagx::DipOutcome;
using sagx::RunOutcome;
using sagx::Window;

int sample_input_number = 0;
int sample_input_smprate = 0;
float* psample_input_va = nullptr;
float* psample_input_vb = nullptr;
float* psample_input_vc = nullptr;

sagx::Outcome sagx::last_outcome;

namespace {

constexpr float cal_fn = 50.0F;  // nominal frequency, hertz

/// Makes sure that `record` exists. It is not cleared here: a fresh large block is already zero without having been
/// touched, so the parts that a run does not need take up no memory.
template <typename Record>
bool provide(Record*& record, const char* name) {
  if (record != nullptr) {
    std::printf("[ALLOC] %s reused: %p\r\n", name, static_cast<void*>(record));
    return true;
  }
  record = static_cast<Record*>(std::calloc(1, sizeof(Record)));
  if (record == nullptr) {
    std::fprintf(stderr, "[ALLOC][FATAL] %s calloc(%zu) failed: errno=%d, %s\r\n", name, sizeof(Record), errno,
                 std::strerror(errno));
    return false;
  }
  std::printf("[ALLOC] %s ok: %p\r\n", name, static_cast<void*>(record));
  return true;
}

bool provide_working_records() {
  std::printf("[ALLOC] sizeof(dq_data)=%zu bytes, sizeof(dq_dipx_rms)=%zu bytes\r\n", sizeof(dq_data),
              sizeof(dq_dipx_rms));
  if (!provide(dq_data_buf, "dq_data_buf")) return false;
  if (provide(dq_rms_buf, "dq_rms_buf")) return true;
  std::free(dq_data_buf);
  dq_data_buf = nullptr;
  return false;
}

/// The host's settings, read once for the whole run.
struct Input {
  int smp;  ///< samples per cycle
  int n;    ///< samples per phase
  const float* va;
  const float* vb;
  const float* vc;
};

Input input_that_is_set() {
  return {sample_input_smprate, sample_input_number, psample_input_va, psample_input_vb, psample_input_vc};
}

/// Checks whether the analysis accepts the rate and the length.
RunOutcome check_limits(const Input& input) {
  if (input.smp > 128 || input.smp < 32) {
    std::puts("采样率越限\r");
    return RunOutcome::rate_out_of_range;
  }
  if (input.n > DQ_RECORD_CAPACITY) {
    std::puts("sample_input_number1数据个数越限\r");
    return RunOutcome::too_many_samples;
  }
  if (input.smp * sagx::longest_record_cycles < input.n) {
    std::puts("sample_input_number2数据个数越限\r");
    return RunOutcome::too_many_cycles;
  }
  return RunOutcome::searched;
}

void copy_samples(dq_dipx_rms& record, const Input& input) {
  if (input.n < 1) return;
  std::copy_n(input.va, input.n, record.va);
  std::copy_n(input.vb, input.n, record.vb);
  std::copy_n(input.vc, input.n, record.vc);
  const double step = 0.02 / input.smp;
  for (int i = 0; i < input.n; i++) record.t[i] = static_cast<float>(i * step);
}

/// Copies the input into the whole-record record if it fits.
RunOutcome take_samples(dq_dipx_rms& record, const Input& input) {
  const auto& [smp, n, va, vb, vc] = input;
  const bool missing = va == nullptr || vb == nullptr || vc == nullptr;
  if (missing && n > 0) return RunOutcome::no_samples;
  copy_samples(record, input);
  std::printf("[GUARD] smp=%d, n=%d, need(n>=2*smp)=%d\n", smp, n, 2 * smp);
  std::printf("[GUARD] rms_buf=%p ua=%p ub=%p uc=%p\n", static_cast<void*>(&record), static_cast<void*>(record.va),
              static_cast<void*>(record.vb), static_cast<void*>(record.vc));
  if (smp < 1 || n < 2 * smp) {
    std::fprintf(stderr, "[GUARD][FATAL] bad params: smp=%d n=%d (need n>=2*smp)\n", smp, n);
    return RunOutcome::too_few_samples;
  }
  std::printf("[DBG] ua[0]=%.6f ua[%d]=%.6f | ub[0]=%.6f | uc[0]=%.6f\n", static_cast<double>(record.va[0]), smp - 1,
              static_cast<double>(record.va[smp - 1]), static_cast<double>(record.vb[0]),
              static_cast<double>(record.vc[0]));
  return RunOutcome::searched;
}

/// Returns the estimate of the nominal voltage, or a substitute if it is implausible. The substitutes are deliberately
/// not the bounds themselves: 57.74 V replaces levels below 50 V, and 220 V replaces levels above 400 V.
float nominal_voltage(const dq_dipx_rms& record, const Input& input) {
  float un = 0;
  dipx_cal_un(record.va, record.vb, record.vc, input.smp, input.n, &un);
  if (un < sagx::lowest_plausible_voltage) un = static_cast<float>(57.74);
  if (un > sagx::highest_plausible_voltage) un = 220.0F;
  return un;
}

/// The boundaries of a record that does not begin in a steady state cannot be paired into dips.
bool starts_disturbed(const dq_dipx_rms& record) {
  const double low = 0.9 * record.un;
  const double high = 1.1 * record.un;
  const auto off = [=](float rms) { return rms < low || rms > high; };
  int disturbed = 0;
  for (int i = 0; i < 2 * record.smprate; i++) {
    if (off(record.rmsa[i]) || off(record.rmsb[i]) || off(record.rmsc[i])) disturbed++;
  }
  return disturbed >= record.smprate / 4;
}

RunOutcome search_boundaries(const Input& input) {
  if (!provide_working_records()) return RunOutcome::no_memory;
  sagx::clear_results();
  if (const auto limits = check_limits(input); limits != RunOutcome::searched) return limits;
  dq_dipx_rms& record = *dq_rms_buf;
  if (const auto taken = take_samples(record, input); taken != RunOutcome::searched) return taken;

  record.un = nominal_voltage(record, input);
  record.f = cal_fn;
  record.smp_num = input.n;
  record.smprate = input.smp;
  record.ut = static_cast<float>(0.9 * record.un);
  rms_seg_pro(&record);
  if (starts_disturbed(record)) {
    record.evt_num = 0;
    return RunOutcome::disturbed_start;
  }
  return RunOutcome::searched;
}

void copy_window(const float* from, const Window& window, float* to) {
  std::copy_n(from + window.start, window.length, to);
}

/// Returns the depth of the dip's deepest point in its lowest phase, volts. Within a sample a later phase wins ties and
/// NaN is accepted; along the window only a strictly lower value replaces the previous one.
float depth(const dq_data& data, const Window& window, float un) {
  float deepest = 1.0e9F;
  for (unsigned j = 0; j < window.length; j++) {
    float lowest = data.rms_ua[j];
    if (!(data.rms_ub[j] > lowest)) lowest = data.rms_ub[j];
    if (!(data.rms_uc[j] > lowest)) lowest = data.rms_uc[j];
    if (lowest < deepest) deepest = lowest;
  }
  return un - deepest;
}

void load_waveform(dq_data& data, const dq_dipx_rms& record, const Window& window) {
  copy_window(record.va, window, data.Va);
  copy_window(record.vb, window, data.Vb);
  copy_window(record.vc, window, data.Vc);
  const auto step = static_cast<float>(0.02 / record.smprate);
  for (unsigned j = 0; j < window.length; j++) data.t[j] = static_cast<float>(j) * step;
  data.num = window.length;
  data.smp = static_cast<unsigned>(record.smprate);
}

/// Determines whether the whole record is too restless to measure dips in. This is the same for each dip of a run, so
/// it is computed only once.
class Stability {
 public:
  explicit Stability(dq_dipx_rms& record) : record_(record) {}
  bool is_lost() {
    if (!asked_) lost_ = rms_bzc(&record_) > 0.5;
    asked_ = true;
    return lost_;
  }

 private:
  dq_dipx_rms& record_;
  bool asked_ = false;
  bool lost_ = false;
};

/// Analyses the dip between two boundaries into its zeroed result.
sagx::Dip analyse_dip(dq_dipx_rms& record, Stability& stability, dq_data& data, dq_dipx_struct& dip, int fall,
                      int recovery) {
  dip.smprate = record.smprate;
  dip.un = record.un;
  dip.ut = record.ut;
  dip.f = record.f;

  const auto start = static_cast<unsigned>(fall);
  const auto end = static_cast<unsigned>(recovery);
  const auto smp = static_cast<unsigned>(record.smprate);
  const unsigned margin = sagx::window_margin_cycles * smp;
  const unsigned data_len = end - start + 2 * margin;
  if (data_len > DQ_RECORD_CAPACITY) {
    std::fputs("data_len err!!!", stdout);
    return {DipOutcome::window_too_long};
  }
  if (start < margin || end + margin > static_cast<unsigned>(record.smp_num)) {
    std::fputs("win err!!!", stdout);
    return {DipOutcome::window_at_edge};
  }
  const Window window{start - margin, data_len};
  std::printf("pos = %d data_len = %u\r\n", static_cast<int>(window.start), window.length);

  copy_window(record.rmsa, window, data.rms_ua);
  copy_window(record.rmsb, window, data.rms_ub);
  copy_window(record.rmsc, window, data.rms_uc);
  dip.ud = depth(data, window, dip.un);
  const bool deep = sagx::least_depth * dip.un < dip.ud;
  if (!deep && end - start < sagx::shortest_shallow_cycles * smp) {
    std::fputs("暂降深度不足14%\r\n", stdout);
    return {DipOutcome::too_shallow};
  }
  load_waveform(data, record, window);
  if (stability.is_lost()) {
    std::puts("有效值标准差越限\r");
    return {DipOutcome::unstable};
  }
  const bool long_window = window.length > sagx::longest_short_window_cycles * smp;
  if (long_window) {
    RMS_segment_feature(&data, &dip);
    dq_segment_feature(&data, &dip);
    sagx::finish_long_window(dip, window);
  } else {
    dq_segment_feature_multiclass(&data, &dip);
    sagx::finish_short_window(dip, window);
  }
  // Features exist only if the segmentation passed its check.
  return {sagx::broken_rule(dip.T, dip.T_num) == 0 ? DipOutcome::analysed : DipOutcome::not_segmented, long_window};
}

}  // namespace

bool sagx::search_dips() {
  last_outcome = Outcome();
  last_outcome.run = search_boundaries(input_that_is_set());
  return last_outcome.run == RunOutcome::searched;
}

void dq_dipx_new(dipx_data_struct* /*dipx_data*/) {
  platform::in_default_environment([&] {
    const bool searched = sagx::search_dips();
    if (!searched && sagx::last_outcome.run != RunOutcome::disturbed_start) return;

    dq_dipx_rms& record = *dq_rms_buf;
    static_assert(DQ_BOUNDARY_CAPACITY / 2 <= DQ_LIST_CAPACITY, "every dip found has a result record");
    const int dips = record.evt_num / 2;
    std::printf("evt_num=%d\r\n", dips);
    Stability stability(record);
    for (int i = 0; i < dips; i++) {
      sagx::last_outcome.dips[i] =
          analyse_dip(record, stability, *dq_data_buf, new_dipx_buf[i], record.T[2 * i], record.T[2 * i + 1]);
    }
    if (searched) sagx::last_outcome.run = RunOutcome::analysed;
  });
}
