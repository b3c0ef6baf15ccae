// Generates manual pages (section 1, in the man macros) from the option tables.
#pragma once

#include <string>

#include "command/manual/option_table.h"

namespace command::manual {

/// Returns the name of the page of `dipx analyse`: "dipx-analyse".
std::string page_name(const CommandTable& table);

/// `all`: the table of the whole command, for the list under SEE ALSO. `date`: year-month-day of the release.
std::string manual_page(const CommandTable& table, const CommandTable& all, const std::string& date);

}  // namespace command::manual
