#include "analysis/embedded/library_results.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <new>
#include <numbers>
#include <stdexcept>

#include "dipx_dll.h"
#include "files/temporary_folder.h"
#include "readers/file_access.h"
#include "sagx/dipx_lib.h"
#include "sagx/dipx_outcome.h"
#include "sagx/dq_dipx.h"
#include "sagx/report_lines.h"
#include "sagx/signal_acquisition.h"

namespace analysis::embedded {

namespace {

constexpr int fewest_samples_per_cycle = 32;
constexpr int most_samples_per_cycle = 128;

/// A waveform outside the levels that the library takes for what they are is brought to this one: the phase voltage of
/// a transformer's 100 V secondary.
constexpr double standard_level = 100 / std::numbers::sqrt3;

/// Rates so near to a whole number of samples per cycle count as whole; the line's own frequency varies by more.
constexpr double whole_tolerance = 1e-4;

/// A waveform that the library accepts, or the reason for which it does not.
struct Prepared {
  std::string refusal;
  int samples_per_cycle = 0;
  double factor = 1;
};

Prepared prepare(Waveform& waveform, double samples_per_cycle) {
  Prepared prepared;
  const double whole = std::round(samples_per_cycle);
  if (std::abs(samples_per_cycle - whole) > whole_tolerance * whole) {
    prepared.refusal =
        fmt::format("it takes a whole number of samples per cycle, and the record has {:.6g}", samples_per_cycle);
    return prepared;
  }
  if (whole < fewest_samples_per_cycle || whole > most_samples_per_cycle) {
    prepared.refusal = fmt::format("it takes {} to {} samples per cycle, and the record has {:g}",
                                   fewest_samples_per_cycle, most_samples_per_cycle, whole);
    return prepared;
  }
  prepared.samples_per_cycle = static_cast<int>(whole);
  const auto cycle = static_cast<std::size_t>(prepared.samples_per_cycle);
  if (waveform[0].size() > sagx::longest_record_cycles * cycle) {
    prepared.refusal = fmt::format("it takes {} cycles at most, and the record has more", sagx::longest_record_cycles);
    return prepared;
  }
  float level = 0;
  if (dipx_cal_un(waveform[0].data(), waveform[1].data(), waveform[2].data(), prepared.samples_per_cycle,
                  static_cast<int>(waveform[0].size()), &level) != 0) {
    prepared.refusal = "it needs two cycles, and the record is shorter";
    return prepared;
  }
  if (!(level > 0)) {
    prepared.refusal = "a phase has no voltage in the record's first two cycles";
    return prepared;
  }
  if (level >= sagx::lowest_plausible_voltage && level <= sagx::highest_plausible_voltage) return prepared;
  prepared.factor = standard_level / static_cast<double>(level);
  for (auto& phase : waveform) {
    for (float& sample : phase) sample = static_cast<float>(static_cast<double>(sample) * prepared.factor);
  }
  return prepared;
}

const sagx::Outcome& run(Waveform& waveform, int samples_per_cycle) {
  sagx_free_all();  // so that the working records begin as zeros
  sample_input_smprate = samples_per_cycle;
  sample_input_number = static_cast<int>(waveform[0].size());
  psample_input_va = waveform[0].data();
  psample_input_vb = waveform[1].data();
  psample_input_vc = waveform[2].data();
  dq_dipx_new(nullptr);
  return sagx::last_outcome;
}

std::string words_for(sagx::DipOutcome outcome) {
  switch (outcome) {
    case sagx::DipOutcome::analysed:
      return "analysed";
    case sagx::DipOutcome::not_segmented:
      return "not segmented";
    case sagx::DipOutcome::too_shallow:
      return "too shallow and too short";
    case sagx::DipOutcome::unstable:
      return "too unsteady";
    case sagx::DipOutcome::window_too_long:
      return "too long";
    case sagx::DipOutcome::window_at_edge:
      return "too near to the record's beginning or end";
    case sagx::DipOutcome::not_reached:
      break;
  }
  return "not reached";
}

/// The library stores a jump in one of two lists, depending on its sign.
double jump(float ahead, float behind) {
  return static_cast<double>(ahead) + static_cast<double>(behind);
}

std::size_t position(int sample, std::size_t length) {
  return std::min(static_cast<std::size_t>(std::max(sample, 0)), length);
}

ResultSegment segment_of(const dq_dipx_struct& result, int s, bool long_window, double factor, std::size_t length) {
  const int* borders = long_window ? result.Trms : result.T;
  ResultSegment segment;
  segment.begin = position(borders[2 * s + 1], length);
  segment.end = position(borders[2 * s + 2], length);
  const float* residuals[] = {long_window ? result.ua_rms_min : result.ua_min,
                              long_window ? result.ub_rms_min : result.ub_min,
                              long_window ? result.uc_rms_min : result.uc_min};
  for (std::size_t phase = 0; phase < 3; phase++) {
    segment.residual_v[phase] = static_cast<double>(residuals[phase][s]) / factor;
  }
  segment.phase_jump_degrees = {jump(result.angle_diff_ap[s], result.angle_diff_an[s]),
                                jump(result.angle_diff_bp[s], result.angle_diff_bn[s]),
                                jump(result.angle_diff_cp[s], result.angle_diff_cn[s])};
  segment.phases_below = result.dipx_phase[s];
  segment.category = result.dipx_cata_seg[s];
  segment.unbalance_percent = static_cast<double>(result.bph_max_value[s]);
  return segment;
}

ResultDip dip_of(const dq_dipx_struct& result, const sagx::Dip& dip, int number, double factor, std::size_t length) {
  ResultDip shown;
  shown.begin = position(dq_rms_buf->T[2 * number], length);
  shown.end = position(dq_rms_buf->T[2 * number + 1], length);
  shown.outcome = words_for(dip.outcome);
  if (dip.outcome != sagx::DipOutcome::analysed) return shown;
  shown.duration_s = static_cast<double>(result.hold_time_dq);
  shown.point_on_wave_degrees = {result.POW_a, result.POW_b, result.POW_c};
  shown.fastest_change_v_per_s = {result.Voltagechange_Va, result.Voltagechange_Vb, result.Voltagechange_Vc};
  for (double& change : shown.fastest_change_v_per_s) change /= factor;
  // Long windows are divided by the RMS alone.
  const int segments = dip.long_window ? result.min_num : result.u_min_num;
  for (int s = 0; s < segments; s++) {
    shown.segments.push_back(segment_of(result, s, dip.long_window, factor, length));
  }
  return shown;
}

/// Whether a report file holds all lines of its record: the library does not check its writing.
bool is_whole_report(const std::string& report, const dipx_data_struct& record) {
  return report.ends_with('\n') && std::count(report.begin(), report.end(), '\n') == sagx::report_lines(record);
}

}  // namespace

Results results_of(Waveform waveform, double samples_per_cycle) {
  Results results;
  const Prepared prepared = prepare(waveform, samples_per_cycle);
  results.refusal = prepared.refusal;
  results.factor = prepared.factor;
  if (!results.refusal.empty()) return results;
  const sagx::Outcome& outcome = run(waveform, prepared.samples_per_cycle);
  if (outcome.run == sagx::RunOutcome::no_memory) throw std::bad_alloc();
  if (outcome.run != sagx::RunOutcome::analysed) {
    results.refusal = outcome.run == sagx::RunOutcome::disturbed_start
                          ? "the record's first two cycles are not steady, which it takes for a dip in progress"
                          : "the record is not one that it takes";
    return results;
  }
  results.nominal_v = static_cast<double>(dq_rms_buf->un) / prepared.factor;
  results.threshold_v = static_cast<double>(dq_rms_buf->ut) / prepared.factor;
  const std::size_t length = waveform[0].size();
  const int crossings = dq_rms_buf->evt_num;
  for (int i = 0; 2 * i + 1 < crossings; i++) {
    results.dips.push_back(dip_of(new_dipx_buf[i], outcome.dips[i], i, prepared.factor, length));
  }
  if (crossings % 2 == 1) results.unfinished_dip = position(dq_rms_buf->T[crossings - 1], length);
  return results;
}

std::string report_of(Waveform waveform, double samples_per_cycle) {
  const Prepared prepared = prepare(waveform, samples_per_cycle);
  if (!prepared.refusal.empty()) throw std::invalid_argument(prepared.refusal);
  const auto host = std::make_unique<dipx_data_struct>();
  std::copy(waveform[0].begin(), waveform[0].end(), host->smp_va);
  std::copy(waveform[1].begin(), waveform[1].end(), host->smp_vb);
  std::copy(waveform[2].begin(), waveform[2].end(), host->smp_vc);
  host->smp_rate = prepared.samples_per_cycle;
  host->smp_len = static_cast<int>(waveform[0].size());
  const files::TemporaryFolder folder;
  dipx_fun(host.get());
  const readers::FileText file("dipx_result.txt");
  std::string bytes(file.view());
  if (!is_whole_report(bytes, *host)) {
    throw std::runtime_error("the library could not write its report into the temporary folder");
  }
  return bytes;
}

}  // namespace analysis::embedded
