#pragma once

namespace RDF
{

// RDF/XML syntax (W3C Recommendation "RDF 1.1 XML Syntax", section 5).
inline constexpr const char* g_szNamespace = "http://www.w3.org/1999/02/22-rdf-syntax-ns#";
inline constexpr const char* g_szType = "type";
inline constexpr const char* g_szValue = "value";
inline constexpr const char* g_szDescription = "Description";

// Codes of the reports on RDF.
inline constexpr unsigned g_nFeatureMissing = 0x8A090001U;  // "feature"
inline constexpr unsigned g_nListItemAttribute = 0x8A090002U;
inline constexpr unsigned g_nNoNamespace = 0x0A090009U;           // "property"
inline constexpr unsigned g_nUnqualifiedAttribute = 0x0A09000BU;  // "attr1", "attr2"
inline constexpr unsigned g_nFeatureNotAllowed = 0x0A098004U;     // "feature"
inline constexpr unsigned g_nOneChildOnly = 0x0A158001U;          // "qname"

}  // namespace RDF
