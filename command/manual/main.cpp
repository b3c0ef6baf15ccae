// dipx_manual_writer FOLDER DATE: writes the manual pages and the shells' completions of the dipx command into a
// folder. Part of the build; not installed.
#include <cstdio>
#include <exception>
#include <string>

#include "command/manual/completions.h"
#include "command/manual/manual_page.h"
#include "command/manual/option_table.h"
#include "files/whole_file.h"

using namespace command::manual;

namespace {

/// Writes the page of a command and those of the commands within it.
void write_pages(const CommandTable& table, const CommandTable& all, const std::string& folder,
                 const std::string& date) {
  files::write_whole(folder + "/" + page_name(table) + ".1", manual_page(table, all, date));
  for (const auto& command : table.commands) write_pages(command, all, folder, date);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fputs("usage: dipx_manual_writer FOLDER DATE\n", stderr);
    return 1;
  }
  const std::string folder = argv[1];
  const std::string date = argv[2];
  try {
    const CommandTable all = command_table();
    write_pages(all, all, folder, date);
    files::write_whole(folder + "/dipx.bash", bash_completion(all));
    files::write_whole(folder + "/_dipx", zsh_completion(all));
    files::write_whole(folder + "/dipx.fish", fish_completion(all));
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "dipx_manual_writer: %s\n", error.what());
    return 1;
  }
}
