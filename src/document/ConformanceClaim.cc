#include "document/ConformanceClaim.h"

#include "base/BasicString.h"
#include "document/Document.h"

#include <charconv>

namespace PDF
{

namespace
{

struct TClaim
{
  char m_nPart;
  char m_nLevel;
  unsigned m_nCode;
};

constexpr TClaim g_claims[] = {
    {'1', 'A', 0x1402}, {'1', 'B', 0x1401}, {'2', 'A', 0x1703}, {'2', 'U', 0x1702},
    {'2', 'B', 0x1701}, {'3', 'A', 0x1713}, {'3', 'U', 0x1712}, {'3', 'B', 0x1711},
};

bool IsBlank(char c)
{
  return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

std::span<const char> Trim(std::span<const char> text)
{
  while (!text.empty() && IsBlank(text.front()))
    text = text.subspan(1);
  while (!text.empty() && IsBlank(text.back()))
    text = text.first(text.size() - 1);
  return text;
}

}  // namespace

CConformance GetClaimedConformance(std::span<const char> part, std::span<const char> level)
{
  part = Trim(part);
  level = Trim(level);
  if (part.size() != 1 || level.size() != 1)
    return {};
  for (const TClaim& claim : g_claims)
    if (claim.m_nPart == part.front() && claim.m_nLevel == level.front())
      return CConformance(claim.m_nCode);
  return {};
}

const char* GetPartText(CConformance conformance)
{
  constexpr const char* parts[] = {"", "1", "2", "3"};
  return parts[conformance.GetPart()];
}

const char* GetLevelText(CConformance conformance)
{
  constexpr const char* levels[] = {"", "B", "U", "A"};
  return levels[conformance.GetLevel()];
}

TColorModel ReadProfileModel(const CObjectPtr& profile)
{
  constexpr int nHeaderLength = 20;
  unsigned char header[nHeaderLength];
  const BSE::CObjectPtr<BSE::IByteStream> pStream = profile.GetDecodedStream();
  if (!pStream || !pStream->IsValid() || pStream->ReadFully(header, nHeaderLength) != nHeaderLength)
    return eModelNone;
  if (std::memcmp(header + 16, "GRAY", 4) == 0)
    return eModelGray;
  if (std::memcmp(header + 16, "RGB ", 4) == 0)
    return eModelRgb;
  return std::memcmp(header + 16, "CMYK", 4) == 0 ? eModelCmyk : eModelNone;
}

bool ReadVersionName(const char* szName, unsigned& nMajor, unsigned& nMinor)
{
  if (!szName)
    return false;
  const char* pEnd = szName + std::strlen(szName);
  unsigned nFirst = 0;
  unsigned nSecond = 0;
  const std::from_chars_result point = std::from_chars(szName, pEnd, nFirst);
  if (point.ec != std::errc() || point.ptr == pEnd || *point.ptr != '.')
    return false;
  const std::from_chars_result end = std::from_chars(point.ptr + 1, pEnd, nSecond);
  if (end.ec != std::errc() || end.ptr != pEnd)
    return false;
  nMajor = nFirst;
  nMinor = nSecond;
  return true;
}

}  // namespace PDF
