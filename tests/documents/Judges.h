#pragma once

#include <gmock/gmock.h>

#include <string>

namespace Documents
{

// Succeeds when qpdf finds neither an error nor a warning in the document, or is not installed.
testing::AssertionResult IsSound(const std::string& sPdf);

// Succeeds when pdftotext finds "Page 1" to the last page of a sample and nothing else, or is not installed.
testing::AssertionResult HasTextOfPages(const std::string& sPdf, int nPages);

// Succeeds when the library itself opens it without any report and counts these pages.
testing::AssertionResult Reopens(const std::string& sPdf, int nPages);

}  // namespace Documents
