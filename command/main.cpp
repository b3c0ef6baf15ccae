// The dipx command: runs its command line and returns the exit status.
#include <cstdio>
#include <exception>
#include <new>
#include <string>
#include <system_error>

#include "analysis/choice/voltage_choice.h"
#include "analysis/refusal.h"
#include "archive/store_error.h"
#include "command/arguments.h"
#include "command/command_line.h"
#include "command/cure_of_error.h"
#include "command/event_options.h"
#include "command/left_out.h"
#include "command/options_file.h"
#include "command/output_options.h"
#include "command/records_failed.h"
#include "command/selftest_command.h"
#include "command/standard_streams.h"
#include "readers/text.h"
#include "synth/dip_description.h"

namespace {

enum ExitStatus {
  success = 0,
  usage = 1,
  unreadable = 2,
  refused = 3,
  failed = 4,
  faulty = 5,
  different = 6,
  found = 10
};

int complain(const std::string& line, ExitStatus status) {
  std::fprintf(stderr, "dipx: %s\n", readers::inert(line).c_str());
  return status;
}

}  // namespace

int main(int argc, char** argv) {
  command::prepare_standard_streams();
  try {
    switch (command::run_command_line(command::utf8_arguments(argc, argv))) {
      case command::CommandEnd::done:
        return success;
      case command::CommandEnd::found:
        return found;
      case command::CommandEnd::differs:
        return different;
      case command::CommandEnd::usage:
        break;
    }
    return usage;
  } catch (const analysis::UnknownChoice& error) {
    return complain(error.what(), usage);
  } catch (const command::UnknownEvent& error) {
    return complain(error.what(), usage);
  } catch (const command::OutputClash& error) {
    return complain(error.what(), usage);
  } catch (const command::UnusableOptions& error) {
    return complain(error.what(), usage);
  } catch (const command::LeftOut& error) {
    return complain(error.what(), usage);
  } catch (const command::OptionsFileError& error) {
    return complain(error.what(), usage);
  } catch (const synth::DescriptionError& error) {
    return complain(error.what(), usage);
  } catch (const readers::ReadError& error) {
    return complain(error.what(), unreadable);
  } catch (const command::RecordsFailed& error) {
    return complain(error.what(), error.only_refused() ? refused : unreadable);
  } catch (const analysis::Refusal& error) {
    return complain(error.what(), refused);
  } catch (const archive::StoreError& error) {
    return complain(error.what(), failed);
  } catch (const command::SelfTestFailure& error) {
    return complain(error.what(), faulty);
  } catch (const std::bad_alloc&) {
    return complain("not enough memory", failed);
  } catch (const std::system_error& error) {
    return complain(std::string(error.what()) + command::cure_of(error.code()), failed);
  } catch (const std::exception& error) {
    return complain(error.what(), failed);
  }
}
