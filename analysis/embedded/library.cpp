#include "analysis/embedded/library.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <memory>
#include <stdexcept>

#include "dipx_dll.h"
#include "files/temporary_folder.h"
#include "sagx/Vrms.h"
#include "sagx/dipx_lib.h"
#include "sagx/dipx_outcome.h"
#include "sagx/kernels/kernels.h"
#include "sagx/report_lines.h"

namespace analysis::embedded {

namespace {

/// Whether a report file holds all lines of its record: the library does not check its writing.
bool is_whole_report(const std::string& report, const dipx_data_struct& record) {
  return report.ends_with('\n') && std::count(report.begin(), report.end(), '\n') == sagx::report_lines(record);
}

}  // namespace

std::optional<float> level_at_start(const Waveform& waveform, int samples_per_cycle) {
  const auto& [a, b, c] = waveform;
  const auto length = static_cast<int>(std::min<std::size_t>(a.size(), DQ_RECORD_CAPACITY));
  float level = 0;
  if (dipx_cal_un(a.data(), b.data(), c.data(), samples_per_cycle, length, &level) != 0) return std::nullopt;
  return level;
}

bool takes_level(float volts) {
  return volts >= sagx::lowest_plausible_voltage && volts <= sagx::highest_plausible_voltage;
}

std::vector<float> cycle_rms(std::vector<float>& samples, int samples_per_cycle) {
  std::vector<float> rms(samples.size());
  Vrms_cal(rms.data(), samples.data(), samples_per_cycle, static_cast<int>(samples.size()));
  return rms;
}

std::string report_of(const Waveform& waveform, int samples_per_cycle) {
  const auto host = std::make_unique<dipx_data_struct>();
  std::copy(waveform[0].begin(), waveform[0].end(), host->smp_va);
  std::copy(waveform[1].begin(), waveform[1].end(), host->smp_vb);
  std::copy(waveform[2].begin(), waveform[2].end(), host->smp_vc);
  host->smp_rate = samples_per_cycle;
  host->smp_len = static_cast<int>(waveform[0].size());
  const files::TemporaryFolder folder;
  dipx_fun(host.get());
  std::ifstream file("dipx_result.txt", std::ios::binary);
  std::string bytes{std::istreambuf_iterator<char>(file), {}};
  if (!is_whole_report(bytes, *host)) {
    throw std::runtime_error("the library could not write its report into the temporary folder");
  }
  return bytes;
}

const char* instruction_set() {
  return sagx::kernels().instruction_set;
}

}  // namespace analysis::embedded
