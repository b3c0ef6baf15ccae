#include "command/verify_command.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "command/event_options.h"
#include "command/standard_output.h"
#include "outputs/certificate/certified_again.h"
#include "outputs/certificate/comparison.h"
#include "readers/file_access.h"
#include "readers/text.h"

namespace command {

namespace {

struct Arguments {
  std::string certificate;
  std::string record;
};

outputs::Certificate read_certificate(const std::string& path) {
  const readers::FileText text(path);
  try {
    return outputs::certificate_in(text.view());
  } catch (const outputs::BadCertificate& error) {
    throw readers::ReadError(readers::inert(path), "", error.what(), "");
  }
}

bool differs_from_record(const Arguments& arguments) {
  const outputs::Certificate certificate = read_certificate(arguments.certificate);
  if (arguments.record == "-") throw UnusableOptions("RECORD must be a file, because its bytes are read twice");
  const outputs::Certificate again = certified_again(arguments.record, certificate.run);
  write_standard_output(verification_text(arguments.certificate, certificate, again));
  return differences_of(certificate, again).any();
}

}  // namespace

void add_verify(CLI::App& app, const std::string& statuses, bool& differs) {
  CLI::App* verify = app.add_subcommand("verify", "Compare a certificate of an analysis with its record");
  const auto arguments = std::make_shared<Arguments>();
  verify->footer(
      "The analysis is run again by the parameters in the certificate, and all figures are compared to the\n"
      "digit. A file of another version may differ; each difference then comes with the certified uncertainty.\n\n" +
      statuses);
  verify->add_option("CERTIFICATE", arguments->certificate, "File that dipx analyse --certificate wrote")
      ->type_name("")
      ->required();
  verify->add_option("RECORD", arguments->record, "The record")->type_name("")->required();
  verify->callback([arguments, &differs] { differs = differs_from_record(*arguments); });
}

}  // namespace command
