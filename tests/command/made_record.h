// Records whose events follow from how they are made.
#pragma once

#include <algorithm>
#include <cmath>
#include <fstream>
#include <iomanip>
#include <iterator>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "synth/record_file.h"
#include "synth/waveform.h"

namespace tests {

/// A balanced three-phase sine that is lowered and turned for a while in some phases.
class MadeRecord {
 public:
  MadeRecord(double volts, double seconds, double samples_per_second = 6400, double hertz = 50) {
    waveform_.volts = volts;
    waveform_.frequency = waveform_.nominal_frequency = hertz;
    waveform_.rate = samples_per_second;
    waveform_.length = static_cast<std::size_t>(std::lround(seconds * samples_per_second));
  }

  /// Phases (as in "AC") go straight from their voltages before to `volts` between `from` and `to` seconds.
  MadeRecord& slope(const std::string& phases, double from, double to, double volts) {
    synth::Factors last = factors_at(from);
    for (const char phase : phases) last[static_cast<std::size_t>(phase - 'A')] = volts / waveform_.volts;
    waveform_.stages.push_back({from, to, factors_at(from), last});
    return *this;
  }

  /// Phases (as in "AC") are at `volts` from `from` to `to` seconds.
  MadeRecord& lower(const std::string& phases, double from, double to, double volts) {
    return change(phases, from, to, [share = volts / waveform_.volts](synth::Phasor before) {
      return std::polar(share, std::arg(before));
    });
  }
  /// Phases are turned by `degrees` from `from` to `to` seconds.
  MadeRecord& turn(const std::string& phases, double from, double to, double degrees) {
    return change(phases, from, to,
                  [degrees](synth::Phasor before) { return synth::phasor(std::abs(before), degrees); });
  }

  [[nodiscard]] readers::Record made() const { return synth::record_of(waveform_); }

  void write_csv(const std::string& file) const { write(file, synth::csv_of(made())); }

  /// A table in which the phases have empty fields from `from` to `to` seconds.
  void write_csv_without(const std::string& file, const std::string& phases, double from, double to) const {
    const readers::Record record = made();
    std::ofstream out(file);
    out << "t_s,Ua,Ub,Uc\n";
    for (std::size_t i = 0; i < record.length(); i++) {
      const double time = static_cast<double>(i) / waveform_.rate;
      out << std::setprecision(12) << time;
      for (std::size_t phase = 0; phase < 3; phase++) {
        out << ',';
        const bool missing = phases.find("ABC"[phase]) != std::string::npos && from <= time && time < to;
        if (!missing) out << record.channels[phase].samples[i];
      }
      out << '\n';
    }
  }

  /// A COMTRADE pair, ASCII.
  void write_comtrade(const std::string& stem) const {
    const auto pair = synth::comtrade_of(made(), synth::ComtradeData::ascii);
    write(stem + ".cfg", pair.config);
    write(stem + ".dat", pair.data);
  }

 private:
  static void write(const std::string& file, const std::string& bytes) {
    std::ofstream(file, std::ios::binary) << bytes;
  }

  [[nodiscard]] synth::Factors factors_at(double time) const {
    const auto& stages = waveform_.stages;
    const auto last = std::find_if(stages.rbegin(), stages.rend(),
                                   [time](const auto& stage) { return stage.begin <= time && time < stage.end; });
    return last == stages.rend() ? synth::undisturbed : last->first;
  }

  /// Changes the present voltages of the phases instead of replacing them. Each piece of time in which they are
  /// constant becomes a stage.
  template <typename Change>
  MadeRecord& change(const std::string& phases, double from, double to, Change change) {
    std::set<double> cuts = {from, to};
    for (const auto& stage : waveform_.stages) {
      for (const double time : {stage.begin, stage.end}) {
        if (from < time && time < to) cuts.insert(time);
      }
    }
    std::vector<synth::Stage> added;
    for (auto begin = cuts.begin(), end = std::next(begin); end != cuts.end(); begin = end++) {
      synth::Factors factors = factors_at(*begin);
      for (const char phase : phases) {
        auto& factor = factors[static_cast<std::size_t>(phase - 'A')];
        factor = change(factor);
      }
      added.push_back({*begin, *end, factors, factors});
    }
    waveform_.stages.insert(waveform_.stages.end(), added.begin(), added.end());
    return *this;
  }

  synth::Waveform waveform_;
};

}  // namespace tests
