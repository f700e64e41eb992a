#include "document/ConformanceClaim.h"

#include "base/BasicString.h"
#include "document/Document.h"

#include <charconv>

namespace PDF
{

namespace
{

constexpr const char* g_szSchema = "http://www.aiim.org/pdfa/ns/id/";

// A packet larger than this is no packet.
constexpr std::int64_t g_nMaxPacket = std::int64_t{16} << 20;

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

bool IsNameEnd(char c)
{
  return IsBlank(c) || c == '=' || c == '>' || c == '/' || c == '<' || c == '"' || c == '\'';
}

// Position behind the text from nFrom on, or the size.
std::size_t FindBehind(std::span<const char> text, std::span<const char> wanted, std::size_t nFrom)
{
  const auto rest = text.subspan(std::min(nFrom, text.size()));
  const auto found = std::search(rest.begin(), rest.end(), wanted.begin(), wanted.end());
  if (found == rest.end())
    return text.size();
  return static_cast<std::size_t>(found - rest.begin()) + std::min(nFrom, text.size()) + wanted.size();
}

std::span<const char> ToSpan(const char* szText)
{
  return {szText, std::strlen(szText)};
}

std::span<const char> Trim(std::span<const char> text)
{
  while (!text.empty() && IsBlank(text.front()))
    text = text.subspan(1);
  while (!text.empty() && IsBlank(text.back()))
    text = text.first(text.size() - 1);
  return text;
}

// The prefix that stands between "xmlns:" and the binding to the schema; empty if it is not bound.
std::span<const char> FindPrefix(std::span<const char> packet)
{
  const auto schema = ToSpan(g_szSchema);
  const std::size_t nBehind = FindBehind(packet, schema, 0);
  if (nBehind == packet.size() || nBehind == schema.size())
    return {};
  auto before = Trim(packet.first(nBehind - schema.size() - 1));
  if (before.empty() || before.back() != '=')
    return {};
  before = Trim(before.first(before.size() - 1));
  std::size_t nLength = 0;
  while (nLength < before.size() && before[before.size() - 1 - nLength] != ':' &&
         !IsNameEnd(before[before.size() - 1 - nLength]))
    ++nLength;
  return before.last(nLength);
}

// Value of the property, as an attribute or as the text of an element.
std::span<const char> FindValue(std::span<const char> packet, const BSE::CStr8& name)
{
  std::size_t nPos = 0;
  while ((nPos = FindBehind(packet, name.GetSpan(), nPos)) < packet.size())
  {
    auto rest = packet.subspan(nPos);
    if (!IsNameEnd(rest.front()))
      continue;
    while (!rest.empty() && IsBlank(rest.front()))
      rest = rest.subspan(1);
    if (rest.size() < 2 || (rest.front() != '=' && rest.front() != '>'))
      continue;
    const bool bAttribute = rest.front() == '=';
    rest = Trim(rest.subspan(1));
    if (rest.empty())
      break;
    const char nEnd = bAttribute ? rest.front() : '<';
    if (bAttribute)
      rest = rest.subspan(1);
    const auto found = std::find(rest.begin(), rest.end(), nEnd);
    return Trim(rest.first(static_cast<std::size_t>(found - rest.begin())));
  }
  return {};
}

std::span<const char> FindProperty(std::span<const char> packet, std::span<const char> prefix,
                                   const char* szProperty)
{
  BSE::CStr8 name(prefix.data(), static_cast<int>(prefix.size()));
  name.Append(':');
  name.Append(szProperty);
  return FindValue(packet, name);
}

}  // namespace

CConformance GetClaimedConformance(std::span<const char> part, std::span<const char> level)
{
  if (part.size() != 1 || level.size() != 1)
    return {};
  for (const TClaim& claim : g_claims)
    if (claim.m_nPart == part.front() && claim.m_nLevel == level.front())
      return CConformance(claim.m_nCode);
  return {};
}

CConformance ReadConformanceClaim(const CObjectPtr& metadata)
{
  const BSE::CObjectPtr<BSE::IByteStream> pStream = metadata.GetDecodedStream();
  BSE::CBasicArray<unsigned char> bytes;
  if (!pStream || !pStream->IsValid() || !pStream->ReadToArray(bytes, g_nMaxPacket))
    return {};
  const std::span<const char> packet(reinterpret_cast<const char*>(bytes.GetData()),
                                     static_cast<std::size_t>(bytes.GetSize()));
  const auto prefix = FindPrefix(packet);
  if (prefix.empty())
    return {};
  return GetClaimedConformance(FindProperty(packet, prefix, "part"),
                               FindProperty(packet, prefix, "conformance"));
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
