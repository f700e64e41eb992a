#include "pdf/ObjectStreamCache.h"

#include "base/Limits.h"
#include "base/Tracer.h"

#include <algorithm>

namespace PDF
{

namespace
{

constexpr int g_nCachedObjectStreams = 10;

}  // namespace

CObjectStream* CObjectStreamCache::Get(int nObjNumber)
{
  CObjectStream*& pStream = m_objectStreams.Provide(nObjNumber);
  if (!pStream)
    pStream = new CObjectStream(&m_file, nObjNumber);
  return pStream;
}

void CObjectStreamCache::MakeRoom()
{
  while (m_pOldestCached && m_nCachedBytes > BSE::g_nMaxCachedStreamsReread)
    UnloadOldest();
}

void CObjectStreamCache::Touch(CObjectStream& stream, std::int64_t nReread)
{
  if (m_pNewestCached == &stream)
    return;
  if (stream.m_bCached)
    Drop(stream);
  stream.m_pOlder = m_pNewestCached;
  (m_pNewestCached ? m_pNewestCached->m_pNewer : m_pOldestCached) = &stream;
  m_pNewestCached = &stream;
  stream.m_bCached = true;
  ++m_nCachedCount;
  stream.m_nCachedSize = stream.GetMemorySize();
  m_nCachedBytes += stream.m_nCachedSize;
  const bool bReread = nReread > BSE::g_nMaxCachedStreams;
  const std::int64_t nMaxBytes = bReread ? BSE::g_nMaxCachedStreamsReread : BSE::g_nMaxCachedStreams;
  // However many there are: objects may refer to one another across all of them. What had to be decoded again
  // would have been kept with more room, so the room grows by it.
  const std::int64_t nManyBytes = std::min(nMaxBytes, BSE::g_nFreeCachedStreams + nReread);
  while (m_nCachedCount > 1 && (m_nCachedBytes > nMaxBytes ||
                                (m_nCachedCount > g_nCachedObjectStreams && m_nCachedBytes > nManyBytes)))
    UnloadOldest();
}

void CObjectStreamCache::Drop(CObjectStream& stream)
{
  (stream.m_pNewer ? stream.m_pNewer->m_pOlder : m_pNewestCached) = stream.m_pOlder;
  (stream.m_pOlder ? stream.m_pOlder->m_pNewer : m_pOldestCached) = stream.m_pNewer;
  stream.m_pNewer = stream.m_pOlder = nullptr;
  stream.m_bCached = false;
  --m_nCachedCount;
  m_nCachedBytes -= stream.m_nCachedSize;
}

void CObjectStreamCache::UnloadOldest()
{
  CObjectStream& oldest = *m_pOldestCached;
  if (BSE::CTracer::IsOn())
    BSE::CTracer::Trace("I", "libpdf", "Unloading ObjStm %d.", oldest.GetObjNumber());
  Drop(oldest);
  oldest.Unload();
}

void CObjectStreamCache::RemoveAll()
{
  for (int i = m_objectStreams.GetNext(-1); i >= 0; i = m_objectStreams.GetNext(i))
    delete m_objectStreams[i];
  m_objectStreams.RemoveAll();
  m_pNewestCached = m_pOldestCached = nullptr;
  m_nCachedCount = 0;
  m_nCachedBytes = 0;
}

}  // namespace PDF
