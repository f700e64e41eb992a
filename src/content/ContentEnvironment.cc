#include "content/ContentEnvironment.h"

namespace PDF
{

namespace
{

// Answers of the map, by their addresses.
char g_cVisible = 'v';
char g_cHidden = 'h';

std::int64_t GetInputLength(CDocument& document)
{
  BSE::IByteStream* pInput = document.GetFile().GetInput();
  return pInput ? pInput->GetLength() : 0;
}

}  // namespace

CContentEnvironment::CContentEnvironment(CDocument& document, IContentResources* pResources)
    : m_document(document),
      m_pResources(pResources),
      m_account(GetInputLength(document)),
      m_bStrict(document.GetFile().GetConformance().IsStrict())
{
}

bool CContentEnvironment::IsVisible(const CObjectPtr& content)
{
  if (!content.IsDictionary())
    return true;
  const int nNumber = content.GetObjNumber();
  if (nNumber > 0)
    if (const char* pKnown = m_visible.Find(nNumber))
      return pKnown == &g_cVisible;
  if (!m_bOptionalLoaded)
  {
    m_bOptionalLoaded = true;
    m_optional.Load(m_document.GetCatalog()["OCProperties"]);
  }
  // A membership dictionary without a number is worked through anew each time.
  m_account.Charge(1 + std::int64_t{16} * content["OCGs"].GetSize());
  const bool bVisible = m_optional.IsVisible(content);
  if (nNumber > 0)
    m_visible.SetAt(nNumber, bVisible ? &g_cVisible : &g_cHidden);
  return bVisible;
}

}  // namespace PDF
