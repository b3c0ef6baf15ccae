// Writes a report as one page for a browser, which loads nothing.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "archive/report.h"

namespace archive {

extern const std::string_view report_style;   ///< the page's style sheet
extern const std::string_view report_script;  ///< the page's script

/// Returns the page. `link`: the address of a page about the record of a file, relative to the report's page; empty if
/// there is none.
std::string report_html(const Report& report, const std::function<std::string(const std::string& file)>& link);

}  // namespace archive
