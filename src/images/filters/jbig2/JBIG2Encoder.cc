#include "images/filters/jbig2/JBIG2Encoder.h"

#include "images/filters/jbig2/JBIG2GenericEncoder.h"
#include "images/filters/jbig2/JBIG2TextEncoder.h"

#include <cstring>
#include <utility>

namespace BSE
{

namespace
{

// Below this count of pixels the smaller templates may learn faster.
constexpr std::int64_t g_nSmallPixels = 1 << 18;

// A page of more runs or components is not text.
constexpr int g_nMaxRuns = 1 << 22;
constexpr int g_nMaxComponents = 1 << 18;

// Whether typical prediction could spare anything.
bool HasEqualRows(const CJBIG2Bitmap& bitmap)
{
  const auto nSize = static_cast<std::size_t>(bitmap.GetStride()) * sizeof(std::uint64_t);
  for (int y = 1; y < bitmap.GetHeight(); ++y)
  {
    if (std::memcmp(bitmap.GetRow(y - 1), bitmap.GetRow(y), nSize) == 0)
      return true;
  }
  return false;
}

void PutGeneric(const CJBIG2Bitmap& bitmap, const TJBIG2GenericForm& form, CJBIG2SegmentData& data)
{
  data.Put8(static_cast<unsigned>(form.m_nTemplate) << 1 | (form.m_bTypical ? 8 : 0));
  data.PutMovable(form);
  CJBIG2ArithmeticEncoder encoder;
  CJBIG2GenericEncoder(form).Encode(encoder, bitmap);
  encoder.Flush();
  data.Put(encoder.GetBytes());
}

// A generic region as large as the page in the form that makes it smallest.
CJBIG2SegmentData EncodeRegion(const CJBIG2Bitmap& bitmap)
{
  CJBIG2SegmentData best;
  PutGeneric(bitmap, TJBIG2GenericForm::Make(0), best);
  const auto tryForm = [&](int nTemplate, bool bTypical)
  {
    TJBIG2GenericForm form = TJBIG2GenericForm::Make(nTemplate);
    form.m_bTypical = bTypical;
    CJBIG2SegmentData other;
    PutGeneric(bitmap, form, other);
    if (other.GetSize() < best.GetSize())
      best = std::move(other);
  };
  const bool bEqualRows = HasEqualRows(bitmap);
  if (bEqualRows)
    tryForm(0, true);
  const bool bSmall = std::int64_t{bitmap.GetWidth()} * bitmap.GetHeight() <= g_nSmallPixels;
  for (int nTemplate = 1; bSmall && nTemplate < 4; ++nTemplate)
  {
    tryForm(nTemplate, false);
    if (bEqualRows)
      tryForm(nTemplate, true);
  }
  CJBIG2SegmentData data;
  data.PutRegion({bitmap.GetWidth(), bitmap.GetHeight(), 0, 0, eJBIG2Or});
  data.Put(best.GetBytes());
  return data;
}

bool IsWhite(const CJBIG2Bitmap& bitmap)
{
  for (int y = 0; y < bitmap.GetHeight(); ++y)
  {
    for (int i = 0; i < bitmap.GetStride(); ++i)
    {
      if (bitmap.GetRow(y)[i] != 0)
        return false;
    }
  }
  return true;
}

}  // namespace

CJBIG2Encoder::CJBIG2Encoder(const CJBIG2Bitmap& page, std::uint32_t nResolutionX, std::uint32_t nResolutionY)
    : m_page(page), m_nResolutionX(nResolutionX), m_nResolutionY(nResolutionY)
{
}

void CJBIG2Encoder::AddPage(CJBIG2SegmentWriter& writer, bool bRefined) const
{
  constexpr unsigned nLossless = 1;
  constexpr unsigned nRefined = 2;
  CJBIG2SegmentData data;
  data.Put32(static_cast<std::uint32_t>(m_page.GetWidth()));
  data.Put32(static_cast<std::uint32_t>(m_page.GetHeight()));
  data.Put32(m_nResolutionX);
  data.Put32(m_nResolutionY);
  data.Put8(nLossless | (bRefined ? nRefined : 0));
  data.Put16(0);
  writer.Add(eJBIG2PageInformation, data);
}

CJBIG2SegmentWriter CJBIG2Encoder::MakeGeneric() const
{
  CJBIG2SegmentWriter writer;
  AddPage(writer, false);
  writer.Add(eJBIG2ImmediateGeneric, EncodeRegion(m_page));
  return writer;
}

CJBIG2BitmapPtr CJBIG2Encoder::MakeRest(const CJBIG2TextLayout& layout)
{
  CJBIG2BitmapPtr pRest = m_page.CopyPart(m_run, 0, 0, m_page.GetWidth(), m_page.GetHeight());
  for (const TJBIG2Instance& instance : layout.GetInstances())
  {
    const TJBIG2Component& component = layout.GetComponents().Get(instance.m_nComponent);
    const CJBIG2Bitmap* const pBitmap = instance.m_nRefined >= 0 ? layout.GetRefined()[instance.m_nRefined]
                                                                 : layout.GetSymbols()[instance.m_nSymbol];
    if (pBitmap)
      pRest->Combine(*pBitmap, component.m_nLeft, component.m_nTop, eJBIG2Xor);
  }
  return pRest;
}

CJBIG2SegmentWriter CJBIG2Encoder::MakeText(const CJBIG2TextLayout& layout)
{
  CJBIG2SegmentWriter writer;
  AddPage(writer, !layout.GetRefined().IsEmpty());
  const CJBIG2BitmapPtr pRest = MakeRest(layout);
  if (!IsWhite(*pRest))
    writer.Add(eJBIG2ImmediateGeneric, EncodeRegion(*pRest));
  CJBIG2TextEncoder encoder(layout);
  CJBIG2SegmentData dictionary;
  CJBIG2SegmentData text;
  encoder.EncodeDictionary(dictionary);
  encoder.EncodeText(text);
  const unsigned nDictionary = writer.Add(eJBIG2SymbolDictionary, dictionary);
  writer.Add(eJBIG2ImmediateText, text, {&nDictionary, 1});
  return writer;
}

void CJBIG2Encoder::Try(const CJBIG2TextLayout& layout)
{
  CJBIG2SegmentWriter writer = MakeText(layout);
  if (writer.GetBytes().size() < m_best.GetBytes().size())
    m_best = std::move(writer);
}

void CJBIG2Encoder::TrySymbols()
{
  CJBIG2Components components;
  if (!components.Find(m_page, g_nMaxRuns) || components.GetCount() < 2 ||
      components.GetCount() > g_nMaxComponents)
    return;
  CJBIG2TextLayout layout(m_run, components,
                          8.0 * static_cast<double>(m_best.GetBytes().size()) / components.GetRunCount());
  if (layout.AddSymbols())
    Try(layout);
  if (layout.AddRefinements())
    Try(layout);
}

std::span<const unsigned char> CJBIG2Encoder::Encode()
{
  m_best = MakeGeneric();
  TrySymbols();
  return m_best.GetBytes();
}

}  // namespace BSE
