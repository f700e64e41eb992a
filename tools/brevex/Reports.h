#pragma once

#include <string>
#include <vector>

#include "FileResult.h"
#include "Handle.h"
#include "JsonObject.h"

namespace Tool
{

// What the library reported while it opened or saved the document of the handle.
std::vector<TReport> ReadReports(const CHandle& handle);

// "lost: CODE MESSAGE (object N, page N) x COUNT", with the parts that there are.
std::string FormatReport(const TReport& entry);

CJsonObject MakeReportJson(const TReport& entry);

}  // namespace Tool
