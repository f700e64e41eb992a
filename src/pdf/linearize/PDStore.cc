#include "pdf/linearize/PDStore.h"

#include "base/MemoryStream.h"
#include "base/TempFileStream.h"

namespace
{

constexpr int g_nStoreBlock = 1 << 16;

}  // namespace

PDStore::PDStore(std::int64_t nMaxBytes, std::int64_t nMemoryBudget)
    : m_pStream(new BSE::CMemoryStream(0, g_nStoreBlock)), m_nMax(nMaxBytes), m_nBudget(nMemoryBudget)
{
}

std::int64_t PDStore::Store(std::span<const unsigned char> bytes)
{
  const auto n = std::ssize(bytes);
  if (n > GetRoom() || (!m_bFile && m_nLength + n > m_nBudget && !MoveToFile()))
    return -1;
  if (!m_pStream->Seek(m_nLength) || !m_pStream->WriteAll(bytes.data(), n))
    return -1;
  m_nLength += n;
  return m_nLength - n;
}

bool PDStore::MoveToFile()
{
  const BSE::CObjectPtr<BSE::IByteStream> pFile(new BSE::CTempFileStream);
  if (!pFile->IsValid() || !m_pStream->Rewind() || !pFile->CopyFrom(m_pStream.Get(), -1, false))
    return false;
  m_pStream = pFile;
  m_bFile = true;
  return true;
}
