#include "images/filters/jpx/JPXBoxes.h"

#include "base/ByteOrder.h"

#include <algorithm>
#include <cmath>

namespace BSE
{

namespace
{

// Appends values and boxes, whose lengths are set when they end.
class CBoxWriter
{
public:
  explicit CBoxWriter(CBasicArray<unsigned char>& file) : m_file(file) {}

  void Put8(unsigned n) { Put(static_cast<std::uint8_t>(n)); }
  void Put16(unsigned n) { Put(static_cast<std::uint16_t>(n)); }
  void Put32(std::uint32_t n) { Put(n); }
  void Put(std::span<const unsigned char> bytes) { m_file.Append(bytes); }

  // Gives what End needs.
  int Begin(std::uint32_t nType)
  {
    const int nStart = m_file.GetSize();
    Put32(0);
    Put32(nType);
    return nStart;
  }

  void End(int nStart)
  {
    StoreBigEndian(static_cast<std::uint32_t>(m_file.GetSize() - nStart), m_file.GetData() + nStart);
  }

private:
  template <class T>
  void Put(T nValue)
  {
    unsigned char bytes[sizeof(T)];
    StoreBigEndian(nValue, bytes);
    m_file.Append(bytes);
  }

  CBasicArray<unsigned char>& m_file;
};

std::uint32_t GetEnumerated(int nColorSpace)
{
  switch (nColorSpace)
  {
  case eJPXRGB:
    return eJPXEnumSRGB;
  case eJPXCMYK:
    return eJPXEnumCMYK;
  case eJPXLab:
    return eJPXEnumLab;
  case eJPXYCC:
    return eJPXEnumSYCC;
  default:
    return eJPXEnumGray;
  }
}

// Only what the first part of the format has makes a JP2 file.
bool IsExtended(int nColorSpace)
{
  return nColorSpace == eJPXCMYK || nColorSpace == eJPXLab;
}

void PutFileType(CBoxWriter& writer, bool bExtended)
{
  const int nSignature = writer.Begin(MakeJPXType("jP  "));
  writer.Put32(0x0D0A870A);
  writer.End(nSignature);
  const int nType = writer.Begin(MakeJPXType("ftyp"));
  writer.Put32(bExtended ? MakeJPXType("jpx ") : MakeJPXType("jp2 "));
  writer.Put32(0);
  if (bExtended)
    writer.Put32(MakeJPXType("jpx "));
  writer.Put32(MakeJPXType("jp2 "));
  writer.End(nType);
}

void PutColor(CBoxWriter& writer, const CJPXParameters& parameters)
{
  constexpr unsigned nEnumerated = 1;
  const int nBox = writer.Begin(MakeJPXType("colr"));
  writer.Put8(nEnumerated);
  writer.Put16(0);
  writer.Put32(GetEnumerated(parameters.nColorSpace));
  if (parameters.nColorSpace == eJPXLab)
  {
    constexpr std::uint32_t nIlluminantD50 = 0x00443530;
    writer.Put32(100);
    writer.Put32(0);
    for (int i = 0; i < 4; i += 2)
    {
      const double dRange = std::max(parameters.labRange[i + 1] - parameters.labRange[i], 1.0);
      writer.Put32(static_cast<std::uint32_t>(std::lround(std::min(dRange, 1e6))));
      writer.Put32(static_cast<std::uint32_t>(
          std::lround(std::clamp(-parameters.labRange[i] * 255 / dRange, -1e6, 1e6))));
    }
    writer.Put32(nIlluminantD50);
  }
  writer.End(nBox);
}

void PutPalette(CBoxWriter& writer, const CJPXParameters& parameters)
{
  constexpr unsigned nDepth8 = 7;
  const int nPalette = writer.Begin(MakeJPXType("pclr"));
  writer.Put16(static_cast<unsigned>(parameters.Palette.GetSize() / parameters.nChannels));
  writer.Put8(static_cast<unsigned>(parameters.nChannels));
  for (int i = 0; i < parameters.nChannels; ++i)
    writer.Put8(nDepth8);
  writer.Put(parameters.Palette.GetSpan());
  writer.End(nPalette);
  const int nMapping = writer.Begin(MakeJPXType("cmap"));
  for (int i = 0; i < parameters.nChannels; ++i)
  {
    writer.Put16(0);
    writer.Put8(1);
    writer.Put8(static_cast<unsigned>(i));
  }
  writer.End(nMapping);
}

// A fraction that is exact for whole and for most other numbers of dots per inch.
void PutFraction(CBoxWriter& writer, double dDotsPerInch)
{
  constexpr double dMax = 65535;
  constexpr unsigned nTenthMillimetres = 254;
  const bool bSmall = dDotsPerInch * 100 <= dMax;
  writer.Put16(static_cast<unsigned>(std::min(dDotsPerInch * (bSmall ? 100 : 1) + 0.5, dMax)));
  writer.Put16(bSmall ? 100 * nTenthMillimetres : nTenthMillimetres);
}

void PutResolution(CBoxWriter& writer, const CJPXParameters& parameters)
{
  constexpr unsigned nPower = 4;
  const int nBox = writer.Begin(MakeJPXType("res "));
  const int nCapture = writer.Begin(MakeJPXType("resc"));
  PutFraction(writer, parameters.dResolutionY);
  PutFraction(writer, parameters.dResolutionX);
  writer.Put8(nPower);
  writer.Put8(nPower);
  writer.End(nCapture);
  writer.End(nBox);
}

}  // namespace

void WriteJPXFile(const CJPXParameters& parameters, std::span<const unsigned char> codestream,
                  CBasicArray<unsigned char>& file)
{
  constexpr unsigned nWavelets = 7;
  const bool bPalette = !parameters.Palette.IsEmpty();
  CBoxWriter writer(file);
  PutFileType(writer, IsExtended(parameters.nColorSpace));
  const int nHeader = writer.Begin(MakeJPXType("jp2h"));
  const int nImage = writer.Begin(MakeJPXType("ihdr"));
  writer.Put32(static_cast<std::uint32_t>(parameters.nHeight));
  writer.Put32(static_cast<std::uint32_t>(parameters.nWidth));
  writer.Put16(bPalette ? 1 : static_cast<unsigned>(parameters.nChannels));
  writer.Put8(static_cast<unsigned>(parameters.nBitsPerComponent - 1));
  writer.Put8(nWavelets);
  writer.Put16(0);
  writer.End(nImage);
  PutColor(writer, parameters);
  if (bPalette)
    PutPalette(writer, parameters);
  if (parameters.dResolutionX > 0 && parameters.dResolutionY > 0)
    PutResolution(writer, parameters);
  writer.End(nHeader);
  const int nCodestream = writer.Begin(MakeJPXType("jp2c"));
  writer.Put(codestream);
  writer.End(nCodestream);
}

}  // namespace BSE
