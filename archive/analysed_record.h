// Analyses the content of one record for a store.
#pragma once

#include <string>
#include <vector>

#include "archive/parameters.h"
#include "archive/store.h"
#include "readers/open_record.h"

namespace archive {

/// The reasons of refusals, as stores name them.
inline constexpr const char* reason_unreadable = "unreadable";
inline constexpr const char* reason_not_analysable = "not_analysable";
inline constexpr const char* reason_crashed = "crashed";
inline constexpr const char* reason_timeout = "timeout";
inline constexpr const char* reason_memory = "memory";

/// A record, as a store identifies it.
struct RecordIdentity {
  std::string sha256;
  std::string analysis;  ///< key of the analysis
  std::string file;      ///< the file by which it was added
};

/// Returns the row of an analysis. `columns` are those of record_columns; none if the record was refused.
Row analysis_row(const RecordIdentity& identity, const Origin& origin, const Row& columns);

/// Returns the row of a refusal. Part and set are 0 if the whole record was refused.
Row refusal_row(const RecordIdentity& identity, std::size_t part, std::size_t set, const std::string& reason,
                const std::string& message);

/// Reads and analyses a record and returns its rows: the analysis, its events and segments, and refusals of the record
/// or of some of its sets and parts. Throws nothing but std::bad_alloc for a record, whatever it holds.
std::vector<TableRows> analysed_rows(readers::RecordContents contents, const RecordIdentity& identity,
                                     const RecordAnalysis& how, const Origin& origin);

}  // namespace archive
