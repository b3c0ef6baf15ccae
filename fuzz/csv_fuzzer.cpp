// Reads any bytes as a table.
#include "fuzz/read_record.h"
#include "readers/table/csv.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::read_record(data, size, readers::read_csv);
  return 0;
}
