// Step by step the samples are brought to something that TIFF can say. Each step puts a filter over them and
// describes its result, whose colour space is then looked at in turn: first what Decode asks for, since no
// later step knows of it, then a table that TIFF cannot have, then colours of other spaces. What has a place
// in TIFF is not touched. Rows are copied strip by strip, so that memory is bounded by one strip.

#include "images/TiffExport.h"

#include "base/DecodeFilter.h"
#include "base/Limits.h"
#include "images/DecodeArrayFilter.h"
#include "images/ImageDictionary.h"
#include "images/color/ColorNumbers.h"
#include "images/color/ColorSpaceObject.h"

#include <algorithm>
#include <string_view>

namespace PDF
{

namespace
{

constexpr std::size_t g_nProfileHeader = 128;
constexpr std::size_t g_nSignature = 4;

// The data colour space in the header of an ICC profile (ICC.1:2010, 7.2.6); empty for what is not a profile.
std::string_view GetProfileSpace(std::span<const unsigned char> profile)
{
  const std::string_view bytes(reinterpret_cast<const char*>(profile.data()), profile.size());
  const bool bProfile = bytes.size() >= g_nProfileHeader && bytes.substr(36, g_nSignature) == "acsp";
  return bProfile ? bytes.substr(16, g_nSignature) : std::string_view();
}

// Three components that are not red, green and blue.
bool IsOtherSpace(std::string_view space)
{
  constexpr std::string_view others[] = {"Lab ", "XYZ ", "Luv ", "YCbr", "Yxy ",
                                         "HSV ", "HLS ", "CMY ", "3CLR"};
  return std::find(std::begin(others), std::end(others), space) != std::end(others);
}

CObjectPtr GetObject(const DOC::IColorSpace& space)
{
  const auto* pSpace = dynamic_cast<const CColorSpace*>(&space);
  return pSpace ? pSpace->GetObject() : CObjectPtr();
}

bool IsPacked(int nBits)
{
  return nBits == 1 || nBits == 2 || nBits == 4 || nBits == 8;
}

}  // namespace

unsigned CTiffExport::Write(BSE::IByteStream& sink, std::int64_t& nMaxBytes)
{
  if (!Prepare())
    return eTiffNotReadable;
  return CopyRows(sink, nMaxBytes) | (m_bOtherColors ? eTiffOtherColors : 0u);
}

bool CTiffExport::Prepare()
{
  m_pSamples = m_image.GetStream();
  if (!m_pSamples || !m_image.GetDataFormat(m_format))
    return false;
  m_form.m_dResolutionX = m_image.GetResolutionX();
  m_form.m_dResolutionY = m_image.GetResolutionY();
  if (m_image.GetDecode() == eDecodeOther && !ApplyDecode())
    return false;
  if (!Describe())
    return false;
  m_form.m_nWidth = m_format.nWidth;
  m_form.m_nBits = m_format.nBitsPerComponent;
  // Colours have been read from the file since it was opened.
  return m_image.GetStream()->Rewind() && m_pSamples->IsValid();
}

// Before anything else: what comes after it knows nothing but ranges.
bool CTiffExport::ApplyDecode()
{
  const CObjectPtr decode = CImageDictionary(m_image.GetObject().Get()).GetDecode();
  m_pSamples = new CDecodeArrayFilter(m_pSamples.Get(), m_format, decode, m_pErrorContext);
  m_format.nBitsPerComponent = CDecodeArrayFilter::GetResultBits(m_format);
  return m_pSamples->IsValid();
}

// What the samples are in terms of TIFF, after they have been brought to it. Goes on with the base of a
// table, which is none.
bool CTiffExport::Describe()
{
  switch (m_format.pColorSpace->GetType())
  {
  case DOC::eCalGray:
  case DOC::eCalRGB:
    m_bOtherColors = true;
    [[fallthrough]];
  case DOC::eDeviceGray:
  case DOC::eDeviceRGB:
  case DOC::eDeviceCMYK:
    SetDevice(m_format.GetComponents());
    return true;
  case DOC::eICCBased:
    return DescribeICC(m_format.GetComponents());
  case DOC::eIndexed:
    return DescribeIndexed();
  case DOC::eLab:
    m_bOtherColors = m_format.nBitsPerComponent == 16;
    ReadLabWhite();
    return ConvertTo(DOC::eToLab);
  default:
    break;
  }
  m_bOtherColors = true;
  const DOC::IColorSpace* pAlternate = m_format.pColorSpace->GetAlternate();
  const int nComponents = pAlternate ? pAlternate->GetComponentCount() : 3;
  return ConvertTo(nComponents == 4 ? DOC::eToCMYK : nComponents == 1 ? DOC::eToGray : DOC::eToRGB);
}

void CTiffExport::SetDevice(int nComponents)
{
  m_form.m_nComponents = nComponents;
  m_form.m_color = nComponents == 1 ? eTiffGray : nComponents == 3 ? eTiffRGB : eTiffInks;
  const int nBits = m_format.nBitsPerComponent;
  if (nBits != 16 && (nComponents > 1 ? nBits != 8 : !IsPacked(nBits)))
    Widen();
}

void CTiffExport::Widen()
{
  m_pSamples = new CConvertTo8BPCFilter(m_pSamples.Get(), m_format, m_pErrorContext);
  m_format.nBitsPerComponent = 8;
}

// The samples of a space that the number of components does not suggest mean something else.
CTiffExport::TProfileUse CTiffExport::ReadProfile(const DOC::IColorSpace& space)
{
  const int nComponents = space.GetComponentCount();
  const std::string_view expected = nComponents == 1 ? "GRAY" : nComponents == 3 ? "RGB " : "CMYK";
  BSE::CBasicArray<unsigned char> profile;
  const bool bRead = ReadData(GetObject(space)[1], BSE::g_nMaxProfile, m_account, profile);
  const std::string_view found = bRead ? GetProfileSpace(profile.GetSpan()) : std::string_view();
  if (nComponents == 3 && IsOtherSpace(found))
    return eProfileOfOthers;
  if (found != expected)
    return eProfileMissing;
  m_form.m_profile.Append(profile.GetSpan());
  return eProfileFits;
}

bool CTiffExport::DescribeICC(int nComponents)
{
  const TProfileUse use = ReadProfile(*m_format.pColorSpace);
  m_bOtherColors = use != eProfileFits;
  if (use == eProfileOfOthers)
    return ConvertTo(DOC::eToRGB);
  SetDevice(nComponents);
  return true;
}

bool CTiffExport::IsPalette(const DOC::IColorSpace& base)
{
  if (!IsPacked(m_format.nBitsPerComponent) || base.GetComponentCount() != 3)
    return false;
  m_bOtherColors = base.GetType() == DOC::eCalRGB;
  if (base.GetType() != DOC::eICCBased)
    return base.GetType() == DOC::eDeviceRGB || base.GetType() == DOC::eCalRGB;
  const TProfileUse use = ReadProfile(base);
  m_bOtherColors = use != eProfileFits;
  return use != eProfileOfOthers;
}

bool CTiffExport::DescribeIndexed()
{
  const DOC::IIndexedColorSpace& indexed = *m_format.pColorSpace->GetIndexed();
  if (!IsPalette(indexed.GetBase()))
    return ConvertToBase() && Describe();
  FillPalette(indexed);
  m_form.m_nComponents = 1;
  m_form.m_color = eTiffPalette;
  return true;
}

void CTiffExport::FillPalette(const DOC::IIndexedColorSpace& indexed)
{
  const auto table = indexed.GetTable();
  for (std::size_t nColor = 0; nColor < 3; ++nColor)
    for (int i = 0; i < 1 << m_format.nBitsPerComponent; ++i)
    {
      const auto nEntry = static_cast<std::size_t>(std::min(i, indexed.GetHighIndex()));
      // Bytes to 16 bits, the form of a colour map (TIFF 6.0, section 5): 255 * 257 is 65535.
      m_form.m_palette.Add(static_cast<std::uint16_t>(table[3 * nEntry + nColor] * 257));
    }
}

bool CTiffExport::ConvertToBase()
{
  const BSE::CObjectPtr<DOC::IColorSpace> pBase = m_format.pColorSpace->GetAlternate();
  if (!pBase || pBase->GetIndexed())
    return false;
  m_pSamples = new CConvertToBaseCSFilter(m_pSamples.Get(), m_format, false, m_pErrorContext);
  m_format.pColorSpace = pBase;
  m_format.nBitsPerComponent = 8;
  return m_pSamples->IsValid();
}

namespace
{

// L*a*b* as bytes from 0 to 255 to signed a* and b*.
class CSignedLabFilter final : public CPixelFilter
{
public:
  CSignedLabFilter(BSE::IByteStream* pSource, const CSampleFormat& format, BSE::IErrorContext* pErrorContext)
      : CPixelFilter(pSource, format, 3, pErrorContext)
  {
  }

protected:
  bool MakeRow(std::span<unsigned char> row) override
  {
    for (std::size_t i = 0; i < row.size(); ++i)
      row[i] = static_cast<unsigned char>(m_row[i] ^ (i % 3 == 0 ? 0 : 0x80));
    return true;
  }
};

}  // namespace

bool CTiffExport::ConvertTo(DOC::TTarget target)
{
  if (!m_format.pColorSpace->Prepare(target))
    return false;
  m_pSamples = new CConvertColorFilter(m_pSamples.Get(), m_format, target, m_pErrorContext);
  m_format.nBitsPerComponent = 8;
  SetDevice(DOC::GetTargetComponents(target));
  if (target != DOC::eToLab)
    return true;
  m_pSamples = new CSignedLabFilter(m_pSamples.Get(), m_format, m_pErrorContext);
  m_form.m_color = eTiffLab;
  return true;
}

void CTiffExport::ReadLabWhite()
{
  const CObjectPtr white = GetObject(*m_format.pColorSpace)[1]["WhitePoint"];
  const double dSum = white[0].GetRealValue() + white[1].GetRealValue() + white[2].GetRealValue();
  const double dX = white[0].GetRealValue() / dSum;
  const double dY = white[1].GetRealValue() / dSum;
  if (!(dX > 0 && dX < 1 && dY > 0 && dY < 1))
    return;
  m_form.m_dWhiteX = dX;
  m_form.m_dWhiteY = dY;
}

unsigned CTiffExport::CopyRows(BSE::IByteStream& sink, std::int64_t& nMaxBytes)
{
  CTiffWriter writer(sink);
  if (!writer.Begin(m_form))
    return eTiffNotWritten;
  const std::int64_t nRowSize = writer.GetRowSize();
  BSE::CBasicArray<unsigned char> rows;
  rows.SetSize(static_cast<int>(nRowSize * std::min(writer.GetStripRows(), m_format.nHeight)));
  unsigned nOutcome = eTiffWhole;
  for (int nRow = 0; nRow < m_format.nHeight && nOutcome == eTiffWhole; nRow += writer.GetStripRows())
  {
    const std::int64_t nWanted = nRowSize * std::min(writer.GetStripRows(), m_format.nHeight - nRow);
    const std::int64_t nAllowed =
        std::min(nWanted, std::max<std::int64_t>(nMaxBytes, 0) / nRowSize * nRowSize);
    const std::int64_t nRead = nAllowed > 0 ? m_pSamples->ReadFully(rows.GetData(), nAllowed) : 0;
    nMaxBytes -= nRead;
    if (nRead < nWanted)
      nOutcome = nRead < nAllowed ? eTiffDamaged : eTiffTooMuch;
    // The pixels of a last row that is not whole are shown.
    const std::int64_t nWhole = (nRead + nRowSize - 1) / nRowSize * nRowSize;
    std::fill(rows.GetData() + nRead, rows.GetData() + nWhole, static_cast<unsigned char>(0));
    if (nWhole > 0 && !writer.AddStrip(rows.GetSpan().first(static_cast<std::size_t>(nWhole))))
      return eTiffNotWritten;
  }
  // Some damage shows after the last row alone.
  if (nOutcome == eTiffWhole)
    m_pSamples->Read(rows.GetData(), rows.GetSize());
  if (BSE::HasGap(m_pSamples.Get()))
    nOutcome |= eTiffDamaged;
  if (writer.GetRowCount() == 0)
    return nOutcome | eTiffNotReadable;
  return writer.Finish() ? nOutcome : eTiffNotWritten;
}

}  // namespace PDF
