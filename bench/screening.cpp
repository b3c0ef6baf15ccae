// Measures the time to search a record with no event or one event, and to measure the course of that event, with the
// measuring library. The RMS pass of the embedded library over the same samples serves as a comparison.
#include <cmath>
#include <cstdlib>
#include <memory>
#include <numbers>
#include <random>
#include <string>
#include <vector>

#include "bench/comparison.h"
#include "bench/measures.h"
#include "bench/silence.h"
#include "measure/course.h"
#include "measure/detector.h"
#include "measure/half_cycle_rms.h"
#include "sagx/Vrms.h"
#include "sagx/kernels/kernels.h"
#include "tests/plain/rms.h"

namespace bench {

namespace {

constexpr int rate = 6400;
constexpr int cycle = 128;
constexpr int samples = 33 * rate / 10;
constexpr double volts = 230;

/// Makes 230 V with a little noise; in the dip phase A falls to a half and B to four fifths. Returns the samples in the
/// forms that both libraries need.
class Voltages {
 public:
  explicit Voltages(bool dips) {
    std::mt19937 random(1);
    std::uniform_real_distribution noise(-0.75, 0.75);
    constexpr double low[] = {0.5, 0.8, 1};
    for (int phase = 0; phase < 3; phase++) {
      for (int i = 0; i < samples; i++) {
        const bool is_low = dips && i >= rate + 37 && i < rate + 37 + 10 * cycle;
        const double angle = 2 * std::numbers::pi * (static_cast<double>(i) / cycle - phase / 3.0);
        doubles_[phase].push_back((is_low ? low[phase] : 1) * volts * std::numbers::sqrt2 * std::sin(angle) +
                                  noise(random));
      }
      floats_[phase].assign(doubles_[phase].begin(), doubles_[phase].end());
      waveform_.phases.push_back({doubles_[phase]});
    }
    waveform_.rate = rate;
    waveform_.line_frequency = 50;
  }
  Voltages(const Voltages&) = delete;

  [[nodiscard]] const std::vector<float>& floats(int phase) const { return floats_[phase]; }
  [[nodiscard]] const measure::Waveform& waveform() const { return waveform_; }

 private:
  std::vector<double> doubles_[3];
  std::vector<float> floats_[3];
  measure::Waveform waveform_;
};

/// Performs all steps that every record needs.
struct Screening {
  explicit Screening(const measure::Waveform& waveform)
      : track(waveform), levels(measure::usual_levels(track, waveform.phases.size())) {
    std::vector<measure::HalfCycleRms> series;
    for (std::size_t phase = 0; phase < waveform.phases.size(); phase++) {
      series.push_back(measure::half_cycle_rms(waveform, phase, track, levels.fundamental_v[phase]));
    }
    measure::References references;
    references.start = levels.fundamental_v;
    events = measure::detect(series, references, {});
  }

  measure::CycleTrack track;
  measure::UsualLevels levels;
  std::vector<measure::Event> events;
};

void add_plain_rms(const std::string& name, const std::shared_ptr<Voltages>& voltages) {
  add(name, plain_form, 1, [=, rms = std::vector<float>(samples)]() mutable {
    for (int phase = 0; phase < 3; phase++) {
      plain::cycle_rms(voltages->floats(phase).data(), samples, cycle, rms.data());
    }
  });
}

/// Computes the embedded library's RMS at every sample and the dips that it finds there.
void add_library(const std::string& name, const std::shared_ptr<Voltages>& voltages) {
  const std::shared_ptr<dq_dipx_rms> record(static_cast<dq_dipx_rms*>(std::calloc(1, sizeof(dq_dipx_rms))), std::free);
  record->smprate = cycle;
  record->smp_num = samples;
  record->ut = static_cast<float>(0.9 * volts);
  float* const phases[] = {record->va, record->vb, record->vc};
  for (int phase = 0; phase < 3; phase++) {
    std::copy(voltages->floats(phase).begin(), voltages->floats(phase).end(), phases[phase]);
  }
  add(name, sagx::kernels().instruction_set, 1, [=] {
    const Silence silence;
    rms_seg_pro(record.get());
  });
}

void add_screening_of(const std::string& what, bool dips) {
  const std::string name = "search for dips, 3.3 s, " + what + " (whole)";
  const auto voltages = std::make_shared<Voltages>(dips);
  if (Screening(voltages->waveform()).events.size() != (dips ? 1U : 0U)) std::abort();
  add_plain_rms(name, voltages);
  add_library(name, voltages);
  add(name, "measure", 1, [=] { const Screening screening(voltages->waveform()); });
}

void add_course() {
  const std::string name = "course of one dip of 10 cycles (whole)";
  const auto voltages = std::make_shared<Voltages>(true);
  const auto screening = std::make_shared<Screening>(voltages->waveform());
  const measure::Wiring wiring = measure::wiring_of(screening->track.phasors(0), 3);
  const auto run = [=] {
    return measure::measure_course({voltages->waveform(), screening->track, screening->levels, wiring, {}},
                                   screening->events.front());
  };
  if (run().segments.size() != 1) std::abort();
  add_plain_rms(name, voltages);
  add(name, "measure", 1, [=] { run(); });
}

}  // namespace

void add_screening() {
  add_screening_of("none", false);
  add_screening_of("one", true);
  add_course();
}

}  // namespace bench
