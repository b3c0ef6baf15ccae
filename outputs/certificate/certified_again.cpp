#include "outputs/certificate/certified_again.h"

#include "analysis/analyse.h"
#include "analysis/choice/chosen_set.h"
#include "analysis/choice/record_voltages.h"
#include "readers/open_record.h"
#include "readers/record_hashes.h"

namespace outputs {

Certificate certified_again(const std::string& path, const CertifiedRun& run) {
  readers::OpenOptions open;
  open.sampling_rate = run.sampling_rate;
  open.charset = run.charset;
  open.wanted = [&run](const readers::Record& record) {
    return analysis::channels_to_read(record, run.options.choice);
  };
  auto record = readers::open_record(path, open);
  analysis::keep_stretch(record, run.stretch);
  analysis::RecordVoltages voltages(record, run.options.choice);
  const analysis::Analysis analysis = analysis::analyse(voltages, run.options);
  return certificate_of(record, analysis, run, readers::content_hashes(path, record));
}

}  // namespace outputs
