#pragma once

#include "base/BasicString.h"
#include "base/ErrorContext.h"
#include "base/Object.h"

#include <span>

struct _xmlAttr;
struct _xmlDoc;
struct _xmlNode;

namespace XML
{

inline constexpr const char* g_szXmlNamespace = "http://www.w3.org/XML/1998/namespace";

// Starts libxml2 once in the process. It is never shut down: the host may use it too.
class CLibraryHandle
{
public:
  CLibraryHandle();
};

// The name of an element or attribute. Views into the document, as are all that follow: they are small values
// and valid while it lives. Texts are never null.
class CNSNode
{
public:
  // Empty for a name without a namespace.
  const char* GetNamespace() const { return m_szNamespace; }
  const char* GetPrefix() const { return m_szPrefix; }
  const char* GetLocalName() const { return m_szLocalName; }
  bool Is(const char* szNamespace, const char* szLocalName) const;
  bool IsIn(const char* szNamespace) const;

protected:
  CNSNode() = default;
  void SetName(const void* pNamespace, const unsigned char* pLocalName);

private:
  const char* m_szNamespace = "";
  const char* m_szPrefix = "";
  const char* m_szLocalName = "";
};

// An attribute that is not a namespace declaration. Empty after the last one.
class CAttr : public CNSNode
{
public:
  explicit CAttr(const _xmlAttr* pAttr = nullptr);
  explicit operator bool() const { return m_pAttr != nullptr; }
  CAttr GetNext() const;
  BSE::CStr8 GetValue() const;

private:
  const _xmlAttr* m_pAttr;
};

// An element. Empty after the last one.
class CElement : public CNSNode
{
public:
  explicit CElement(const _xmlNode* pNode = nullptr);
  explicit operator bool() const { return m_pNode != nullptr; }
  CElement GetFirstChild() const;
  CElement GetNext() const;
  CAttr GetFirstAttr() const;
  CAttr FindAttr(const char* szNamespace, const char* szLocalName) const;

  // Text and CDATA sections directly inside, joined.
  BSE::CStr8 GetText() const;

private:
  const _xmlNode* m_pNode;
};

// A parsed XML 1.0 document. Nothing outside it is ever read, and a document type declaration, and with it
// every entity of its own, is refused. Limits: nesting of 256, g_nMaxElements, g_nMaxAttributes in a tag,
// g_nMaxNamespaces in scope; libxml2 takes quadratic time in the latter two.
class CDocument : public BSE::CObject
{
public:
  static constexpr int g_nMaxElements = 500000;
  static constexpr int g_nMaxAttributes = 1000;
  static constexpr int g_nMaxNamespaces = 1000;
  static constexpr int g_nMaxErrors = 1000;  // of kinds that leave a document well-formed

  CDocument() = default;
  CDocument(const CDocument&) = delete;
  CDocument& operator=(const CDocument&) = delete;
  ~CDocument() override;
  bool IsValid() const override { return m_pDoc != nullptr; }

  // UTF-8, whatever a declaration in it says. False, reported and empty, if it is not well-formed. Exhausted
  // memory of libxml2 is thrown as any other.
  bool Parse(std::span<const char> text, BSE::IErrorContext* pErrorContext);

  // True after a parse that failed at a limit, or at a declaration that is refused: the document may well be
  // in order.
  bool IsRefused() const { return m_bRefused; }

  // Empty before a successful parse.
  CElement GetRoot() const;

private:
  void Reset();

  _xmlDoc* m_pDoc = nullptr;
  bool m_bRefused = false;
};

}  // namespace XML
