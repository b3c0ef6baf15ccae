// Repeats the analysis of a certificate.
#pragma once

#include <string>

#include "outputs/certificate/certificate.h"

namespace outputs {

/// Analyses the record in a file by the parameters of a certificate and certifies the result. Throws
/// readers::ReadError, analysis::Refusal or analysis::UnknownChoice.
Certificate certified_again(const std::string& path, const CertifiedRun& run);

}  // namespace outputs
