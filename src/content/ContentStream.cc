#include "content/ContentStream.h"

#include "base/DecodeFilter.h"
#include "document/Page.h"

#include <algorithm>
#include <utility>

namespace PDF
{

CContentStream::CContentStream(const CObjectPtr& contents, CContentAccount* pAccount)
    : CBufferedInputStream(nullptr), m_contents(contents), m_pAccount(pAccount)
{
}

CContentStream::CContentStream(BSE::IByteStream* pData, CContentAccount* pAccount)
    : CBufferedInputStream(nullptr), m_pAccount(pAccount), m_pSingle(pData)
{
}

bool CContentStream::IsValid() const
{
  return m_contents.IsStream() || m_contents.IsArray() || (m_pSingle && m_pSingle->IsValid());
}

int CContentStream::GetPartCount() const
{
  return m_contents.IsArray() ? m_contents.GetSize() : 1;
}

bool CContentStream::OpenNext()
{
  const int nCount = GetPartCount();
  while (!m_pPart && m_nNext < nCount)
  {
    const int nPart = m_nNext++;
    if (m_pSingle)
    {
      m_pPart = m_pSingle;
      m_pPart->Rewind();
    }
    else
    {
      const CObjectPtr part = m_contents.IsArray() ? m_contents[nPart] : m_contents;
      // Null is nothing that could be missing.
      if (part.IsStream())
        m_pPart = part.GetDecodedStream();
      m_bGap = m_bGap || (!m_pPart && !IsAbsent(part));
    }
    if (m_pPart && !m_pPart->IsValid())
    {
      m_bGap = true;
      m_pPart.Reset();
    }
  }
  return static_cast<bool>(m_pPart);
}

void CContentStream::EndPart()
{
  m_bGap = m_bGap || BSE::HasGap(m_pPart.Get());
  m_pPart.Reset();
}

int CContentStream::ReadPart()
{
  // An array of parts without bytes costs as well.
  while (OpenNext())
  {
    const std::int64_t nRead = m_pPart->ReadEx(m_pBuffer, m_nCapacity);
    if (nRead > 0)
    {
      if (m_pCollector)
        m_pCollector->Add({m_pBuffer, static_cast<std::size_t>(nRead)});
      return static_cast<int>(nRead);
    }
    m_bGap = m_bGap || nRead < 0;
    EndPart();
    if (m_pCollector)
      m_pCollector->EndPart();
    if (m_pAccount && !m_pAccount->Charge(BSE::g_nFormWork))
      return 0;
    if (m_nTokenLeft < 0 && m_nNext < GetPartCount())
    {
      m_pBuffer[0] = '\n';
      return 1;
    }
  }
  return 0;
}

bool CContentStream::Deliver(int nRead)
{
  m_nPos += m_pEnd - m_pBuffer;
  m_pCurrent = m_pEnd = m_pBuffer;
  m_bEnd = nRead <= 0;
  if (m_bEnd)
    return false;
  m_pEnd = m_pBuffer + nRead;
  if (m_nTokenLeft >= 0)
    m_nTokenLeft = std::max<std::int64_t>(m_nTokenLeft - nRead, 0);
  return true;
}

bool CContentStream::Fill()
{
  if (m_pCurrent != m_pEnd)
    return true;
  if (m_nTokenLeft == 0)
  {
    m_bTokenCut = true;
    return false;
  }
  int nRead = 0;
  if (m_nPushedBack < m_pushedBack.GetSize())
  {
    const int nCopy = std::min(m_nCapacity, m_pushedBack.GetSize() - m_nPushedBack);
    std::memcpy(m_pBuffer, m_pushedBack.GetData() + m_nPushedBack, static_cast<std::size_t>(nCopy));
    m_nPushedBack += nCopy;
    nRead = nCopy;
    if (m_nPushedBack == m_pushedBack.GetSize())
    {
      m_pushedBack.RemoveAll();
      m_nPushedBack = 0;
    }
  }
  else
    nRead = ReadPart();
  if (m_pAccount && !m_pAccount->Charge(nRead))
  {
    m_bRefused = true;
    return Deliver(0);
  }
  return Deliver(nRead);
}

std::int64_t CContentStream::Read(unsigned char* pBuffer, std::int64_t n)
{
  std::int64_t nDone = 0;
  while (nDone < n && (m_pCurrent != m_pEnd || Fill()))
  {
    const std::int64_t nCopy = std::min<std::int64_t>(n - nDone, m_pEnd - m_pCurrent);
    std::memcpy(pBuffer + nDone, m_pCurrent, static_cast<std::size_t>(nCopy));
    m_pCurrent += nCopy;
    nDone += nCopy;
  }
  return nDone;
}

bool CContentStream::Rewind()
{
  m_pPart.Reset();
  m_nNext = 0;
  m_pushedBack.RemoveAll();
  m_nPushedBack = 0;
  m_nTokenLeft = -1;
  m_bTokenCut = m_bEnd = false;
  m_nPos = 0;
  m_pCurrent = m_pEnd = m_pBuffer;
  return true;
}

void CContentStream::SetOpenToken(std::int64_t nMaxBytes)
{
  m_nTokenLeft = nMaxBytes;
  if (nMaxBytes >= 0)
    m_bTokenCut = false;
}

void CContentStream::Drain()
{
  SetOpenToken(-1);
  while (Fill())
    m_pCurrent = m_pEnd;
}

void CContentStream::PushBack(std::span<const unsigned char> bytes)
{
  // What is left of the buffer and of an earlier call comes after these bytes.
  BSE::CBasicArray<unsigned char> rest;
  rest.Append(bytes);
  rest.Append(GetBuffered());
  rest.Append(m_pushedBack.GetSpan().subspan(static_cast<std::size_t>(m_nPushedBack)));
  if (m_pAccount)
    m_pAccount->Charge(rest.GetSize());
  m_nPos = Tell() - static_cast<std::int64_t>(bytes.size());
  m_pushedBack = std::move(rest);
  m_nPushedBack = 0;
  m_pCurrent = m_pEnd = m_pBuffer;
  m_bEnd = false;
}

}  // namespace PDF
