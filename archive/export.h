// Writes the rows of a store for spreadsheets and programs.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "archive/store.h"

namespace archive {

enum class ExportFormat { csv, json_lines };

/// The views that can be exported.
enum class ExportedView { events, segments };

/// Calls `take` with the text piece by piece: for CSV (RFC 4180) a heading and a row for each event or segment, for
/// JSON lines an object in each line. The rows are in the order of their keys, so that stores with the same content
/// give the same text. Throws StoreError and what `take` throws.
void export_rows(Store& store, ExportedView view, ExportFormat format,
                 const std::function<void(const std::string&)>& take);

/// Returns the columns of a view in the order of the export.
std::vector<std::string> exported_columns(ExportedView view);

/// Returns a row as one JSON object on one line, without a line feed.
std::string json_object(const std::vector<std::string>& columns, const Row& row);

}  // namespace archive
