// Writes a self-contained page for a browser that shows a record and its events.
#pragma once

#include <string>
#include <string_view>

#include "analysis/curves.h"
#include "analysis/findings.h"
#include "readers/record.h"

namespace outputs {

/// Returns the whole page in UTF-8. It loads nothing; text from the file appears only as text and never as markup.
std::string page_of(const readers::Record& record, const analysis::Analysis& analysis, const analysis::Curves& curves);

/// The page without a record; made of the files in outputs/page when the command is built.
extern const std::string_view page_template;

}  // namespace outputs
