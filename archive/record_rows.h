// Turns the findings of a record into rows of a store.
#pragma once

#include <string>

#include "analysis/findings.h"
#include "archive/store.h"
#include "readers/record.h"

namespace archive {

/// Returns the columns of an analysis from `format` on; the earlier ones are not known to the record.
Row record_columns(const readers::Record& record, const analysis::Analysis& analysis);

/// Adds a row for each event and each segment to `events` and `segments`. `key` is that of the analysis.
void add_findings(const readers::Record& record, const analysis::Analysis& analysis, const std::string& key,
                  TableRows& events, TableRows& segments);

/// Returns the name by which reports divide records: station and device, or the one that is known.
std::string site_of(const readers::Record& record);

}  // namespace archive
