// All that is read of a PQDIF file before it becomes a record.
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "readers/pqdif/definitions.h"
#include "readers/pqdif/observation.h"

namespace readers::pqdif {

/// An observation with waveforms.
struct FoundObservation {
  Observation observation;
  std::size_t number = 1;  ///< among all observations of the file, from 1
  std::size_t source = 0;  ///< index of its data source
};

/// Observations that hold one kind of data other than waveforms.
struct OtherData {
  std::size_t count = 0;
  std::string first;  ///< for example "observation 1 ('Trend')"; bytes of the file
};

struct FileContents {
  std::string version;  ///< of the format, such as "1.5"; empty when it is not stated
  std::vector<DataSource> sources;
  std::vector<FoundObservation> observations;
  std::size_t observation_count = 0;        ///< with and without waveforms
  std::map<std::string, OtherData> others;  ///< by what they hold, such as "trends"
  double line_frequency = 0;                ///< hertz; 0 when the file does not state it
  std::vector<std::string> damage;          ///< each says where the fault is and what is wrong
  std::vector<std::string> notes;           ///< sentences
};

/// Reads all records. Those that are damaged are left out. Throws ReadError when the file is compressed in a way that
/// is not supported.
FileContents read_contents(const std::string& file, std::string_view content, double given_rate);

}  // namespace readers::pqdif
