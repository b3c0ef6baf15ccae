// Calls single stages as a host may, with any content in the working records: segmentations, features of long and short
// windows, the dq transform and the measurements based on it.
#include <cstdlib>

#include "fuzz/bytes.h"
#include "sagx/RMS_segment_feature.h"
#include "sagx/SVD_cal.h"
#include "sagx/Vrms.h"
#include "sagx/dipx_lib.h"
#include "sagx/dq_delay.h"
#include "sagx/dq_dipx.h"
#include "sagx/dq_segment_feature.h"
#include "sagx/dq_segment_feature_multiclass.h"
#include "sagx/dqdelay_POW.h"
#include "sagx/lvbo.h"
#include "sagx/voltagechange.h"

namespace {

using fuzz::Bytes;
using fuzz::expect;

/// Longer windows would take too much time for many of them to be run; unit tests cover their limits.
constexpr int most_samples = 2500;

struct Records {
  dq_data& window = *static_cast<dq_data*>(std::calloc(1, sizeof(dq_data)));
  dq_dipx_rms& whole = *static_cast<dq_dipx_rms*>(std::calloc(1, sizeof(dq_dipx_rms)));
  dq_dipx_struct dip = {};
};

void fill(Bytes& bytes, Records& records) {
  auto& [window, whole, dip] = records;
  const int cycle = bytes.below(2) == 0 ? 32 : bytes.mostly_between(0, 200);
  const int samples = bytes.between(0, most_samples);
  window.smp = static_cast<unsigned>(cycle);
  window.num = static_cast<unsigned>(samples);
  whole.smprate = dip.smprate = bytes.below(8) == 0 ? bytes.number<int>() : cycle;
  whole.smp_num = bytes.mostly_between(0, most_samples);
  if (whole.smp_num > 4 * most_samples) whole.smp_num %= 4 * most_samples;
  dip.un = bytes.below(2) == 0 ? 220 : bytes.value();
  dip.ut = bytes.below(2) == 0 ? 198 : bytes.value();
  dip.ud = bytes.value();
  dip.f = bytes.below(4) == 0 ? bytes.value() : 50;
  whole.un = dip.un;
  whole.ut = dip.ut;
  whole.evt_num = bytes.between(0, DQ_BOUNDARY_CAPACITY);
  bytes.fill_positions(whole.T, 2, 300);

  const int stretch = std::min(samples, 400);
  const bool alike = bytes.below(2) == 0;
  float* const sources[][3] = {{window.Va, window.Vb, window.Vc},
                               {window.rms_ua, window.rms_ub, window.rms_uc},
                               {window.ua, window.ub, window.uc}};
  for (const auto& phases : sources) {
    bytes.fill(phases[0], samples);
    for (int x = 1; x < 3; x++) {
      std::copy_n(phases[0], samples, phases[x]);
      if (!alike) bytes.fill(phases[x], stretch);
    }
  }
  for (int i = 0; i < samples; i++)
    window.t[i] = static_cast<float>(i) * 0.02F / static_cast<float>(std::max(cycle, 1));
  for (float* rms : {whole.rmsa, whole.rmsb, whole.rmsc}) std::copy_n(window.rms_ua, samples, rms);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static Records records;
  Bytes bytes(data, size);
  const int stage = bytes.below(12);
  records.dip = {};
  dq_data_buf = &records.window;
  dq_rms_buf = &records.whole;
  fill(bytes, records);
  auto& [window, whole, dip] = records;
  const auto samples = static_cast<int>(window.num);

  switch (stage) {
    case 0:
      SVDsegment_multiclass(&window, &dip);
      expect(dip.Trms_num >= 0 && dip.Trms_num <= DQ_LIST_CAPACITY);
      break;
    case 1: {
      int crossings[DQ_LIST_CAPACITY] = {};
      int count = 0;
      SVDsegment_multiclass2(&window, &dip, crossings, &count);
      expect(count >= 0 && count <= DQ_LIST_CAPACITY);
      break;
    }
    case 2:
      SVDsegment_multiclass3(&window, &dip);
      expect(dip.seg_num >= 0 && dip.seg_num <= DQ_LIST_CAPACITY);
      break;
    case 3:
      SVDsegment_multiclass4(&window, &dip);
      expect(dip.T_rms_num >= 0 && dip.T_rms_num <= DQ_LIST_CAPACITY);
      break;
    case 4:
      RMS_segment_feature(&window, &dip);
      expect(dip.Trms_num >= 0 && dip.Trms_num <= DQ_LIST_CAPACITY);
      break;
    case 5:
      RMS_segment_feature(&window, &dip);
      dq_segment_feature(&window, &dip);
      break;
    case 6:
      dip.Trms_num = bytes.mostly_between(0, DQ_LIST_CAPACITY);
      dip.min_num = bytes.mostly_between(0, DQ_LIST_CAPACITY);
      bytes.fill_positions(dip.Trms, DQ_LIST_CAPACITY, 300);
      bytes.fill_positions(dip.order_min, DQ_LIST_CAPACITY, 300);
      dq_segment_feature(&window, &dip);
      break;
    case 7:
      dq_segment_feature_multiclass(&window, &dip);
      expect(dip.T_num >= 0 && dip.T_num <= DQ_LIST_CAPACITY);
      break;
    case 8:
      dip.T_num = bytes.mostly_between(0, DQ_LIST_CAPACITY);
      bytes.fill_positions(dip.T, DQ_LIST_CAPACITY, 300);
      dqdelay_POW(window.ua, window.ub, window.uc, window.angle_a, window.angle_b, window.angle_c, window.t, &dip,
                  dip.un, window.num);
      break;
    case 9: {
      std::vector<float> rms(most_samples);
      Vrms_cal(rms.data(), window.Va, std::min(static_cast<int>(window.smp), most_samples), samples);
      break;
    }
    case 10:
      whole.smp_num = std::min(whole.smp_num, samples);
      std::copy_n(window.Va, samples, whole.va);
      std::copy_n(window.Vb, samples, whole.vb);
      std::copy_n(window.Vc, samples, whole.vc);
      rms_seg_pro(&whole);
      expect(whole.evt_num >= 0 && whole.evt_num <= DQ_BOUNDARY_CAPACITY);
      rms_bzc(&whole);
      break;
    default: {
      const int width = bytes.mostly_between(0, 130);
      lvbo(window.Va, window.ua, samples, width);
      FS(window.Va, nullptr, window.ub, samples, width);
      PZ(window.Vb, nullptr, window.uc, samples, width);
      SVD_datapro(&window, &dip);
      SVD_bzc();
      break;
    }
  }
  return 0;
}
