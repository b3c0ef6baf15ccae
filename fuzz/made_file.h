// Makes record files out of a fuzzer's input, so that nearly every input is a record that can be measured.
#pragma once

#include <string>
#include <vector>

#include "fuzz/bytes.h"

namespace fuzz {

struct NamedContent {
  std::string name;
  std::string content;
};

/// Returns the files of one record; the first one is the one to open. The input describes the waveform, the names, the
/// format and the damage: fields of text that are replaced by other text, and changed bytes.
std::vector<NamedContent> made_file(Bytes& input);

}  // namespace fuzz
