#include "outputs/certificate/certified_again.h"

#include <vector>

#include "analysis/analyse.h"
#include "analysis/choice/chosen_set.h"
#include "analysis/choice/record_voltages.h"
#include "readers/open_record.h"
#include "readers/record_hashes.h"
#include "readers/voltages/bay_currents.h"

namespace outputs {

Certificate certified_again(const std::string& path, const CertifiedRun& run) {
  readers::OpenOptions open;
  open.sampling_rate = run.sampling_rate;
  open.charset = run.charset;
  open.wanted = [&run](const readers::Record& record) {
    std::vector<bool> wanted = analysis::channels_to_read(record, run.options.choice);
    readers::want_currents(record, wanted);
    return wanted;
  };
  auto record = readers::open_record(path, open);
  analysis::keep_stretch(record, run.stretch);
  analysis::RecordVoltages voltages(record, run.options.choice);
  const analysis::Analysis analysis = analysis::analyse(voltages, run.options);
  return certificate_of(record, analysis, run, readers::content_hashes(path, record));
}

}  // namespace outputs
