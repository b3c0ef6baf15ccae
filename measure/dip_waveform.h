// The waveform around a detected dip, with the data that its measurement needs.
#pragma once

#include <cstddef>

#include "measure/excerpt.h"
#include "measure/findings.h"
#include "measure/frequency.h"
#include "measure/supply.h"

namespace measure {

struct DipWaveform {
  /// The excerpt reaches from 25 cycles before the dip to 15 cycles after it, within the limits of the waveform.
  DipWaveform(const Supply& supply, const Event& dip);

  /// Converts units of the excerpt, which are usual peaks, to volts RMS.
  [[nodiscard]] double volts(double peaks) const;
  /// Returns the smallest uncertainty of an instant in seconds. It is one sample, because filters and converters of the
  /// recorder shift a change by about that.
  [[nodiscard]] double sharpest() const { return 1 / excerpt.rate(); }

  const Supply& supply;
  std::size_t phases;
  double dip_start_s;  ///< as detected; minus infinity if it is not known
  double dip_end_s;    ///< infinity if the dip continues past the record's end
  FrequencyRound frequency;
  PhaseFlags absent;  ///< phases with missing samples in most of the dip's cycles; none if all phases are like this
  Excerpt excerpt;
};

}  // namespace measure
