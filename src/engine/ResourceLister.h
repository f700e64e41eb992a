#pragma once

#include "engine/ImageRecord.h"
#include "engine/Listing.h"
#include "fonts/pdf/FontRegistry.h"
#include "images/color/ColorSpaceFactory.h"

namespace PDF
{

// Lists the images and fonts that an analysis has found, as text with a line for each and a header.
class CResourceLister
{
public:
  // All borrowed.
  CResourceLister(CFile& input, CListing& listing);
  CResourceLister(const CResourceLister&) = delete;
  CResourceLister& operator=(const CResourceLister&) = delete;

  // Those that are painted; masks are not.
  void ListImages(const CImageRecords& images);

  // But those that have become another font.
  void ListFonts(const CFontRegistry& fonts);

private:
  void ListImage(const CObjectPtr& image, const CImageRecord& record);
  void ListFont(const CFont& font);

  CFile& m_input;
  CListing& m_listing;
  BSE::CObjectPtr<DOC::CColorAccount> m_pAccount;
  BSE::CObjectPtr<DOC::CCMS> m_pCMS;
  CColorSpaceFactory m_spaces;
};

// Of a font in the numbers of listings: that of its program, or without one that of its dictionary.
TFontKind GetListedKind(const CFont& font);

// The name of the file that a font's program is extracted to, of a room of g_nMaxFontFile bytes; empty
// without one.
inline constexpr int g_nMaxFontFile = 32;
void FormatFontFile(const CFont& font, char (&szName)[g_nMaxFontFile]);

}  // namespace PDF
