// The observations of a PQDIF file: what the instrument recorded at one time.
#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "readers/pqdif/body.h"
#include "readers/pqdif/definitions.h"
#include "readers/pqdif/series.h"

namespace readers::pqdif {

/// A waveform that an observation holds.
struct Waveform {
  std::size_t definition = 0;  ///< of its channel, as an index into the data source's channels
  std::size_t base = 0;        ///< index of its time base in the observation
  std::vector<double> values;  ///< in the units of its series definition
  std::uint32_t units = 0;
  double nominal = 0;       ///< as the file states it; 0 when it does not
  double primary = 1;       ///< ratio of the transducer
  double secondary = 1;     ///< the same
  bool zero_scale = false;  ///< the file's scale factor is 0
};

struct Observation {
  std::string name;  ///< bytes of the file, in its character set
  std::string category;
  std::optional<Moment> start;
  std::optional<Moment> triggered;
  std::vector<TimeBase> bases;
  std::vector<Waveform> waveforms;
  std::map<std::string, std::size_t> others;  ///< number of channels of each other kind, such as "trends"
  std::vector<std::string> notes;             ///< sentences without subject about the observation
};

/// What an observation is read with.
struct Surroundings {
  const DataSource& source;
  const Settings& settings;
  double given_rate = 0;  ///< samples per second where a file gives no rate; 0: not known
};

/// Reads the body of an observation. Channels that cannot be read are left out and noted.
Observation read_observation(Body& body, const Surroundings& surroundings, ValueBudget& budget);

}  // namespace readers::pqdif
