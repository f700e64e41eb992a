#include "fonts/installed/FontCache.h"

#include "base/ByteCursor.h"
#include "base/Limits.h"
#include "base/Tracer.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace PDF
{

namespace
{

constexpr int g_nNoFonts = -1;

// Bytes that the shortest record takes.
constexpr std::int64_t g_nMinRecord = sizeof(CFontCharacteristics) + 4 * sizeof(std::int32_t);

constexpr int g_nMaxIndex = 0xFFFF;

bool Fail(const char* szSeverity, const char* szText)
{
  if (BSE::CTracer::IsOn())
    BSE::CTracer::Trace(szSeverity, "Font Collection", "%s", szText);
  return false;
}

template <class T>
T ReadValue(BSE::CByteCursor& cursor)
{
  T value{};
  if (const auto bytes = cursor.Take(sizeof(T)); !bytes.empty())
    std::memcpy(static_cast<void*>(&value), bytes.data(), sizeof(T));
  return value;
}

// False for one that does not end as it should.
template <class T>
bool ReadText(BSE::CByteCursor& cursor, BSE::CBasicString<T>& text)
{
  const auto nLength = ReadValue<std::int32_t>(cursor);
  if (nLength == 0)
    return !cursor.HasFailed();
  const std::span<const unsigned char> bytes = cursor.Take(std::int64_t{nLength} + 1, sizeof(T));
  if (nLength < 0 || bytes.empty())
    return false;
  BSE::CBasicArray<T> units;
  units.SetSize(nLength + 1);
  std::memcpy(units.GetData(), bytes.data(), bytes.size());
  text.Assign(units.GetData(), nLength);
  return units.Find(T{}) == nLength;
}

bool IsSound(const CFontCharacteristics& font)
{
  for (const double d : {font.m_dAscent, font.m_dDescent, font.m_dCapHeight, font.m_dXHeight, font.m_dWidth,
                         font.m_dWeight, font.m_dItalicAngle})
    if (!std::isfinite(d))
      return false;
  for (const unsigned n : {font.m_bBold, font.m_bItalic, font.m_bFixedPitch, font.m_bSerif, font.m_bScript,
                           font.m_bSymbol, font.m_bNarrow, font.m_bExpanded})
    if (n > 1)
      return false;
  return true;
}

bool ReadFont(BSE::CByteCursor& cursor, CInstalledFont& font)
{
  static_cast<CFontCharacteristics&>(font) = ReadValue<CFontCharacteristics>(cursor);
  if (!ReadText(cursor, font.m_sFile) || !ReadText(cursor, font.m_sName) || !ReadText(cursor, font.m_sFamily))
    return false;
  font.m_nIndex = ReadValue<std::int32_t>(cursor);
  return !cursor.HasFailed() && IsSound(font) && !font.m_sFile.IsEmpty() && !font.m_sName.IsEmpty() &&
         font.m_nIndex >= 0 && font.m_nIndex <= g_nMaxIndex;
}

bool ReadFonts(BSE::CByteCursor& cursor, BSE::CObjectArray<CInstalledFont>& fonts)
{
  const auto nCount = ReadValue<std::int32_t>(cursor);
  if (cursor.HasFailed())
    return Fail("E", "Error reading from font cache.");
  const auto nRemaining = static_cast<std::int64_t>(cursor.GetRemaining());
  if (nCount != g_nNoFonts && (nCount < 1 || nCount > nRemaining / g_nMinRecord))
    return Fail("E", "Invalid number of fonts in cache.");
  for (int i = 0; i < nCount; ++i)
  {
    const BSE::CObjectPtr<CInstalledFont> pFont(new CInstalledFont);
    if (!ReadFont(cursor, *pFont))
      return Fail("E", "Error reading from font cache.");
    fonts.Add(pFont.Get());
  }
  return cursor.IsAtEnd() || Fail("E", "Error reading from font cache.");
}

template <class T>
void WriteValue(BSE::CBasicArray<unsigned char>& bytes, const T& value)
{
  unsigned char raw[sizeof(T)];
  std::memcpy(raw, &value, sizeof(T));
  bytes.Append(raw);
}

template <class T>
void WriteText(BSE::CBasicArray<unsigned char>& bytes, const BSE::CBasicString<T>& text)
{
  WriteValue(bytes, std::int32_t{text.GetLength()});
  if (!text.IsEmpty())
    bytes.Append({reinterpret_cast<const unsigned char*>(text.GetText()),
                  (static_cast<std::size_t>(text.GetLength()) + 1) * sizeof(T)});
}

}  // namespace

bool CFontCache::Read(BSE::IByteStream& stream, BSE::CObjectArray<CInstalledFont>& fonts) const
{
  BSE::CBasicArray<unsigned char> data;
  if (!stream.ReadToArray(data, BSE::g_nMaxCacheEntry))
    return Fail("E", "Error reading from font cache.");
  BSE::CByteCursor cursor(data.GetSpan());
  const unsigned nVersion = cursor.Card8();
  const auto nSize = ReadValue<std::uint32_t>(cursor);
  const auto nDigest = ReadValue<std::uint32_t>(cursor);
  const std::span<const unsigned char> digest = cursor.Take(g_nDigestSize);
  if (data.IsEmpty())
    return Fail("E", "Error reading from font cache.");
  if (nVersion != g_nVersion)
    return Fail("E", "Font cache has incompatible version.");
  if (nSize != sizeof(CFontCharacteristics))
    return Fail("E", "Font cache has incompatible size of font characteristics structure.");
  if (nDigest != g_nDigestSize)
    return Fail("E", "Font cache has incompatible digest length.");
  if (digest.empty())
    return Fail("E", "Error reading from font cache.");
  if (!std::equal(digest.begin(), digest.end(), m_digest.begin()))
    return Fail("I", "Font cache is outdated (different digest).");
  const int nBefore = fonts.GetSize();
  if (ReadFonts(cursor, fonts))
    return true;
  fonts.SetSize(nBefore);
  return false;
}

bool CFontCache::Write(BSE::IByteStream& stream, const BSE::CObjectArray<CInstalledFont>& fonts) const
{
  BSE::CBasicArray<unsigned char> bytes;
  bytes.Add(g_nVersion);
  WriteValue(bytes, static_cast<std::uint32_t>(sizeof(CFontCharacteristics)));
  WriteValue(bytes, std::uint32_t{g_nDigestSize});
  bytes.Append(m_digest);
  std::int32_t nCount = 0;
  for (int i = 0; i < fonts.GetSize(); ++i)
    nCount += fonts[i]->IsFromMemory() ? 0 : 1;
  WriteValue(bytes, nCount == 0 ? std::int32_t{g_nNoFonts} : nCount);
  for (int i = 0; i < fonts.GetSize(); ++i)
  {
    const CInstalledFont& font = *fonts[i];
    if (font.IsFromMemory())
      continue;
    WriteValue(bytes, static_cast<const CFontCharacteristics&>(font));
    WriteText(bytes, font.m_sFile);
    WriteText(bytes, font.m_sName);
    WriteText(bytes, font.m_sFamily);
    WriteValue(bytes, std::int32_t{font.m_nIndex});
  }
  return stream.WriteAll(bytes.GetData(), bytes.GetSize()) || Fail("E", "Error writing to font cache.");
}

}  // namespace PDF
