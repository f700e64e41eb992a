#pragma once

#include "metadata/StatusCodes.h"

namespace RDF
{

// RDF/XML syntax (W3C Recommendation "RDF 1.1 XML Syntax", section 5).
inline constexpr const char* g_szNamespace = "http://www.w3.org/1999/02/22-rdf-syntax-ns#";
inline constexpr const char* g_szType = "type";
inline constexpr const char* g_szValue = "value";
inline constexpr const char* g_szDescription = "Description";

}  // namespace RDF
