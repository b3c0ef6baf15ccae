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

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fputs("usage: dipx_manual_writer FOLDER DATE\n", stderr);
    return 1;
  }
  const std::string folder = argv[1];
  const std::string date = argv[2];
  try {
    const CommandTable all = command_table();
    files::write_whole(folder + "/dipx.1", manual_page(all, all, date));
    for (const auto& command : all.commands) {
      files::write_whole(folder + "/" + page_name(command) + ".1", manual_page(command, all, date));
    }
    files::write_whole(folder + "/dipx.bash", bash_completion(all));
    files::write_whole(folder + "/_dipx", zsh_completion(all));
    files::write_whole(folder + "/dipx.fish", fish_completion(all));
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "dipx_manual_writer: %s\n", error.what());
    return 1;
  }
}
