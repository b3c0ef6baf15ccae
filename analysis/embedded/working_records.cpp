#include "analysis/embedded/working_records.h"

#include <algorithm>
#include <array>

#include "dipx_dll.h"
#include "sagx/Vrms.h"
#include "sagx/signal_acquisition.h"

namespace analysis::embedded {

namespace {

void set_input(Waveform& waveform, int samples_per_cycle, const Stretch& stretch) {
  sample_input_smprate = samples_per_cycle;
  sample_input_number = static_cast<int>(std::min<std::size_t>(stretch.length(), DQ_RECORD_CAPACITY + 1));
  psample_input_va = waveform[0].data() + stretch.begin;
  psample_input_vb = waveform[1].data() + stretch.begin;
  psample_input_vc = waveform[2].data() + stretch.begin;
}

}  // namespace

sagx::RunOutcome search(Waveform& waveform, int samples_per_cycle, const Stretch& stretch) {
  set_input(waveform, samples_per_cycle, stretch);
  sagx::search_dips();
  return sagx::last_outcome.run;
}

void search_on(const Waveform& waveform, const Stretch& stretch) {
  const std::array<float*, 3> samples = {dq_rms_buf->va, dq_rms_buf->vb, dq_rms_buf->vc};
  for (std::size_t phase = 0; phase < 3; phase++) {
    std::copy_n(waveform[phase].begin() + static_cast<std::ptrdiff_t>(stretch.begin), stretch.length(), samples[phase]);
  }
  dq_rms_buf->smp_num = static_cast<int>(stretch.length());
  rms_seg_pro(dq_rms_buf);
}

const sagx::Outcome& run(Waveform& waveform, int samples_per_cycle, const Stretch& stretch) {
  set_input(waveform, samples_per_cycle, stretch);
  dq_dipx_new(nullptr);
  return sagx::last_outcome;
}

void forget() {
  sagx_free_all();
}

const dq_dipx_rms& searched() {
  return *dq_rms_buf;
}

dq_data& window() {
  return *dq_data_buf;
}

const dq_dipx_struct& result_of(int dip) {
  return new_dipx_buf[dip];
}

}  // namespace analysis::embedded
