#pragma once

#include "base/BasicMap.h"
#include "base/BasicString.h"
#include "base/Object.h"

namespace XML
{

// An interned URI that may name something inside a namespace: the namespace's URI with a local name after
// it. Objects come from a CUriPool; inside one pool equal URIs are one object and can be compared by address.
class CUri : public BSE::CObject
{
public:
  bool IsValid() const override { return true; }

  // The whole URI.
  const BSE::CStr8& GetText() const { return m_text; }

  // Borrowed; null for a URI that was interned without parts. It lives as long as the pool.
  const CUri* GetNamespace() const { return m_pNamespace; }

  // What follows the namespace; the whole URI where there is none.
  const char* GetLocalName() const { return m_text.GetText() + m_nLocal; }

  bool Is(const char* szNamespace, const char* szLocalName) const;

private:
  friend class CUriPool;

  BSE::CStr8 m_text;
  const CUri* m_pNamespace = nullptr;
  int m_nLocal = 0;
};

// Keeps the URIs of a packet. URIs live as long as the pool.
class CUriPool : public BSE::CObject
{
public:
  CUriPool() = default;
  CUriPool(const CUriPool&) = delete;
  CUriPool& operator=(const CUriPool&) = delete;
  ~CUriPool() override;
  bool IsValid() const override { return true; }

  // Borrowed, never null.
  const CUri* Intern(const char* szUri);

  // A name in a namespace. The first division of a URI into parts is kept.
  const CUri* Intern(const char* szNamespace, const char* szLocalName);

  int GetCount() const { return m_uris.GetEnd(); }

private:
  CUri* Enter(const char* pText, int nLength);

  BSE::CBasicMap m_uris;  // text to CUri, with a reference on each
};

}  // namespace XML
