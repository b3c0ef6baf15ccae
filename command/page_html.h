// One page for a browser that shows a record and its dips, with all that it needs in it.
#pragma once

#include <string>
#include <string_view>

#include "command/analysis.h"
#include "command/curves.h"

namespace command {

/// The whole page, UTF-8. It loads nothing; what it shows of the file is text and never markup.
std::string page_of(const readers::Record& record, const Analysis& analysis, const Curves& curves);

/// The page without a record; made of the files in command/page when the command is built.
extern const std::string_view page_template;

}  // namespace command
