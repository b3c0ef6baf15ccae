#include "command/curves.h"

#include "sagx/Vrms.h"

namespace command {

Curves curves_of(const readers::Record& record, const Analysis& analysis) {
  Curves curves;
  const auto factor = static_cast<float>(analysis.level_factor);
  for (std::size_t phase = 0; phase < 3; phase++) {
    curves.volts[phase] = readers::volts(record, analysis.channels[phase]);
    // At the level of the analysis: there the squares keep within a float whatever the record's voltage.
    std::vector<float> analysed = curves.volts[phase];
    for (float& sample : analysed) sample *= factor;
    auto& rms = curves.rms[phase];
    rms.resize(analysed.size());
    Vrms_cal(rms.data(), analysed.data(), analysis.samples_per_cycle, static_cast<int>(analysed.size()));
    for (float& value : rms) value /= factor;
  }
  return curves;
}

}  // namespace command
