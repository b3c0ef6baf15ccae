#include "command/written_files.h"

#include <fmt/format.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <system_error>

#include "platform/descriptors.h"
#include "platform/utf8_path.h"
#include "readers/text.h"

namespace command {

namespace {

[[noreturn]] void keep(const std::string& file) {
  throw FileKept(fmt::format("{}: exists already and --no-clobber keeps it; name another file", file));
}

}  // namespace

CLI::Option* add_no_clobber(CLI::App& app, bool& no_clobber) {
  return app.add_flag("--no-clobber", no_clobber, "Do not replace files that exist; write none if there is one");
}

void check_clobbering(const std::vector<std::string>& files, bool no_clobber) {
  if (!no_clobber) return;
  for (const std::string& file : files) {
    if (!file.empty() && files::would_replace(platform::utf8_path(file))) keep(file);
  }
}

void write_files(const std::vector<files::NamedBytes>& files, bool no_clobber) {
  std::vector<std::filesystem::path> replaced;
  try {
    replaced = files::write_whole(files, no_clobber ? files::Existing::kept : files::Existing::replaced);
  } catch (const std::system_error& error) {
    // Another process may have made the file in the meantime.
    if (!no_clobber || error.code() != std::errc::file_exists) throw;
    for (const auto& [file, bytes] : files) {
      if (files::would_replace(file)) keep(file.string());
    }
    throw;
  }
  if (!platform::is_terminal(STDERR_FILENO)) return;
  for (const auto& file : replaced) {
    std::fprintf(stderr, "dipx: %s was overwritten\n", readers::inert(file.string()).c_str());
  }
}

}  // namespace command
