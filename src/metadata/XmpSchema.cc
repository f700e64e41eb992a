#include "metadata/XmpSchema.h"

#include "metadata/XmpDate.h"

#include <charconv>

namespace XMP
{

namespace
{

constexpr CPropertyDescription g_dcProperties[] = {
    {"contributor", TValueType::BagOfText}, {"coverage", TValueType::Text},
    {"creator", TValueType::SeqOfText},     {"date", TValueType::SeqOfDate},
    {"description", TValueType::LangAlt},   {"format", TValueType::Text},
    {"identifier", TValueType::Text},       {"language", TValueType::BagOfText},
    {"publisher", TValueType::BagOfText},   {"relation", TValueType::BagOfText},
    {"rights", TValueType::LangAlt},        {"source", TValueType::Text},
    {"subject", TValueType::BagOfText},     {"title", TValueType::LangAlt},
    {"type", TValueType::BagOfText},
};

constexpr CPropertyDescription g_xmpProperties[] = {
    {"BaseURL", TValueType::Text},     {"CreateDate", TValueType::Date},
    {"CreatorTool", TValueType::Text}, {"Identifier", TValueType::BagOfText},
    {"Label", TValueType::Text},       {"MetadataDate", TValueType::Date},
    {"ModifyDate", TValueType::Date},  {"Nickname", TValueType::Text},
    {"Rating", TValueType::Integer},
};

constexpr CPropertyDescription g_xmpMMProperties[] = {
    {"DerivedFrom", TValueType::Structure},  {"DocumentID", TValueType::Text},
    {"History", TValueType::SeqOfStructure}, {"InstanceID", TValueType::Text},
    {"ManagedFrom", TValueType::Structure},  {"Manager", TValueType::Text},
    {"ManageTo", TValueType::Text},          {"ManageUI", TValueType::Text},
    {"ManagerVariant", TValueType::Text},    {"OriginalDocumentID", TValueType::Text},
    {"RenditionClass", TValueType::Text},    {"RenditionParams", TValueType::Text},
    {"VersionID", TValueType::Text},         {"Versions", TValueType::SeqOfStructure},
};

constexpr CPropertyDescription g_xmpRightsProperties[] = {
    {"Certificate", TValueType::Text},   {"Marked", TValueType::Boolean},    {"Owner", TValueType::BagOfText},
    {"UsageTerms", TValueType::LangAlt}, {"WebStatement", TValueType::Text},
};

constexpr CPropertyDescription g_pdfProperties[] = {
    {"Keywords", TValueType::Text},
    {"PDFVersion", TValueType::Text},
    {"Producer", TValueType::Text},
    {"Trapped", TValueType::Boolean},
};

constexpr CPropertyDescription g_pdfAIdProperties[] = {
    {"amd", TValueType::Text},
    {"conformance", TValueType::Text},
    {"part", TValueType::Integer},
};

constexpr CSchemaDescription g_schemas[] = {
    {"dc", g_szDc, "Dublin Core Schema", g_dcProperties},
    {"xmp", g_szXmp, "XMP Basic Schema", g_xmpProperties},
    {"xmpMM", g_szXmpMM, "XMP Media Management Schema", g_xmpMMProperties},
    {"xmpRights", "http://ns.adobe.com/xap/1.0/rights/", "XMP Rights Management Schema",
     g_xmpRightsProperties},
    {"xmpBJ", "http://ns.adobe.com/xap/1.0/bj/", "XMP Basic Job Ticket Schema", {}},
    {"xmpTPg", "http://ns.adobe.com/xap/1.0/t/pg/", "XMP Paged-Text Schema", {}},
    {"xmpDM", "http://ns.adobe.com/xmp/1.0/DynamicMedia/", "XMP Dynamic Media Schema", {}},
    {"pdf", g_szPdf, "PDF Schema", g_pdfProperties},
    {"pdfaid", g_szPdfAId, "PDF/A Identification Schema", g_pdfAIdProperties},
    {"pdfaExtension",
     "http://www.aiim.org/pdfa/ns/extension/",
     "PDF/A Extension Schema Container Schema",
     {}},
    {"pdfaSchema", "http://www.aiim.org/pdfa/ns/schema#", "PDF/A Schema Value Type", {}},
    {"pdfaProperty", "http://www.aiim.org/pdfa/ns/property#", "PDF/A Property Value Type", {}},
    {"pdfaType", "http://www.aiim.org/pdfa/ns/type#", "PDF/A ValueType Value Type", {}},
    {"pdfaField", "http://www.aiim.org/pdfa/ns/field#", "PDF/A Field Value Type", {}},
    {"stEvt", g_szEvent, "ResourceEvent", {}},
    {"stRef", "http://ns.adobe.com/xap/1.0/sType/ResourceRef#", "ResourceRef", {}},
    {"stVer", "http://ns.adobe.com/xap/1.0/sType/Version#", "Version", {}},
    {"stJob", "http://ns.adobe.com/xap/1.0/sType/Job#", "Job", {}},
    {"stDim", "http://ns.adobe.com/xap/1.0/sType/Dimensions#", "Dimensions", {}},
    {"xapGImg", "http://ns.adobe.com/xap/1.0/g/img/", "Thumbnail", {}},
    {"ocr", "http://ns.norvane.com/ocr/1.0/", "Recognized Text Schema", {}},
};

bool IsInteger(const BSE::CStr8& text)
{
  long long nValue = 0;
  const char* pEnd = text.GetText() + text.GetLength();
  const std::from_chars_result result = std::from_chars(text.GetText(), pEnd, nValue);
  return result.ec == std::errc() && result.ptr == pEnd;
}

bool IsLiteral(const CNode& node)
{
  return dynamic_cast<const CLiteral*>(&node) != nullptr;
}

bool IsStructure(const CNode& node)
{
  return dynamic_cast<const CStructure*>(&node) != nullptr;
}

bool IsDate(const CNode& node)
{
  TDate date;
  return IsLiteral(node) && ParseXmpDate(node.GetText().GetSpan(), date);
}

bool IsArrayOf(const CNode& node, TArrayKind kind, bool (*pfItem)(const CNode&))
{
  const auto* pArray = dynamic_cast<const CArray*>(&node);
  if (!pArray || pArray->GetKind() != kind)
    return false;
  for (int i = 0; i < pArray->GetSize(); ++i)
    if (!pfItem(*pArray->GetItem(i)))
      return false;
  return true;
}

void AppendStep(const CNode& node, BSE::CStr8& path)
{
  const XML::CUri* pName = node.GetName();
  path.Append('/');
  const XML::CUri* pNamespace = pName->GetNamespace();
  const auto* pSchema = pNamespace ? CSchemaDescriptionPool::Find(pNamespace->GetText().GetText()) : nullptr;
  if (!pSchema)
  {
    path.Append(pName->GetText().GetText());
    return;
  }
  path.Append(pSchema->m_szPrefix);
  path.Append(':');
  path.Append(pName->GetLocalName());
}

void AppendIndex(const CNode& node, const CArray& array, BSE::CStr8& path)
{
  int nIndex = 0;
  while (nIndex < array.GetSize() && array.GetItem(nIndex) != &node)
    ++nIndex;
  char szText[16] = "[";
  char* pEnd = std::to_chars(szText + 1, szText + 12, nIndex + 1).ptr;
  *pEnd = ']';
  path.Append(szText);
}

void AppendPath(const CNode& node, BSE::CStr8& path)
{
  const CNode* pParent = node.GetParentNode();
  if (!pParent)
    return;
  AppendPath(*pParent, path);
  if (node.GetName())
    AppendStep(node, path);
  else if (const auto* pArray = dynamic_cast<const CArray*>(pParent))
    AppendIndex(node, *pArray, path);
}

}  // namespace

const char* CPropertyDescription::GetTypeName() const
{
  constexpr const char* names[] = {"Text",     "Date",     "Integer",  "Boolean",   "Lang Alt",
                                   "bag Text", "seq Text", "seq Date", "Structure", "seq Structure"};
  return names[static_cast<int>(m_type)];
}

bool CPropertyDescription::Fits(const CNode& node) const
{
  switch (m_type)
  {
  case TValueType::Text:
    return IsLiteral(node);
  case TValueType::Date:
    return IsDate(node);
  case TValueType::Integer:
    return IsLiteral(node) && IsInteger(node.GetText());
  case TValueType::Boolean:
    return IsLiteral(node) && (node.GetText() == BSE::CStr8("True") || node.GetText() == BSE::CStr8("False"));
  case TValueType::LangAlt:
    return IsArrayOf(node, TArrayKind::Alt, IsLiteral);
  case TValueType::BagOfText:
    return IsArrayOf(node, TArrayKind::Bag, IsLiteral);
  case TValueType::SeqOfText:
    return IsArrayOf(node, TArrayKind::Seq, IsLiteral);
  case TValueType::SeqOfDate:
    return IsArrayOf(node, TArrayKind::Seq, IsDate);
  case TValueType::Structure:
    return IsStructure(node);
  case TValueType::SeqOfStructure:
    return IsArrayOf(node, TArrayKind::Seq, IsStructure);
  }
  return false;
}

const CPropertyDescription* CSchemaDescription::Find(const char* szName) const
{
  for (const CPropertyDescription& property : m_properties)
    if (std::strcmp(property.m_szName, szName) == 0)
      return &property;
  return nullptr;
}

std::span<const CSchemaDescription> CSchemaDescriptionPool::GetAll()
{
  return g_schemas;
}

const CSchemaDescription* CSchemaDescriptionPool::Find(const char* szNamespace)
{
  for (const CSchemaDescription& schema : g_schemas)
    if (std::strcmp(schema.m_szNamespace, szNamespace) == 0)
      return &schema;
  return nullptr;
}

BSE::CStr8 GetPath(const CNode& node)
{
  BSE::CStr8 path;
  AppendPath(node, path);
  return path;
}

void ReportWrongTypes(const CMeta& meta, BSE::IErrorContext* pErrorContext)
{
  for (int i = meta.GetBegin(); i != meta.GetEnd(); i = meta.GetNext(i))
  {
    const CNode& node = *meta.GetAt(i);
    const XML::CUri* pNamespace = node.GetName()->GetNamespace();
    const auto* pSchema =
        pNamespace ? CSchemaDescriptionPool::Find(pNamespace->GetText().GetText()) : nullptr;
    const auto* pProperty = pSchema ? pSchema->Find(node.GetName()->GetLocalName()) : nullptr;
    if (!pProperty || pProperty->Fits(node))
      continue;
    BSE::CScopedPtr<BSE::IError> pError =
        BSE::MakeError(g_nWrongType, "XmpPath", GetPath(node).GetText(), "type", pProperty->GetTypeName());
    BSE::CScopedPtr<BSE::CErrorProperty> pChild(new BSE::CPtrErrorProperty(&node));
    pError->GetProperties()->Set("ChildPtr", std::move(pChild));
    BSE::ReportError(pErrorContext, std::move(pError));
  }
}

}  // namespace XMP
