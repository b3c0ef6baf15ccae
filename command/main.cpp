// The dipx command: its subcommands and the status it ends with.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <new>
#include <string>

#include "command/analyse_command.h"
#include "command/analysed_voltages.h"
#include "command/explain_command.h"
#include "command/info_command.h"
#include "command/outputs.h"
#include "command/refusal.h"
#include "command/selftest_command.h"
#include "command/synth_command.h"
#include "readers/text.h"
#include "synth/dip_description.h"

namespace {

enum ExitStatus { success = 0, usage = 1, unreadable = 2, refused = 3, failed = 4, faulty = 5 };

constexpr const char* exit_statuses =
    "Exit status: 0 done (with or without dips), 1 usage, 2 the input cannot be read,\n"
    "3 the analysis does not take the record, 4 an output cannot be written, 5 the self-test found faults.";

int complain(const std::string& line, ExitStatus status) {
  std::fprintf(stderr, "dipx: %s\n", readers::inert(line).c_str());
  return status;
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app("Voltage dip analysis of three-phase waveform records", "dipx");
  app.set_version_flag("--version", "dipx " DIPX_VERSION);
  app.footer(exit_statuses);
  app.require_subcommand(1);
  command::add_analyse(app, exit_statuses);
  command::add_info(app, exit_statuses);
  command::add_synth(app, exit_statuses);
  command::add_explain(app, exit_statuses);
  command::add_selftest(app, exit_statuses);
  try {
    app.parse(argc, argv);
    return success;
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? success : usage;
  } catch (const command::UnknownChoice& error) {
    return complain(error.what(), usage);
  } catch (const command::UnknownDip& error) {
    return complain(error.what(), usage);
  } catch (const synth::DescriptionError& error) {
    return complain(error.what(), usage);
  } catch (const readers::ReadError& error) {
    return complain(error.what(), unreadable);
  } catch (const command::Refusal& error) {
    return complain(error.what(), refused);
  } catch (const command::SelfTestFailure& error) {
    return complain(error.what(), faulty);
  } catch (const std::bad_alloc&) {
    return complain("not enough memory", failed);
  } catch (const std::exception& error) {
    return complain(error.what(), failed);
  }
}
