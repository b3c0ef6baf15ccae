#include "analysis/embedded/library.h"

#include <algorithm>

#include "sagx/dq_dipx.h"
#include "sagx/signal_acquisition.h"

namespace analysis::embedded {

void set_input(Waveform& waveform, int samples_per_cycle, const Stretch& stretch) {
  sample_input_smprate = samples_per_cycle;
  sample_input_number = static_cast<int>(std::min<std::size_t>(stretch.length(), DQ_RECORD_CAPACITY + 1));
  psample_input_va = waveform[0].data() + stretch.begin;
  psample_input_vb = waveform[1].data() + stretch.begin;
  psample_input_vc = waveform[2].data() + stretch.begin;
}

}  // namespace analysis::embedded
