// Reads any bytes as a COMTRADE record in one file and, if they have both sections, in two files.
#include <fstream>

#include "fuzz/read_record.h"
#include "readers/comtrade/comtrade.h"

namespace {

void write(const char* file, std::string_view content) {
  std::ofstream(file, std::ios::binary).write(content.data(), static_cast<std::streamsize>(content.size()));
}

/// Writes the same sections to separate files, whose data are then read piece by piece.
readers::Record read_from_two_files(const std::string& file, std::string_view content,
                                    const readers::OpenOptions& options) {
  const std::size_t data_line = content.find("--- file type: DAT");
  if (data_line == content.npos) return readers::read_single_comtrade(file, content, options);
  const std::size_t config = content.find('\n') + 1;
  const std::size_t data = std::min(content.find('\n', data_line), content.size() - 1) + 1;
  write("r.cfg", content.substr(std::min(config, data_line), data_line - std::min(config, data_line)));
  write("r.dat", content.substr(data));
  return readers::read_comtrade("r.cfg", options);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::read_record(data, size,
                    [](const std::string& file, std::string_view content, const readers::OpenOptions& options) {
                      return readers::read_single_comtrade(file, content, options);
                    });
#ifdef DIPX_REPLAY
  const bool in_two_files = true;
#else
  const bool in_two_files = size % 32 == 3;  // writing files takes time, so only some inputs are read this way
#endif
  if (in_two_files) fuzz::read_record(data, size, read_from_two_files);
  return 0;
}
