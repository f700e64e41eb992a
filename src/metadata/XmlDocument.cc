// libxml2 builds the tree, and its callbacks are wrapped only to bound what a hostile packet can make it do.
// Its time is quadratic in the attributes of a tag and in the namespaces in scope, and every byte may be an
// error with a long message. Namespaces and elements are counted in the callbacks. Attributes are counted in
// the text before the parse, because a callback comes only after they have been compared. A document type
// declaration stops the parse, and with it the expansion of entities. Whether a parse failed at a limit or at
// the text is kept apart: a document that is refused may be sound.

#include "metadata/XmlDocument.h"

#include "base/Checked.h"
#include "base/Memory.h"
#include "metadata/XmlErrorHandler.h"

#include <libxml/SAX2.h>
#include <libxml/parser.h>
#include <libxml/tree.h>

#include <cstring>
#include <limits>

namespace XML
{

namespace
{

// State of one parse, reached from the parser through its private pointer.
struct TParse
{
  CLibXML2ErrorHandler m_errors;
  BSE::CBasicArray<int> m_namespaces;  // declared by each open element
  int m_nInScope = 0;
  int m_nElements = 0;
  int m_nErrors = 0;
  bool m_bEnded = false;      // by an error
  bool m_bRefused = false;    // at a limit
  bool m_bExhausted = false;  // no memory was left
};

TParse& GetParse(void* pContext)
{
  return *static_cast<TParse*>(static_cast<xmlParserCtxtPtr>(pContext)->_private);
}

void Refuse(void* pContext)
{
  GetParse(pContext).m_bRefused = true;
  xmlStopParser(static_cast<xmlParserCtxtPtr>(pContext));
}

void OnInternalSubset(void* pContext, const xmlChar*, const xmlChar*, const xmlChar*)
{
  Refuse(pContext);
}

void OnStartElement(void* pContext, const xmlChar* pLocalName, const xmlChar* pPrefix, const xmlChar* pUri,
                    int nNamespaces, const xmlChar** pNamespaces, int nAttributes, int nDefaulted,
                    const xmlChar** pAttributes)
{
  TParse& parse = GetParse(pContext);
  try
  {
    parse.m_namespaces.Add(nNamespaces);
  }
  catch (...)  // exhausted memory, which must not pass through a library of C
  {
    parse.m_bExhausted = true;
    xmlStopParser(static_cast<xmlParserCtxtPtr>(pContext));
    return;
  }
  parse.m_nInScope += nNamespaces;
  if (++parse.m_nElements > CDocument::g_nMaxElements || parse.m_nInScope > CDocument::g_nMaxNamespaces)
    Refuse(pContext);
  else
    xmlSAX2StartElementNs(pContext, pLocalName, pPrefix, pUri, nNamespaces, pNamespaces, nAttributes,
                          nDefaulted, pAttributes);
}

void OnEndElement(void* pContext, const xmlChar* pLocalName, const xmlChar* pPrefix, const xmlChar* pUri)
{
  TParse& parse = GetParse(pContext);
  const int nLast = parse.m_namespaces.GetSize() - 1;
  parse.m_nInScope -= parse.m_namespaces[nLast];
  parse.m_namespaces.Truncate(nLast);
  xmlSAX2EndElementNs(pContext, pLocalName, pPrefix, pUri);
}

// The parser's own limits on nesting and on the length of texts, for which it has no codes of their own.
bool IsLimit(const xmlError& error)
{
  return error.code == XML_ERR_INTERNAL_ERROR ||
         (error.code == XML_ERR_NO_MEMORY && error.message && std::strstr(error.message, "huge"));
}

// The parser makes a text of up to 64,000 bytes for every error, and can find one at every byte. An error
// that ends the document ends the parse, and so do many of another kind. The input is still in use here, so
// that the parser is told to end by its state and not stopped.
void OnError(void* pContext, xmlErrorPtr pError)
{
  if (!pContext || !pError || pError->code == XML_ERR_USER_STOP)
    return;
  TParse& parse = GetParse(pContext);
  parse.m_errors.Report(*pError);
  parse.m_bRefused = parse.m_bRefused || IsLimit(*pError);
  parse.m_bExhausted = parse.m_bExhausted || (pError->code == XML_ERR_NO_MEMORY && !IsLimit(*pError));
  if (pError->level < XML_ERR_FATAL && ++parse.m_nErrors <= CDocument::g_nMaxErrors)
    return;
  auto* pParser = static_cast<xmlParserCtxtPtr>(pContext);
  parse.m_bEnded = true;
  pParser->disableSAX = 1;
  pParser->instate = XML_PARSER_EOF;
}

// Quoted values between a '<' and the end of its tag. A '<' always begins anew: it cannot be in a value,
// so that no tag of a well-formed document is missed.
bool HasCrowdedTag(std::span<const char> text)
{
  bool bInTag = false;
  char nQuote = 0;
  int nValues = 0;
  for (const char c : text)
  {
    if (c == '<')
    {
      bInTag = true;
      nQuote = 0;
      nValues = 0;
    }
    else if (!bInTag)
      continue;
    else if (nQuote != 0)
      nQuote = c == nQuote ? '\0' : nQuote;
    else if (c == '>')
      bInTag = false;
    else if (c == '"' || c == '\'')
    {
      nQuote = c;
      if (++nValues > CDocument::g_nMaxAttributes)
        return true;
    }
  }
  return false;
}

struct TParserFree
{
  xmlParserCtxtPtr m_p;
  ~TParserFree() { xmlFreeParserCtxt(m_p); }
};

const char* ToText(const xmlChar* pText)
{
  return pText ? reinterpret_cast<const char*>(pText) : "";
}

void AppendText(const xmlNode* pFirst, BSE::CStr8& text)
{
  for (const xmlNode* p = pFirst; p; p = p->next)
    if (p->type == XML_TEXT_NODE || p->type == XML_CDATA_SECTION_NODE)
      text.Append(ToText(p->content));
}

const xmlNode* SkipToElement(const xmlNode* pNode)
{
  while (pNode && pNode->type != XML_ELEMENT_NODE)
    pNode = pNode->next;
  return pNode;
}

}  // namespace

CLibraryHandle::CLibraryHandle()
{
  // Made once, by the first thread that comes here.
  static const bool bStarted = (xmlInitParser(), true);
  static_cast<void>(bStarted);
}

bool CNSNode::Is(const char* szNamespace, const char* szLocalName) const
{
  return std::strcmp(m_szLocalName, szLocalName) == 0 && IsIn(szNamespace);
}

bool CNSNode::IsIn(const char* szNamespace) const
{
  return std::strcmp(m_szNamespace, szNamespace) == 0;
}

void CNSNode::SetName(const void* pNamespace, const unsigned char* pLocalName)
{
  const auto* pNs = static_cast<const xmlNs*>(pNamespace);
  m_szNamespace = pNs ? ToText(pNs->href) : "";
  m_szPrefix = pNs ? ToText(pNs->prefix) : "";
  m_szLocalName = ToText(pLocalName);
}

CAttr::CAttr(const _xmlAttr* pAttr) : m_pAttr(pAttr)
{
  if (pAttr)
    SetName(pAttr->ns, pAttr->name);
}

CAttr CAttr::GetNext() const
{
  return CAttr(m_pAttr ? m_pAttr->next : nullptr);
}

BSE::CStr8 CAttr::GetValue() const
{
  BSE::CStr8 text;
  if (m_pAttr)
    AppendText(m_pAttr->children, text);
  return text;
}

CElement::CElement(const _xmlNode* pNode) : m_pNode(pNode)
{
  if (pNode)
    SetName(pNode->ns, pNode->name);
}

CElement CElement::GetFirstChild() const
{
  return CElement(SkipToElement(m_pNode ? m_pNode->children : nullptr));
}

CElement CElement::GetNext() const
{
  return CElement(SkipToElement(m_pNode ? m_pNode->next : nullptr));
}

CAttr CElement::GetFirstAttr() const
{
  return CAttr(m_pNode ? m_pNode->properties : nullptr);
}

CAttr CElement::FindAttr(const char* szNamespace, const char* szLocalName) const
{
  CAttr attr = GetFirstAttr();
  while (attr && !attr.Is(szNamespace, szLocalName))
    attr = attr.GetNext();
  return attr;
}

BSE::CStr8 CElement::GetText() const
{
  BSE::CStr8 text;
  if (m_pNode)
    AppendText(m_pNode->children, text);
  return text;
}

CDocument::~CDocument()
{
  Reset();
}

void CDocument::Reset()
{
  if (m_pDoc)
    xmlFreeDoc(m_pDoc);
  m_pDoc = nullptr;
}

CElement CDocument::GetRoot() const
{
  return CElement(m_pDoc ? xmlDocGetRootElement(m_pDoc) : nullptr);
}

bool CDocument::Parse(std::span<const char> text, BSE::IErrorContext* pErrorContext)
{
  Reset();
  m_bRefused = text.size() > std::numeric_limits<int>::max() || HasCrowdedTag(text);
  if (text.empty() || m_bRefused)
    return false;
  const CLibraryHandle library;
  const TParserFree parser{xmlNewParserCtxt()};
  if (!parser.m_p)
    BSE::ThrowOutOfMemory();
  TParse parse{CLibXML2ErrorHandler(pErrorContext), {}};
  parser.m_p->_private = &parse;
  parser.m_p->sax->internalSubset = OnInternalSubset;
  parser.m_p->sax->entityDecl = nullptr;
  parser.m_p->sax->startElementNs = OnStartElement;
  parser.m_p->sax->endElementNs = OnEndElement;
  parser.m_p->sax->serror = OnError;
  // Without declarations there are only the five entities of XML itself. Unless the parser replaces them, it
  // leaves "&#38;" in the URIs of namespaces.
  m_pDoc = xmlCtxtReadMemory(parser.m_p, text.data(), static_cast<int>(text.size()), nullptr, "UTF-8",
                             XML_PARSE_NONET | XML_PARSE_NOENT);
  if (m_pDoc && !parse.m_bRefused && !parse.m_bEnded && parser.m_p->wellFormed && GetRoot())
    return true;
  Reset();
  if (parse.m_bExhausted)
    BSE::ThrowOutOfMemory();
  m_bRefused = parse.m_bRefused;
  return false;
}

}  // namespace XML
