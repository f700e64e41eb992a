#pragma once

#include "base/Stream.h"
#include "fonts/installed/InstalledFont.h"

#include <array>
#include <span>

namespace PDF
{

// What is kept of the fonts in a list of folders, so that nobody has to look through them again. Numbers are
// in the byte order of the machine.
//
//   Version     7, one byte
//   Size        of CFontCharacteristics, four bytes, as all numbers below
//   Digest      its length, and the bytes: of the list of folders
//   Count       of fonts, -1 for none
//   Fonts       the characteristics; path, name and family; the index in the file
//
// A text is its length in units, and unless that is 0 the units with a zero at their end: of the path bytes,
// of the names UTF-16.
class CFontCache
{
public:
  static constexpr unsigned char g_nVersion = 7;
  static constexpr int g_nDigestSize = 20;
  using TDigest = std::array<unsigned char, g_nDigestSize>;

  explicit CFontCache(const TDigest& digest) : m_digest(digest) {}

  // Appends the fonts. False, and none is, for a cache of another kind or list and for a damaged one: what is
  // wrong is traced.
  bool Read(BSE::IByteStream& stream, BSE::CObjectArray<CInstalledFont>& fonts) const;

  // Without those from memory. False, which is traced, if the stream fails.
  bool Write(BSE::IByteStream& stream, const BSE::CObjectArray<CInstalledFont>& fonts) const;

private:
  TDigest m_digest;
};

}  // namespace PDF
