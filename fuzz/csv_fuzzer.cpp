// Reads any bytes as a table.
#include "fuzz/read_record.h"
#include "readers/table/csv.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::read_record(data, size,
                    [](const std::string& file, std::string_view content, const readers::OpenOptions& options) {
                      return readers::read_csv(file, content, options);
                    });
  return 0;
}
