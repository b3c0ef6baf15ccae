// The dipx command: runs what its command line asks for, and the status it ends with.
#include <cstdio>
#include <exception>
#include <new>
#include <string>

#include "analysis/choice/voltage_choice.h"
#include "analysis/refusal.h"
#include "command/command_line.h"
#include "command/event_options.h"
#include "command/options_file.h"
#include "command/output_options.h"
#include "command/selftest_command.h"
#include "readers/text.h"
#include "synth/dip_description.h"

namespace {

enum ExitStatus { success = 0, usage = 1, unreadable = 2, refused = 3, failed = 4, faulty = 5, found = 10 };

int complain(const std::string& line, ExitStatus status) {
  std::fprintf(stderr, "dipx: %s\n", readers::inert(line).c_str());
  return status;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    switch (command::run_command_line(argc, argv)) {
      case command::CommandEnd::done:
        return success;
      case command::CommandEnd::found:
        return found;
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
  } catch (const command::OptionsFileError& error) {
    return complain(error.what(), usage);
  } catch (const synth::DescriptionError& error) {
    return complain(error.what(), usage);
  } catch (const readers::ReadError& error) {
    return complain(error.what(), unreadable);
  } catch (const analysis::Refusal& error) {
    return complain(error.what(), refused);
  } catch (const command::SelfTestFailure& error) {
    return complain(error.what(), faulty);
  } catch (const std::bad_alloc&) {
    return complain("not enough memory", failed);
  } catch (const std::exception& error) {
    return complain(error.what(), failed);
  }
}
