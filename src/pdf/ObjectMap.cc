#include "pdf/ObjectMap.h"

#include "base/Tracer.h"

namespace PDF
{

void CObjectMap::RemoveAll()
{
  for (int* pPage : m_pages.GetSpan())
    BSE::Free(pPage);
  m_pages.RemoveAll();
}

int CObjectMap::GetAt(int nSource) const
{
  if (nSource < 1)
    return 0;
  const int* pPage = m_pages[nSource / g_nPageSize];
  return pPage ? pPage[nSource % g_nPageSize] : 0;
}

void CObjectMap::SetAt(int nSource, int nTarget)
{
  if (nSource < 1)
    return;
  const int nPage = nSource / g_nPageSize;
  if (nPage >= m_pages.GetSize())
  {
    try
    {
      m_pages.SetSize(nPage + 1);
    }
    catch (...)
    {
      if (BSE::CTracer::IsOn())
        BSE::CTracer::Trace("E", "PDF Obj Map", "Failed to allocate object map of size %d.", nSource + 1);
      throw;
    }
  }
  if (!m_pages[nPage])
  {
    m_pages[nPage] = static_cast<int*>(BSE::Allocate(sizeof(int) * g_nPageSize));
    std::memset(m_pages[nPage], 0, sizeof(int) * g_nPageSize);
  }
  m_pages[nPage][nSource % g_nPageSize] = nTarget;
}

}  // namespace PDF
