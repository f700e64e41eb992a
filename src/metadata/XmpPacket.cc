#include "metadata/XmpPacket.h"

#include "metadata/RdfNames.h"
#include "metadata/RdfXmlGenerator.h"
#include "metadata/RdfXmlParser.h"
#include "metadata/Version.h"
#include "metadata/XmpCopier.h"
#include "metadata/XmpEncoding.h"
#include "metadata/XmpRdfGenerator.h"
#include "metadata/XmpRdfParser.h"
#include "metadata/XmpSchema.h"

namespace XMP
{

namespace
{

constexpr const char* g_szMetaNamespace = "adobe:ns:meta/";

XML::CElement FindRdf(const XML::CElement& parent)
{
  XML::CElement element = parent.GetFirstChild();
  while (element && std::strcmp(element.GetLocalName(), "RDF") != 0)
    element = element.GetNext();
  return element;
}

}  // namespace

CPacket::CPacket(BSE::IErrorContext* pErrorContext) : CBasicErrorContext(pErrorContext)
{
  Reset();
}

CPacket::~CPacket() = default;

void CPacket::Reset()
{
  // The tree goes before the names in it.
  m_pMeta = new CMeta;
  m_pUris = new XML::CUriPool;
  m_namespaces = RDF::CUriNamespacePool();
  for (const CSchemaDescription& schema : CSchemaDescriptionPool::GetAll())
    m_namespaces.Enter(schema.m_szNamespace, schema.m_szPrefix);
}

bool CPacket::Read(std::span<const unsigned char> bytes)
{
  Reset();
  BSE::CStr8 text;
  TPacketEncoding encoding = TPacketEncoding::Utf8;
  m_bTooLarge = static_cast<std::int64_t>(bytes.size()) > g_nMaxBytes;
  if (!m_bTooLarge && DecodePacket(bytes, text, encoding))
  {
    if (encoding == TPacketEncoding::Latin1)
      BSE::ReportError(this, BSE::MakeError(g_nInvalidEncoding, "enc", "ISO-8859-1", "exp", "UTF-8"));
    if (ReadText(text.GetSpan()))
    {
      ReportWrongTypes(*m_pMeta, this);
      return true;
    }
  }
  Reset();
  if (m_bTooLarge)
    BSE::ReportError(this, g_nInvalidPacket);
  else
    BSE::ReportLoss(this, g_nInvalidPacket);
  return false;
}

bool CPacket::ReadText(std::span<const char> text)
{
  XML::CDocument document;
  if (!document.Parse(text, this))
  {
    m_bTooLarge = document.IsRefused();
    return false;
  }
  const XML::CElement root = document.GetRoot();
  if (std::strcmp(root.GetLocalName(), "xapmeta") == 0)
    BSE::ReportError(this, g_nDeprecatedMeta);
  const XML::CElement rdf = std::strcmp(root.GetLocalName(), "RDF") == 0 ? root : FindRdf(root);
  if (!rdf)
  {
    BSE::ReportError(this, g_nNoRdf);
    return false;
  }
  if (!rdf.IsIn(RDF::g_szNamespace))
  {
    BSE::ReportError(this, BSE::MakeError(g_nWrongRdfNamespace, "ns", rdf.GetNamespace()));
    return false;
  }
  RDF::CGraph graph(*m_pUris, this);
  RDF::CXmlParser parser(graph, m_namespaces);
  m_bTooLarge = !parser.Parse(rdf);
  if (m_bTooLarge)
    return false;
  CRdfParser(graph, m_namespaces, this).Parse(*m_pMeta);
  return true;
}

void CPacket::Write(BSE::CStr8& text) const
{
  RDF::CGraph graph(*m_pUris, nullptr);
  CRdfGenerator(graph).Generate(*m_pMeta);
  // ISO 16684-1, 7.3.2: the mark in "begin" says the encoding.
  text.Append("<?xpacket begin=\"\xEF\xBB\xBF\" id=\"W5M0MpCehiHzreSzNTczkc9d\"?>\n");
  XML::CWriter writer(text);
  writer.Begin("x", "xmpmeta");
  writer.Attribute("xmlns", "x", g_szMetaNamespace);
  writer.Attribute("x", "xmptk", g_szToolkit);
  RDF::CXmlGenerator(graph, m_namespaces, writer).Generate();
  writer.End("x", "xmpmeta");
  writer.Raw("\n<?xpacket end='w'?>");
}

void CPacket::CopyFrom(const CPacket& other)
{
  if (this == &other)
    return;
  m_pMeta = new CMeta;
  m_pUris = other.m_pUris;
  m_namespaces = other.m_namespaces;
  m_pMeta->SetAbout(other.m_pMeta->GetAbout());
  CCopier().CopyFields(*other.m_pMeta, *m_pMeta);
}

const XML::CUri* CPacket::GetName(const char* szNamespace, const char* szLocalName) const
{
  return m_pUris->Intern(szNamespace, szLocalName);
}

CNode* CPacket::Find(const char* szNamespace, const char* szLocalName) const
{
  return m_pMeta->Find(GetName(szNamespace, szLocalName));
}

const BSE::CStr8& CPacket::GetText(const char* szNamespace, const char* szLocalName) const
{
  static const BSE::CStr8 empty;
  const CNode* pNode = Find(szNamespace, szLocalName);
  return pNode ? pNode->GetText() : empty;
}

void CPacket::SetText(const char* szNamespace, const char* szLocalName, const char* szText)
{
  Set(szNamespace, szLocalName, new CLiteral(BSE::CStr8(szText)));
}

void CPacket::Set(const char* szNamespace, const char* szLocalName, const BSE::CObjectPtr<CNode>& pValue)
{
  const BSE::CObjectPtr<CNode> pKept(pValue);
  m_pMeta->Set(GetName(szNamespace, szLocalName), pValue);
}

void CPacket::Remove(const char* szNamespace, const char* szLocalName)
{
  m_pMeta->Remove(GetName(szNamespace, szLocalName));
}

}  // namespace XMP
