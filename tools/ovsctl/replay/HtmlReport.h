// The report of a replay as one page that needs nothing else: no script, no request, no outside file.
#pragma once

#include <string>
#include <string_view>

#include "ovsctl/replay/ReplayReport.h"

namespace ovs {

// In UTF-8. Texts out of records and rule files stand in it as text, whatever they hold.
[[nodiscard]] std::string HtmlReport(const ReplayReport& report);

// The page's style sheet, and its SHA-256 in Base64, by which the page allows this style and no other.
[[nodiscard]] std::string_view HtmlReportStyle();
[[nodiscard]] std::string_view HtmlReportStyleHash();

}  // namespace ovs
