// dipx_manual_writer FOLDER DATE: writes the manual pages and the shells' completions of the dipx command into a
// folder. Part of the build; not installed.
#include <cstdio>
#include <exception>
#include <string>

#include "command/manual/completions.h"
#include "command/manual/manual_page.h"
#include "command/manual/option_table.h"
#include "command/whole_file.h"

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fputs("usage: dipx_manual_writer FOLDER DATE\n", stderr);
    return 1;
  }
  const std::string folder = argv[1];
  const std::string date = argv[2];
  try {
    const pages::CommandTable all = pages::command_table();
    command::write_whole(folder + "/dipx.1", pages::manual_page(all, all, date));
    for (const auto& command : all.commands) {
      command::write_whole(folder + "/" + pages::page_name(command) + ".1", pages::manual_page(command, all, date));
    }
    command::write_whole(folder + "/dipx.bash", pages::bash_completion(all));
    command::write_whole(folder + "/_dipx", pages::zsh_completion(all));
    command::write_whole(folder + "/dipx.fish", pages::fish_completion(all));
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "dipx_manual_writer: %s\n", error.what());
    return 1;
  }
}
