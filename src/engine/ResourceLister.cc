#include "engine/ResourceLister.h"

#include "engine/FontStates.h"
#include "pdf/File.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace PDF
{

namespace
{

constexpr int g_nPrefix = 7;  // of a subset: six letters and '+'

// Names of the filters of an image, one after the other.
void FindFilters(const CObjectPtr& filter, BSE::CStr8& names)
{
  if (filter.IsName())
    names.Append(filter.GetNameValue());
  for (int i = 0; filter.IsArray() && i < filter.GetSize(); ++i)
  {
    if (i > 0)
      names.Append(':');
    if (const CObjectPtr name = filter[i]; name.IsName())
      names.Append(name.GetNameValue());
  }
}

// Numbers of a file may be far too large for any product.
double GetSampleBytes(int nComponents, std::int64_t nBits, std::int64_t nWidth, std::int64_t nHeight)
{
  const double dRowBits =
      static_cast<double>(nComponents) * static_cast<double>(nBits) * static_cast<double>(nWidth);
  return std::floor((dRowBits + 7) / 8) * static_cast<double>(nHeight);
}

// Unknown where an image is not followed.
double GetListedResolution(const CImageRecord& record)
{
  const double dResolution = std::min(record.m_dResolutionX, record.m_dResolutionY);
  return std::isfinite(dResolution) ? dResolution : 0;
}

const char* GetKindName(TFontKind nKind)
{
  switch (nKind)
  {
  case eFontType3:
    return "Type3";
  case eFontType0:
    return "Type0";
  case eFontType1:
    return "Type1";
  case eFontTrueType:
    return "TrueType";
  case eFontType1C:
    break;
  }
  return "Type1C";
}

}  // namespace

CResourceLister::CResourceLister(CFile& input, CListing& listing)
    : m_input(input),
      m_listing(listing),
      m_pAccount(new DOC::CColorAccount(input.GetInput()->GetLength())),
      m_pCMS(DOC::CreateCMS("", "", *m_pAccount)),
      m_spaces(*m_pCMS)
{
}

void CResourceLister::ListImages(const CImageRecords& images)
{
  m_listing.Write(CListingRow().AddText(
      "PageNumber, ObjectNumber, Width, Height, BitsPerComponent, ColorSpace, Resolution, Filter, ImageSize, "
      "CompressedSize, CompressionRatio, Filename\n"));
  for (int i = images.GetBegin(); i != images.GetEnd(); i = images.GetNext(i))
  {
    const CImageRecord& record = *images.GetAt(i);
    if (!record.IsPainted())
      continue;
    const CObjectPtr image = m_input.GetObject(record.m_nObjNumber, -1);
    ListImage(image, record);
    if (image)
      image->Unload();
  }
}

void CResourceLister::ListImage(const CObjectPtr& image, const CImageRecord& record)
{
  const CObjectPtr space = image["ColorSpace"];
  const BSE::CObjectPtr<DOC::IColorSpace> pSpace =
      space ? m_spaces.Create(space) : BSE::CObjectPtr<DOC::IColorSpace>();
  const std::int64_t nWidth = GetIntegerOr(image["Width"], 0);
  const std::int64_t nHeight = GetIntegerOr(image["Height"], 0);
  const std::int64_t nBits = GetIntegerOr(image["BitsPerComponent"], 0);
  const std::int64_t nLength = GetIntegerOr(image["Length"], 0);
  const double dSize = GetSampleBytes(pSpace ? pSpace->GetComponentCount() : 1, nBits, nWidth, nHeight);
  BSE::CStr8 filters;
  FindFilters(image["Filter"], filters);
  const bool bJPEG = std::strcmp(filters.GetText(), "JPEGDecode") == 0;

  CListingRow row;
  row.AddNumber(record.m_nPage).AddText(", ").AddNumber(record.m_nObjNumber).AddText(", ");
  row.AddNumber(nWidth).AddText(", ").AddNumber(nHeight).AddText(", ").AddNumber(nBits).AddText(", ");
  row.AddText(pSpace ? pSpace->GetName() : "Image mask").AddText(", ");
  row.AddReal(GetListedResolution(record), 0, 3).AddText(", ");
  row.AddName(filters.GetText(), true).AddText(", ").AddReal(dSize, 0).AddText(", ");
  row.AddNumber(nLength).AddText(", ");
  row.AddReal(dSize != 0 ? 100.0 * static_cast<double>(nLength) / dSize : 0, 2).AddText("%, img");
  row.AddNumber(record.m_nObjNumber).AddText(bJPEG ? ".jpg\n" : ".tif\n");
  m_listing.Write(row);
}

void CResourceLister::ListFonts(const CFontRegistry& fonts)
{
  m_listing.Write(
      CListingRow().AddText("FontName, FontType, Encoding, IsCID, IsEmbedded, IsSubsetted, Filename\n"));
  for (int i = 0; i < fonts.GetFontCount(); ++i)
    if (const CFont& font = *fonts.GetFont(i); (font.m_nOptimizeState & eFontMergedAway) == 0)
      ListFont(font);
}

void CResourceLister::ListFont(const CFont& font)
{
  const BSE::CObjectPtr<CEncoding> pEncoding = font.GetEncoding();
  if (!pEncoding)
    return;
  const bool bNamed = font.GetObject()["BaseFont"].IsName() || font.GetObject()["Name"].IsName();
  const char* szName = bNamed ? font.GetBaseName() : "<unknown>";
  const bool bSubset = std::strlen(szName) >= g_nPrefix && szName[g_nPrefix - 1] == '+';
  const bool bEmbedded = !font.IsType3() && font.GetFontFile();
  char szFile[g_nMaxFontFile];
  FormatFontFile(font, szFile);

  CListingRow row;
  row.AddText("\"").AddName(szName + (bSubset ? g_nPrefix : 0), false).AddText("\", ");
  row.AddText(GetKindName(GetListedKind(font))).AddText(", ").AddName(pEncoding->GetName(), true);
  row.AddText(font.IsComposite() ? ", CID, " : ", Non-CID, ");
  row.AddText(font.IsType3() ? "N/A" : bEmbedded ? "Embedded" : "Non-embedded").AddText(", ");
  row.AddText(!bEmbedded ? "N/A" : bSubset ? "Subsetted" : "Non-subsetted").AddText(", ");
  m_listing.Write(row.AddText(szFile).AddText("\n"));
}

TFontKind GetListedKind(const CFont& font)
{
  if (font.IsType3())
    return eFontType3;
  CFontFile* pFile = font.GetFontFile();
  switch (pFile ? pFile->GetFormat() : eFormatUnknown)
  {
  case eFormatType1:
    return eFontType1;
  case eFormatTrueType:
    return eFontTrueType;
  case eFormatOpenType:
  case eFormatCFF:
    return eFontType1C;
  case eFormatUnknown:
    break;
  }
  return font.GetKind();
}

void FormatFontFile(const CFont& font, char (&szName)[g_nMaxFontFile])
{
  szName[0] = 0;
  const CFontFile* pFile = font.GetFontFile();
  const TFontKind nKind = pFile ? GetListedKind(font) : eFontType0;
  if (nKind > eFontType0)
    std::snprintf(szName, sizeof szName, "fnt%d.%s", pFile->GetObject().GetObjNumber(),
                  nKind == eFontType1      ? "pfb"
                  : nKind == eFontTrueType ? "ttf"
                                           : "cff");
}

}  // namespace PDF
