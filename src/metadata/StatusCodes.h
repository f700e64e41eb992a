#pragma once

// Status codes of metadata; with each code, the properties that its report has.

namespace RDF
{

inline constexpr unsigned g_nNoNamespace = 0x0A090009U;           // "property"
inline constexpr unsigned g_nUnqualifiedAttribute = 0x0A09000BU;  // "attr1", "attr2"
inline constexpr unsigned g_nFeatureNotAllowed = 0x0A098004U;     // "feature"
inline constexpr unsigned g_nOneChildOnly = 0x0A158001U;          // "qname"
inline constexpr unsigned g_nFeatureMissing = 0x8A090001U;        // "feature"
inline constexpr unsigned g_nListItemAttribute = 0x8A090002U;

}  // namespace RDF

namespace XML
{

inline constexpr unsigned g_nXmlWarning = 0x0A088000U;
inline constexpr unsigned g_nXmlError = 0x8A080000U;

}  // namespace XML

namespace PDF
{

inline constexpr unsigned g_nValueRemoved = 0x0A09C8C1U;  // "XmpPath", "cause"

}  // namespace PDF

namespace XMP
{

inline constexpr unsigned g_nInvalidPacket = 0x0341853FU;
inline constexpr unsigned g_nDeprecatedMeta = 0x0A094406U;
inline constexpr unsigned g_nInvalidEncoding = 0x0A09C001U;  // "enc", "exp"
inline constexpr unsigned g_nNoRdf = 0x0A09C401U;
inline constexpr unsigned g_nSeveralResources = 0x0A09C403U;
inline constexpr unsigned g_nTypedTopLevel = 0x0A09C404U;      // "prefix", "name"
inline constexpr unsigned g_nUnknownNodeType = 0x0A09C407U;    // "prefix", "name"
inline constexpr unsigned g_nRepeatedProperty = 0x0A09C40EU;   // "prefix", "name"
inline constexpr unsigned g_nWrongRdfNamespace = 0x0A09C40FU;  // "ns"
inline constexpr unsigned g_nWrongType = 0x0A09C884U;          // "XmpPath", "type", "ChildPtr"
inline constexpr unsigned g_nNoArrayItem = 0x8A094405U;        // "prefix", "name"

}  // namespace XMP
