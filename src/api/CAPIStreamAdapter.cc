#include "api/CAPIStreamAdapter.h"

#include <limits>

namespace BSE
{

namespace
{

// A caller's positions and lengths are calculated with: a number that no stream reaches counts as none.
std::int64_t CheckPosition(std::int64_t nPos)
{
  constexpr std::int64_t nMax = std::int64_t{1} << 62;
  return nPos <= nMax ? nPos : -1;
}

}  // namespace

CCAPIStreamAdapter::CCAPIStreamAdapter(const TBrevexStreamDescriptor* pDescriptor,
                                       IErrorContext* pErrorContext)
    : m_pErrorContext(pErrorContext)
{
  if (pDescriptor != nullptr)
    m_descriptor = *pDescriptor;
}

CCAPIStreamAdapter::CCAPIStreamAdapter(const CCAPIStreamAdapter& first, TDupMode nDupMode)
    : m_descriptor(first.m_descriptor),
      m_pErrorContext(first.m_pErrorContext),
      m_nDupPosition(first.m_nDupPosition),
      m_nDupMode(nDupMode)
{
}

CCAPIStreamAdapter::~CCAPIStreamAdapter()
{
  if (m_nDupMode == ePrimary && m_descriptor.pfRelease != nullptr)
    m_descriptor.pfRelease(m_descriptor.handle);
}

bool CCAPIStreamAdapter::IsValid() const
{
  return m_descriptor.pfRead != nullptr || m_descriptor.pfWrite != nullptr;
}

void CCAPIStreamAdapter::Report(unsigned nCode)
{
  CScopedPtr<IError> pError = MakeError(nCode);
  ReportError(m_pErrorContext, CScopedPtr<IError>(pError->Clone()));
  CTLSError::Set(std::move(pError));
}

std::int64_t CCAPIStreamAdapter::GetLength()
{
  return m_descriptor.pfGetLength != nullptr ? CheckPosition(m_descriptor.pfGetLength(m_descriptor.handle))
                                             : -1;
}

std::int64_t CCAPIStreamAdapter::Tell()
{
  if (HasOwnPosition())
    return static_cast<std::int64_t>(m_nDupPosition);
  return m_descriptor.pfTell != nullptr ? CheckPosition(m_descriptor.pfTell(m_descriptor.handle)) : -1;
}

bool CCAPIStreamAdapter::SeekCaller(std::int64_t nPos)
{
  if (m_descriptor.pfSeek != nullptr && nPos >= 0 && m_descriptor.pfSeek(m_descriptor.handle, nPos) == 1)
    return true;
  Report(g_nStreamSeekFailed);
  return false;
}

// The position from the start that a position argument means; -1 if there is none.
std::int64_t CCAPIStreamAdapter::GetTarget(std::int64_t nPos)
{
  if (nPos >= 0)
    return nPos;
  const std::int64_t nLength = GetLength();
  return nLength >= 0 && nPos > -2 - nLength ? nLength + 1 + nPos : -1;
}

bool CCAPIStreamAdapter::Seek(std::int64_t nPos)
{
  const std::int64_t nTarget = GetTarget(nPos);
  if (!HasOwnPosition() || nTarget < 0)
    return SeekCaller(nTarget);
  m_nDupPosition = static_cast<std::uint64_t>(nTarget);
  return true;
}

bool CCAPIStreamAdapter::Skip(std::int64_t n)
{
  if (n < 0)
    return Seek(-1);
  const std::int64_t nPos = Tell();
  if (nPos < 0 || nPos > std::numeric_limits<std::int64_t>::max() - n)
    return SeekCaller(-1);
  return Seek(nPos + n);
}

bool CCAPIStreamAdapter::PrepareAccess()
{
  return !HasOwnPosition() || SeekCaller(static_cast<std::int64_t>(m_nDupPosition));
}

std::int64_t CCAPIStreamAdapter::FinishAccess(std::int64_t nCount, std::int64_t nAsked, unsigned nFailure)
{
  if (nCount < 0 || nCount > nAsked)
  {
    Report(nFailure);
    return -1;
  }
  if (HasOwnPosition())
    m_nDupPosition += static_cast<std::uint64_t>(nCount);
  return nCount;
}

std::int64_t CCAPIStreamAdapter::Read(unsigned char* pBuffer, std::int64_t n)
{
  if (n <= 0)
    return 0;
  if (m_descriptor.pfRead == nullptr)
    return FinishAccess(-1, n, g_nStreamReadFailed);
  if (!PrepareAccess())
    return -1;
  return FinishAccess(m_descriptor.pfRead(m_descriptor.handle, pBuffer, static_cast<std::size_t>(n)), n,
                      g_nStreamReadFailed);
}

std::int64_t CCAPIStreamAdapter::Write(const unsigned char* pBuffer, std::int64_t n)
{
  if (n <= 0)
    return 0;
  if (m_descriptor.pfWrite == nullptr)
    return FinishAccess(-1, n, g_nStreamWriteFailed);
  if (!PrepareAccess())
    return -1;
  // A callback that takes nothing will take nothing the next time either.
  const std::int64_t nCount = m_descriptor.pfWrite(m_descriptor.handle, pBuffer, static_cast<std::size_t>(n));
  return FinishAccess(nCount > 0 ? nCount : -1, n, g_nStreamWriteFailed);
}

IStreamBase<unsigned char>* CCAPIStreamAdapter::Dup()
{
  if (!IsSeekable())
    return nullptr;
  if (!m_bShared)
  {
    const std::int64_t nPos = Tell();
    m_nDupPosition = nPos > 0 ? static_cast<std::uint64_t>(nPos) : 0;
    m_bShared = true;
  }
  return new CCAPIStreamAdapterDup(*this, *this);
}

CCAPIStreamAdapterDup::CCAPIStreamAdapterDup(CCAPIStreamAdapter& first, const CCAPIStreamAdapter& origin)
    : CCAPIStreamAdapter(origin, eDuplicate), m_pFirst(&first)
{
}

IStreamBase<unsigned char>* CCAPIStreamAdapterDup::Dup()
{
  return new CCAPIStreamAdapterDup(*m_pFirst.Get(), *this);
}

}  // namespace BSE
