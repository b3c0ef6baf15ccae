// The parameters of an analysis as a certificate states them.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "analysis/analysis_options.h"
#include "analysis/choice/stretch.h"
#include "outputs/certificate/members.h"

namespace outputs {

/// Everything besides the record that determines the figures of an analysis.
struct CertifiedRun {
  double sampling_rate = 0;  ///< samples per second in place of the file's; 0: that of the file
  std::string charset;       ///< character set of the file's names; empty: detected
  analysis::StretchChoice stretch;
  analysis::AnalysisOptions options;
};

nlohmann::ordered_json parameters_json(const CertifiedRun& run);

/// Throws BadCertificate if a parameter is missing or impossible.
CertifiedRun parameters_in(const Members& parameters);

}  // namespace outputs
