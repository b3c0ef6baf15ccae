// The certificate of an analysis: a record's hashes, the parameters, and every figure.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "outputs/certificate/figures.h"
#include "outputs/certificate/parameters.h"
#include "readers/record_hashes.h"

namespace outputs {

struct Certificate {
  std::string version;                      ///< of dipx
  std::vector<readers::ContentHash> files;  ///< of the record
  CertifiedRun run;
  std::vector<CertifiedFigure> figures;
  std::vector<ComparedFigure> comparisons;
  std::vector<std::string> notes;  ///< on the record and its analysis
};

/// The sentence that every certificate has: nobody signed it.
extern const char* const unsigned_sentence;

/// Certifies an analysis by this version of dipx.
Certificate certificate_of(const readers::Record& record, const analysis::Analysis& analysis, const CertifiedRun& run,
                           std::vector<readers::ContentHash> files);

/// Returns the certificate as a JSON document; the definition of each figure is in it as well.
std::string certificate_json(const Certificate& certificate);

/// Returns a page for browsers and printers with the figures and, for `dipx verify`, the document.
std::string certificate_page(const Certificate& certificate);

/// Reads a certificate: the document, or a page that contains it. Comparisons and notes are not read. Throws
/// BadCertificate.
Certificate certificate_in(std::string_view content);

}  // namespace outputs
