// Checks what the command writes of a record: converted records, which are read again, and certificates.
#pragma once

#include <string>

#include "analysis/findings.h"
#include "fuzz/bytes.h"
#include "outputs/certificate/parameters.h"
#include "readers/record.h"

namespace fuzz {

/// Converts a record of which all channels were read, and expects that the file is read with the same samples, rates
/// and names, as exactly as the format can hold them. The input chooses the format.
void expect_converted(Bytes& input, const readers::Record& record);

/// Certifies the analysis of the record in a file, as a document or as a page, and expects that it verifies.
void expect_certified(Bytes& input, const std::string& path, const readers::Record& record,
                      const analysis::Analysis& analysis, const outputs::CertifiedRun& run);

/// Damages the certificate of an analysis, and expects that it is refused with a sentence or that the analysis can be
/// repeated by what remains of it.
void expect_damaged_certificate(Bytes& input, const std::string& path, const readers::Record& record,
                                const analysis::Analysis& analysis, const outputs::CertifiedRun& run);

}  // namespace fuzz
