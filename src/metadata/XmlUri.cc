#include "metadata/XmlUri.h"

namespace XML
{

bool CUri::Is(const char* szNamespace, const char* szLocalName) const
{
  return m_pNamespace && std::strcmp(GetLocalName(), szLocalName) == 0 &&
         std::strcmp(m_pNamespace->GetText().GetText(), szNamespace) == 0;
}

CUriPool::~CUriPool()
{
  for (int i = m_uris.GetBegin(); i != m_uris.GetEnd(); i = m_uris.GetNext(i))
    static_cast<CUri*>(m_uris.GetValue(i))->Release();
}

CUri* CUriPool::Enter(const char* pText, int nLength)
{
  const auto nBytes = static_cast<std::size_t>(nLength);
  if (const int nEntry = m_uris.Lookup(pText, nBytes); nEntry >= 0)
    return static_cast<CUri*>(m_uris.GetValue(nEntry));
  BSE::CObjectPtr<CUri> pUri(new CUri);
  pUri->m_text.Assign(pText, nLength);
  m_uris.SetAt(pText, nBytes, pUri.Get());
  return pUri.Detach();
}

const CUri* CUriPool::Intern(const char* szUri)
{
  return Enter(szUri, BSE::CStr8::Length(szUri));
}

const CUri* CUriPool::Intern(const char* szNamespace, const char* szLocalName)
{
  BSE::CStr8 text(szNamespace);
  const int nLocal = text.GetLength();
  text.Append(szLocalName);
  const CUri* pNamespace = Intern(szNamespace);
  CUri* pUri = Enter(text.GetText(), text.GetLength());
  if (!pUri->m_pNamespace && pUri != pNamespace)
  {
    pUri->m_pNamespace = pNamespace;
    pUri->m_nLocal = nLocal;
  }
  return pUri;
}

}  // namespace XML
