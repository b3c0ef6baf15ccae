// Reads any bytes as a PQDIF file. Bodies that are not compressed are read whatever the container says, so that damage
// reaches the elements in them.
#include "fuzz/read_record.h"
#include "readers/pqdif/pqdif.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::read_record(data, size, readers::read_pqdif);
  return 0;
}
