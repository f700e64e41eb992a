#include "images/filters/ExifReader.h"

#include "base/ByteOrder.h"

#include <cstddef>
#include <cstdint>

namespace BSE
{

namespace
{

constexpr unsigned g_nOrientationTag = 0x112;
constexpr unsigned g_nResolutionXTag = 0x11A;
constexpr unsigned g_nResolutionYTag = 0x11B;
constexpr unsigned g_nResolutionUnitTag = 0x128;
constexpr unsigned g_nShortType = 3;
constexpr unsigned g_nRationalType = 5;
constexpr unsigned g_nCentimetres = 3;
constexpr double g_dCentimetresPerInch = 2.54;

constexpr std::size_t g_nHeaderSize = 8;
constexpr std::size_t g_nEntrySize = 12;
constexpr std::size_t g_nValueOffset = 8;

// Values of a TIFF structure at any offset; 0 beyond its end.
class CTiffBytes
{
public:
  explicit CTiffBytes(std::span<const unsigned char> data) : m_data(data) {}

  // The offset of the first directory; 0 if this is not a TIFF structure.
  std::size_t Open()
  {
    constexpr unsigned nVersion = 42;
    if (m_data.size() < g_nHeaderSize || m_data[0] != m_data[1] || (m_data[0] != 'I' && m_data[0] != 'M'))
      return 0;
    m_bBigEndian = m_data[0] == 'M';
    return Get<std::uint16_t>(2) == nVersion ? Get<std::uint32_t>(4) : 0;
  }

  template <class T>
  T Get(std::size_t nOffset) const
  {
    if (nOffset > m_data.size() || m_data.size() - nOffset < sizeof(T))
      return 0;
    const unsigned char* const pBytes = m_data.data() + nOffset;
    return m_bBigEndian ? LoadBigEndian<T>(pBytes) : LoadLittleEndian<T>(pBytes);
  }

  double GetRational(std::size_t nOffset) const
  {
    const double dDivisor = Get<std::uint32_t>(nOffset + 4);
    return dDivisor > 0 ? Get<std::uint32_t>(nOffset) / dDivisor : 0;
  }

private:
  std::span<const unsigned char> m_data;
  bool m_bBigEndian = false;
};

}  // namespace

TExif ReadExif(std::span<const unsigned char> tiff)
{
  TExif exif;
  CTiffBytes bytes(tiff);
  const std::size_t nDirectory = bytes.Open();
  if (nDirectory == 0)
    return exif;
  bool bCentimetres = false;
  std::size_t nEntry = nDirectory + 2;
  for (unsigned nLeft = bytes.Get<std::uint16_t>(nDirectory); nLeft > 0 && nEntry < tiff.size(); --nLeft)
  {
    const unsigned nTag = bytes.Get<std::uint16_t>(nEntry);
    const unsigned nType = bytes.Get<std::uint16_t>(nEntry + 2);
    const unsigned nShort = nType == g_nShortType ? bytes.Get<std::uint16_t>(nEntry + g_nValueOffset) : 0;
    const std::size_t nRational =
        nType == g_nRationalType ? bytes.Get<std::uint32_t>(nEntry + g_nValueOffset) : tiff.size();
    if (nTag == g_nOrientationTag && nShort >= 1 && nShort <= 8)
      exif.m_nOrientation = static_cast<int>(nShort);
    else if (nTag == g_nResolutionXTag)
      exif.m_dResolutionX = bytes.GetRational(nRational);
    else if (nTag == g_nResolutionYTag)
      exif.m_dResolutionY = bytes.GetRational(nRational);
    else if (nTag == g_nResolutionUnitTag)
      bCentimetres = nShort == g_nCentimetres;
    nEntry += g_nEntrySize;
  }
  if (bCentimetres)
  {
    exif.m_dResolutionX *= g_dCentimetresPerInch;
    exif.m_dResolutionY *= g_dCentimetresPerInch;
  }
  return exif;
}

}  // namespace BSE
