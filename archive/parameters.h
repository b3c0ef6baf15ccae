// The options that have an effect on the results of a record, as a store names them.
#pragma once

#include <string>

#include "analysis/analysis_options.h"
#include "analysis/choice/stretch.h"
#include "readers/open_options.h"

namespace archive {

/// How each record is read and analysed.
struct RecordAnalysis {
  readers::OpenOptions open;
  analysis::StretchChoice stretch;
  analysis::AnalysisOptions options;
  bool all_sets = false;
  bool all_parts = false;
};

/// Returns the options in words, one after another in a fixed order. Options that are left at their defaults are named
/// too, because a default may change with the version.
std::string options_text(const RecordAnalysis& analysis);

/// The names of a set of parameters and of the dipx that uses it.
struct Origin {
  std::string parameters;  ///< hash of `options_text`
  std::string version;
};

/// Returns the names for these options and this dipx.
Origin origin_of(const RecordAnalysis& analysis);

/// Returns the key of the analysis of a record by the hash of its content.
std::string analysis_key(const std::string& sha256, const Origin& origin);

/// Returns the key for a file whose content could not be read.
std::string unread_key(const std::string& path, const Origin& origin);

}  // namespace archive
