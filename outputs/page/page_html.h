// One page for a browser that shows a record and its events, with all that it needs in it.
#pragma once

#include <string>
#include <string_view>

#include "analysis/curves.h"
#include "analysis/findings.h"
#include "readers/record.h"

namespace outputs {

/// The whole page, UTF-8. It loads nothing; what it shows of the file is text and never markup.
std::string page_of(const readers::Record& record, const analysis::Analysis& analysis, const analysis::Curves& curves);

/// The page without a record; made of the files in outputs/page when the command is built.
extern const std::string_view page_template;

}  // namespace outputs
