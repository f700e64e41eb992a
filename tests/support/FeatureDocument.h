#pragma once

#include <string>

namespace Support
{

// A sound document of two pages, with the texts "Page 1" and "Page 2", that has something of every feature
// that can be stripped: structure, article threads, outlines, a form, annotations that are visible and that
// are not, attachments, named destinations, layers, alternate images, private data.
std::string MakeFeatureDocument();

}  // namespace Support
