#pragma once

#include "metadata/StatusCodes.h"
#include "metadata/XmpNode.h"

#include <span>

namespace XMP
{

// Namespaces of the schemas (ISO 16684-1, 8; ISO 19005-1, 6.7).
inline constexpr const char* g_szDc = "http://purl.org/dc/elements/1.1/";
inline constexpr const char* g_szXmp = "http://ns.adobe.com/xap/1.0/";
inline constexpr const char* g_szXmpMM = "http://ns.adobe.com/xap/1.0/mm/";
inline constexpr const char* g_szPdf = "http://ns.adobe.com/pdf/1.3/";
inline constexpr const char* g_szPdfAId = "http://www.aiim.org/pdfa/ns/id/";
inline constexpr const char* g_szEvent = "http://ns.adobe.com/xap/1.0/sType/ResourceEvent#";

enum class TValueType
{
  Text,
  Date,
  Integer,
  Boolean,
  LangAlt,
  BagOfText,
  SeqOfText,
  SeqOfDate,
  Structure,
  SeqOfStructure
};

// A property of a schema with the type of its value.
struct CPropertyDescription
{
  const char* m_szName;
  TValueType m_type;

  // "Lang Alt" and the like.
  const char* GetTypeName() const;

  // True if the node has the form that the type asks for. Texts of dates and numbers are judged too.
  bool Fits(const CNode& node) const;
};

struct CSchemaDescription
{
  const char* m_szPrefix;
  const char* m_szNamespace;
  const char* m_szTitle;
  std::span<const CPropertyDescription> m_properties;

  // Null for a property that the table does not list.
  const CPropertyDescription* Find(const char* szName) const;
};

// The built-in schemas. They list the properties that this library touches or judges.
class CSchemaDescriptionPool
{
public:
  static std::span<const CSchemaDescription> GetAll();

  // Null for a namespace that is not built in.
  static const CSchemaDescription* Find(const char* szNamespace);
};

// The path to a node: "/dc:title[2]", with the usual prefixes, or the URI of a name of no built-in schema.
BSE::CStr8 GetPath(const CNode& node);

// Reports every top-level property whose value does not have the type of its schema.
void ReportWrongTypes(const CMeta& meta, BSE::IErrorContext* pErrorContext);

}  // namespace XMP
