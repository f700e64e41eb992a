#include "images/filters/jpx/JPXBoxes.h"

#include "base/ByteCursor.h"
#include "base/Tracer.h"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace BSE
{

namespace
{

constexpr unsigned char g_startOfCodestream[] = {0xFF, 0x4F, 0xFF, 0x51};
constexpr double g_dMetresPerInch = 0.0254;
constexpr int g_nMaxPaletteRows = 1024;
constexpr int g_nMaxDepth = 38;

struct TBox
{
  std::uint32_t m_nType = 0;
  std::span<const unsigned char> m_contents;
};

// The next box; false at the end. One that reaches beyond the end is cut there.
bool ReadBox(CByteCursor& cursor, TBox& box)
{
  if (cursor.GetRemaining() < 8)
    return false;
  std::uint64_t nLength = cursor.Card32();
  std::uint64_t nHead = 8;
  box.m_nType = cursor.Card32();
  if (nLength == 1)
  {
    nLength = cursor.Card64();
    nHead = 16;
  }
  if (cursor.HasFailed() || (nLength != 0 && nLength < nHead))
    return false;
  const std::uint64_t nRest = cursor.GetRemaining();
  const std::uint64_t nSize = nLength == 0 ? nRest : std::min(nLength - nHead, nRest);
  box.m_contents = cursor.Take(static_cast<std::int64_t>(nSize));
  return true;
}

class CHeaderReader
{
public:
  explicit CHeaderReader(TJPXHeader& header) : m_header(header) {}

  void Read(std::span<const unsigned char> boxes);

private:
  void ReadBoxContents(const TBox& box);
  void ReadColor(CByteCursor cursor);
  int GetEnumerated(CByteCursor& cursor);
  void ReadLab(CByteCursor& cursor);
  void ReadPalette(CByteCursor cursor);
  void ReadMapping(CByteCursor cursor);
  void ReadDefinitions(CByteCursor cursor);
  void ReadResolution(CByteCursor cursor);

  TJPXHeader& m_header;
  bool m_bCaptured = false;  // the resolution is that of the capture
};

void CHeaderReader::Read(std::span<const unsigned char> boxes)
{
  CByteCursor cursor(boxes);
  TBox box;
  while (ReadBox(cursor, box))
    ReadBoxContents(box);
}

void CHeaderReader::ReadBoxContents(const TBox& box)
{
  const CByteCursor cursor(box.m_contents);
  if (box.m_nType == MakeJPXType("colr"))
    ReadColor(cursor);
  else if (box.m_nType == MakeJPXType("pclr"))
    ReadPalette(cursor);
  else if (box.m_nType == MakeJPXType("cmap"))
    ReadMapping(cursor);
  else if (box.m_nType == MakeJPXType("cdef"))
    ReadDefinitions(cursor);
  else if (box.m_nType == MakeJPXType("res "))
    ReadResolution(cursor);
}

int CHeaderReader::GetEnumerated(CByteCursor& cursor)
{
  switch (cursor.Card32())
  {
  case eJPXEnumGray:
  case eJPXEnumBilevel:
    return eJPXGray;
  case eJPXEnumSRGB:
  case eJPXEnumESRGB:
  case eJPXEnumROMM:
    return eJPXRGB;
  case eJPXEnumSYCC:
  case eJPXEnumESYCC:
  case eJPXEnumYCbCr1:
  case eJPXEnumYCbCr2:
  case eJPXEnumYCbCr3:
    return eJPXYCC;
  case eJPXEnumCMYK:
    return eJPXCMYK;
  case eJPXEnumLab:
    ReadLab(cursor);
    return eJPXLab;
  default:
    return eJPXNone;
  }
}

// Range and offset of each channel; without them those of 8 bits that the format tells.
void CHeaderReader::ReadLab(CByteCursor& cursor)
{
  constexpr int nDefaults[] = {100, 0, 170, 128, 200, 96};
  int values[6];
  for (int& nValue : values)
    nValue = cursor.Int32();
  if (cursor.HasFailed())
    std::copy(std::begin(nDefaults), std::end(nDefaults), values);
  for (int i = 0; i < 2; ++i)
  {
    const double dRange = values[2 + 2 * i];
    m_header.m_labRange[2 * i] = -dRange * values[3 + 2 * i] / 255;
    m_header.m_labRange[2 * i + 1] = dRange + m_header.m_labRange[2 * i];
  }
}

int GetProfileSpace(CByteCursor cursor)
{
  constexpr int nSpaceOffset = 16;
  cursor.Skip(nSpaceOffset);
  switch (cursor.Card32())
  {
  case MakeJPXType("GRAY"):
    return eJPXGray;
  case MakeJPXType("RGB "):
    return eJPXRGB;
  case MakeJPXType("CMYK"):
    return eJPXCMYK;
  case MakeJPXType("Lab "):
    return eJPXLab;
  default:
    return eJPXNone;
  }
}

void CHeaderReader::ReadColor(CByteCursor cursor)
{
  constexpr unsigned nEnumerated = 1;
  constexpr unsigned nRestrictedProfile = 2;
  constexpr unsigned nAnyProfile = 3;
  // The first that is understood counts.
  if (m_header.m_nColorSpace != eJPXNone)
    return;
  const unsigned nMethod = cursor.Card8();
  cursor.Skip(2);
  if (nMethod == nEnumerated)
    m_header.m_nColorSpace = GetEnumerated(cursor);
  else if (nMethod == nRestrictedProfile || nMethod == nAnyProfile)
  {
    m_header.m_nColorSpace = GetProfileSpace(cursor);
    m_header.m_bProfile = m_header.m_nColorSpace != eJPXNone;
  }
  if (m_header.m_nColorSpace == eJPXNone && CTracer::IsOn())
    CTracer::Trace("W", "JPX Filter", "JPEG2000 data: Unsupported color space.");
}

// An entry as a number of 8 bits.
unsigned char ScaleEntry(std::span<const unsigned char> bytes, int nDepth, bool bSigned)
{
  std::uint64_t nValue = 0;
  for (const unsigned char nByte : bytes)
    nValue = nValue << 8 | nByte;
  const std::uint64_t nMax = (std::uint64_t{1} << nDepth) - 1;
  if (bSigned)
    nValue += (nMax + 1) / 2;
  return static_cast<unsigned char>((nValue & nMax) * 255 / nMax);
}

void CHeaderReader::ReadPalette(CByteCursor cursor)
{
  TJPXPalette palette;
  palette.m_nRows = static_cast<int>(cursor.Card16());
  palette.m_nColumns = static_cast<int>(cursor.Card8());
  const auto depths = cursor.Take(palette.m_nColumns);
  bool bValid = palette.m_nRows > 0 && palette.m_nRows <= g_nMaxPaletteRows && palette.m_nColumns > 0;
  for (const unsigned char nDepth : depths)
    bValid = bValid && (nDepth & 0x7F) < g_nMaxDepth;
  for (int i = 0; bValid && i < palette.m_nRows * palette.m_nColumns; ++i)
  {
    const unsigned nForm = cursor.HasFailed() ? 0 : depths[static_cast<std::size_t>(i % palette.m_nColumns)];
    const int nDepth = static_cast<int>(nForm & 0x7F) + 1;
    const auto bytes = cursor.Take((nDepth + 7) / 8);
    bValid = !bytes.empty();
    palette.m_bytes.Add(ScaleEntry(bytes, nDepth, (nForm & 0x80) != 0));
  }
  m_header.m_bPaletteDamaged = !bValid;
  if (bValid)
    m_header.m_palette = std::move(palette);
}

void CHeaderReader::ReadMapping(CByteCursor cursor)
{
  while (cursor.GetRemaining() >= 4)
  {
    const int nComponent = static_cast<int>(cursor.Card16());
    const bool bPalette = cursor.Card8() == 1;
    const int nColumn = static_cast<int>(cursor.Card8());
    m_header.m_channels.Add({nComponent, bPalette ? nColumn : -1});
  }
}

void CHeaderReader::ReadDefinitions(CByteCursor cursor)
{
  for (unsigned nCount = cursor.Card16(); nCount > 0 && cursor.GetRemaining() >= 6; --nCount)
  {
    const int nChannel = static_cast<int>(cursor.Card16());
    const int nType = static_cast<int>(cursor.Card16());
    m_header.m_definitions.Add({nChannel, nType, static_cast<int>(cursor.Card16())});
  }
}

// Numerator and divisor of both directions, then powers of ten: points in a metre.
void CHeaderReader::ReadResolution(CByteCursor cursor)
{
  TBox box;
  while (ReadBox(cursor, box))
  {
    const bool bCapture = box.m_nType == MakeJPXType("resc");
    if ((!bCapture && box.m_nType != MakeJPXType("resd")) || (m_bCaptured && !bCapture))
      continue;
    CByteCursor values(box.m_contents);
    double numbers[4];
    for (double& dNumber : numbers)
      dNumber = values.Card16();
    const int nPowerY = values.Int8();
    const int nPowerX = values.Int8();
    if (values.HasFailed() || numbers[1] == 0 || numbers[3] == 0)
      continue;
    m_bCaptured = bCapture;
    m_header.m_dResolutionY = numbers[0] / numbers[1] * std::pow(10.0, nPowerY) * g_dMetresPerInch;
    m_header.m_dResolutionX = numbers[2] / numbers[3] * std::pow(10.0, nPowerX) * g_dMetresPerInch;
  }
}

}  // namespace

bool ReadJPXHeader(std::span<const unsigned char> data, TJPXHeader& header, IErrorContext* pErrorContext)
{
  CByteCursor cursor(data);
  CHeaderReader reader(header);
  TBox box;
  // A bare codestream is no box: its first bytes would be a length beyond all data.
  const bool bBare = data.size() >= 4 && std::equal(data.begin(), data.begin() + 4, g_startOfCodestream);
  while (!bBare && header.m_codestream.empty() && ReadBox(cursor, box))
  {
    if (box.m_nType == MakeJPXType("jp2h"))
      reader.Read(box.m_contents);
    else if (box.m_nType == MakeJPXType("jp2c"))
      header.m_codestream = box.m_contents;
  }
  if (header.m_codestream.empty())
  {
    const auto found =
        std::search(data.begin(), data.end(), std::begin(g_startOfCodestream), std::end(g_startOfCodestream));
    header.m_codestream = data.subspan(static_cast<std::size_t>(found - data.begin()));
  }
  if (header.m_codestream.empty())
    ReportError(pErrorContext, CScopedPtr<IError>(new CJPXError(eJPXNoImage)));
  return !header.m_codestream.empty();
}

}  // namespace BSE
