// The options that choose the outputs of an analysis, and the code that writes them.
#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>

#include "analysis/findings.h"
#include "command/progress.h"
#include "outputs/certificate/parameters.h"

namespace CLI {
class App;
}

namespace command {

struct Outputs {
  bool json = false;
  bool json_lines = false;
  bool csv = false;
  std::string csv_dialect = "plain";  ///< or "excel"
  bool quiet = false;
  std::string report;  ///< files; empty: not asked for
  std::string svg;
  std::string pdf;
  std::string png;
  std::string html;
  std::string certificate;
  bool no_clobber = false;   ///< files that exist are not replaced
  std::size_t event = 1;     ///< the one that the figure shows, from 1
  bool event_given = false;  ///< the user chose it
  bool one_of_many = false;  ///< several analyses are shown one after another, each as one line of JSON
  bool first = true;         ///< this is the first of them

  /// A figure is wanted in some form.
  [[nodiscard]] bool figure() const { return !svg.empty() || !pdf.empty() || !png.empty(); }
  /// A file is wanted, which shows one set and part of one record.
  [[nodiscard]] bool files() const { return figure() || !html.empty() || !report.empty() || !certificate.empty(); }
};

/// The event that the user named is not in the record.
class UnknownEvent : public std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// A file to be written is one of the record's own files, or the same as another output.
class OutputClash : public std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// Throws LeftOut (left_out.h) if an output is wanted that this build does not have, and UnusableOptions if --event is
/// given without a figure.
void check_parts(const Outputs& outputs);

/// Throws OutputClash, and FileKept (written_files.h).
void check_files(const readers::Record& record, const Outputs& outputs);

void add_output_options(CLI::App& app, Outputs& outputs);

/// Writes either all requested files or none, then standard output. `run`: what a certificate states; `path`: the path
/// that the record was opened by. Throws UnknownEvent.
void show(const readers::Record& record, const analysis::Analysis& analysis, const Outputs& outputs,
          const outputs::CertifiedRun& run, const std::string& path, Progress& progress);

/// Throws UnusableOptions if a certificate is wanted that cannot be written. `library`: the embedded library's results
/// are shown.
void check_certificate(const Outputs& outputs, const std::string& path, bool library);

}  // namespace command
