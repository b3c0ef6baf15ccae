// Compares two certificates of one record, figure by figure.
#pragma once

#include <string>
#include <vector>

#include "outputs/certificate/certificate.h"

namespace outputs {

/// The differences between a certificate and the analysis that was run again.
struct CertificateDifferences {
  bool other_record = false;         ///< the hashes of the record's files differ
  std::vector<std::string> figures;  ///< one line for each figure that differs, is missing or is new

  [[nodiscard]] bool any() const { return other_record || !figures.empty(); }
};

/// Compares hashes and figures. Names of files do not matter. A figure differs if its digits or its uncertainty do; if
/// both values are numbers with an uncertainty, the line says whether the change lies within it.
CertificateDifferences differences_of(const Certificate& certificate, const Certificate& again);

/// Describes the outcome of a verification for people.
std::string verification_text(const std::string& file, const Certificate& certificate, const Certificate& again);

}  // namespace outputs
