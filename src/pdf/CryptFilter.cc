#include "pdf/CryptFilter.h"

#include "base/Random.h"

#include <algorithm>

namespace PDF
{

namespace
{

constexpr int g_nBufferSize = 8192;  // a multiple of the block size

}  // namespace

CDecryptFilter::CDecryptFilter(BSE::IByteStream* pSource, BSE::CScopedPtr<CCryptAlgorithm> pAlgorithm,
                               BSE::IErrorContext* pErrorContext)
    : CBufferedDecodeFilter(pSource, pErrorContext), m_pAlgorithm(std::move(pAlgorithm))
{
  m_buffer.SetSize(g_nBufferSize);
}

void CDecryptFilter::ResetState()
{
  m_nDelivered = m_nReady = m_nDecrypted = m_nFilled = 0;
  m_bStarted = m_bSourceEnded = false;
}

int CDecryptFilter::DecodeBlock(std::span<unsigned char> block)
{
  if (!m_bStarted && !Start())
    m_bSourceEnded = true;
  std::size_t nFilled = 0;
  while (nFilled < block.size())
  {
    if (m_nDelivered == m_nReady)
    {
      if (m_bSourceEnded)
      {
        m_bEnd = true;
        break;
      }
      FillBuffer();
      continue;
    }
    const std::size_t n = std::min(block.size() - nFilled, m_nReady - m_nDelivered);
    std::copy_n(m_buffer.GetData() + m_nDelivered, n, block.begin() + static_cast<std::ptrdiff_t>(nFilled));
    m_nDelivered += n;
    nFilled += n;
  }
  return static_cast<int>(nFilled);
}

bool CDecryptFilter::Start()
{
  m_bStarted = true;
  unsigned char vector[CCryptAlgorithm::g_nMaxBlockSize];
  const int nVector = m_pAlgorithm->GetIVLength();
  if (m_pInput->ReadFully(vector, nVector) != nVector)
    return false;
  m_pAlgorithm->BeginFile({vector, static_cast<std::size_t>(nVector)});
  return true;
}

void CDecryptFilter::FillBuffer()
{
  unsigned char* pBuffer = m_buffer.GetData();
  std::copy(pBuffer + m_nReady, pBuffer + m_nFilled, pBuffer);
  m_nFilled -= m_nReady;
  m_nDecrypted -= m_nReady;
  m_nDelivered = m_nReady = 0;
  const auto nRoom = g_nBufferSize - static_cast<std::int64_t>(m_nFilled);
  const std::int64_t nRead = m_pInput->ReadFully(pBuffer + m_nFilled, nRoom);
  m_nFilled += static_cast<std::size_t>(std::max<std::int64_t>(nRead, 0));
  m_bSourceEnded = nRead < nRoom;

  const auto nBlock = static_cast<std::size_t>(m_pAlgorithm->GetBlockSize());
  const std::size_t nNew = (m_nFilled - m_nDecrypted) / nBlock * nBlock;
  m_pAlgorithm->DecryptBlock({pBuffer + m_nDecrypted, nNew}, pBuffer + m_nDecrypted);
  m_nDecrypted += nNew;
  if (!m_bSourceEnded)
    m_nReady = m_nDecrypted - (nBlock > 1 ? nBlock : 0);
  else if (m_nFilled > m_nDecrypted)
    m_nReady = m_nDecrypted;
  else
    m_nReady = m_pAlgorithm->GetUnpaddedLength({pBuffer, m_nDecrypted});
}

CEncryptFilter::CEncryptFilter(BSE::IByteStream* pSink, BSE::CScopedPtr<CCryptAlgorithm> pAlgorithm,
                               BSE::IErrorContext* pErrorContext)
    : CEncodeFilter(pSink, pErrorContext), m_pAlgorithm(std::move(pAlgorithm))
{
  m_buffer.SetSize(g_nBufferSize);
}

CEncryptFilter::~CEncryptFilter()
{
  CloseOnRelease();
}

bool CEncryptFilter::Start()
{
  m_bStarted = true;
  unsigned char bytes[CCryptAlgorithm::g_nMaxBlockSize];
  const std::span<unsigned char> vector(bytes, static_cast<std::size_t>(m_pAlgorithm->GetIVLength()));
  if (!BSE::GetRandomBytes(vector))
  {
    BSE::ReportError(m_pErrorContext, BSE::g_nStreamWriteFailed);
    return false;
  }
  m_pAlgorithm->BeginFile(vector);
  return vector.empty() || m_pSource->WriteAll(vector.data(), m_pAlgorithm->GetIVLength());
}

bool CEncryptFilter::EncodeBlock(std::span<const unsigned char> block)
{
  if (!m_bStarted && !Start())
    return false;
  while (!block.empty())
  {
    const std::size_t n = std::min(block.size(), g_nBufferSize - m_nFilled);
    std::copy_n(block.begin(), n, m_buffer.GetData() + m_nFilled);
    m_nFilled += n;
    block = block.subspan(n);
    if (m_nFilled == g_nBufferSize && !WriteBlocks())
      return false;
  }
  return true;
}

// The buffer holds whole blocks.
bool CEncryptFilter::WriteBlocks()
{
  unsigned char* pBuffer = m_buffer.GetData();
  const auto nLength = static_cast<std::int64_t>(m_nFilled);
  m_pAlgorithm->EncryptBlock({pBuffer, m_nFilled}, pBuffer);
  m_nFilled = 0;
  return nLength == 0 || m_pSource->WriteAll(pBuffer, nLength);
}

bool CEncryptFilter::Finish()
{
  if (!m_bStarted && !Start())
    return false;
  const int nPadding = m_pAlgorithm->GetPadding(m_nPos);
  for (int i = 0; i < nPadding; ++i)
    m_buffer[static_cast<int>(m_nFilled++)] = static_cast<unsigned char>(nPadding);
  return WriteBlocks();
}

}  // namespace PDF
