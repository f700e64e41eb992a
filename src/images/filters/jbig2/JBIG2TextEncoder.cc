// What is smallest is found by trying: four templates for the dictionary, four heights of strips, two
// templates for refinements. The heights are compared without the refined bitmaps, which take about the same
// in all of them. Symbols are sorted by height and width, since a dictionary codes classes of equal height
// and steps of width in each (ITU-T T.88, 6.5.5). Instances are sorted by strips and by columns in each;
// their place is that of the lower left corner, on which the letters of a line agree most. The order of
// drawing makes no difference, since all are combined by OR.

#include "images/filters/jbig2/JBIG2TextEncoder.h"

#include "images/filters/jbig2/JBIG2GenericEncoder.h"
#include "images/filters/jbig2/JBIG2Integers.h"
#include "images/filters/jbig2/JBIG2RefinementEncoder.h"
#include "images/filters/jbig2/JBIG2TextCodes.h"

#include <algorithm>
#include <utility>

namespace BSE
{

namespace
{

constexpr int g_nTemplates = 4;
constexpr int g_nMaxStripBits = 3;

}  // namespace

CJBIG2TextEncoder::CJBIG2TextEncoder(const CJBIG2TextLayout& layout) : m_layout(layout)
{
  SortSymbols();
  m_instances.Append(layout.GetInstances());
  FindRegion();
}

void CJBIG2TextEncoder::SortSymbols()
{
  const CJBIG2Symbols& symbols = m_layout.GetSymbols();
  for (int i = 0; i < symbols.GetSize(); ++i)
    m_order.Add(i);
  std::sort(m_order.GetData(), m_order.GetData() + m_order.GetSize(),
            [&symbols](int a, int b)
            {
              return std::pair(symbols[a]->GetHeight(), symbols[a]->GetWidth()) <
                     std::pair(symbols[b]->GetHeight(), symbols[b]->GetWidth());
            });
  m_numbers.SetSize(symbols.GetSize());
  for (int i = 0; i < symbols.GetSize(); ++i)
    m_numbers.SetAt(m_order[i], i);
}

const TJBIG2Component& CJBIG2TextEncoder::GetComponent(const TJBIG2Instance& instance) const
{
  return m_layout.GetComponents().Get(instance.m_nComponent);
}

void CJBIG2TextEncoder::FindRegion()
{
  TJBIG2Component box = GetComponent(m_instances[0]);
  for (const TJBIG2Instance& instance : m_instances.GetSpan())
  {
    const TJBIG2Component& component = GetComponent(instance);
    box.m_nLeft = std::min(box.m_nLeft, component.m_nLeft);
    box.m_nTop = std::min(box.m_nTop, component.m_nTop);
    box.m_nRight = std::max(box.m_nRight, component.m_nRight);
    box.m_nBottom = std::max(box.m_nBottom, component.m_nBottom);
  }
  m_region = {box.GetWidth(), box.GetHeight(), box.m_nLeft, box.m_nTop, eJBIG2Or};
}

void CJBIG2TextEncoder::PutDictionary(int nTemplate, CJBIG2SegmentData& data) const
{
  const CJBIG2Symbols& symbols = m_layout.GetSymbols();
  const TJBIG2GenericForm form = TJBIG2GenericForm::Make(nTemplate);
  data.Put16(static_cast<unsigned>(nTemplate) << 10);
  data.PutMovable(form);
  data.Put32(static_cast<std::uint32_t>(symbols.GetSize()));
  data.Put32(static_cast<std::uint32_t>(symbols.GetSize()));
  CJBIG2ArithmeticEncoder encoder;
  CJBIG2GenericEncoder generic(form);
  CJBIG2IntegerContexts heights;
  CJBIG2IntegerContexts widths;
  CJBIG2IntegerContexts exports;
  int nHeight = 0;
  int nWidth = 0;
  for (int i = 0; i < symbols.GetSize(); ++i)
  {
    const CJBIG2Bitmap& symbol = *symbols[m_order[i]];
    if (i == 0 || symbol.GetHeight() != nHeight)
    {
      if (i > 0)
        widths.EncodeNone(encoder);
      heights.Encode(encoder, symbol.GetHeight() - nHeight);
      nHeight = symbol.GetHeight();
      nWidth = 0;
    }
    widths.Encode(encoder, symbol.GetWidth() - nWidth);
    nWidth = symbol.GetWidth();
    generic.Encode(encoder, symbol);
  }
  widths.EncodeNone(encoder);
  // Runs of symbols that are kept back and made known: none, then all (6.5.10).
  exports.Encode(encoder, 0);
  exports.Encode(encoder, symbols.GetSize());
  encoder.Flush();
  data.Put(encoder.GetBytes());
}

void CJBIG2TextEncoder::EncodeDictionary(CJBIG2SegmentData& data) const
{
  PutDictionary(0, data);
  for (int i = 1; i < g_nTemplates; ++i)
  {
    CJBIG2SegmentData other;
    PutDictionary(i, other);
    if (other.GetSize() < data.GetSize())
      data = std::move(other);
  }
}

void CJBIG2TextEncoder::SortInstances(int nStripBits)
{
  const auto getKey = [&](const TJBIG2Instance& instance)
  {
    const TJBIG2Component& component = GetComponent(instance);
    return std::pair((component.m_nBottom - 1 - m_region.m_y) >> nStripBits, component.m_nLeft);
  };
  std::sort(m_instances.GetData(), m_instances.GetData() + m_instances.GetSize(),
            [&](const TJBIG2Instance& a, const TJBIG2Instance& b) { return getKey(a) < getKey(b); });
}

void CJBIG2TextEncoder::PutText(const TForm& form, bool bRefined, CJBIG2SegmentData& data)
{
  const bool bRefines = !m_layout.GetRefined().IsEmpty();
  SortInstances(form.m_nStripBits);
  data.PutRegion(m_region);
  data.Put16((bRefines ? 2U : 0) | static_cast<unsigned>(form.m_nStripBits) << 2 |
             static_cast<unsigned>(form.m_nRefinementTemplate) << 15);
  if (bRefines && form.m_nRefinementTemplate == 0)
    // The two movable pixels at -1, -1, where they are by default (6.3.5.3).
    data.Put32(0xFFFFFFFFU);
  data.Put32(static_cast<std::uint32_t>(m_instances.GetSize()));
  CJBIG2ArithmeticEncoder encoder;
  CJBIG2RefinementEncoder refinement(form.m_nRefinementTemplate);
  TJBIG2TextContexts contexts;
  contexts.m_symbols.Start(GetJBIG2CodeBits(m_layout.GetSymbols().GetSize()));
  // Where the first strip begins (6.4.5, step 2).
  contexts.m_stripSteps.Encode(encoder, 0);
  std::int64_t nStrip = -1;
  std::int64_t nFirst = 0;
  std::int64_t nAlong = 0;
  for (const TJBIG2Instance& instance : m_instances.GetSpan())
  {
    const TJBIG2Component& component = GetComponent(instance);
    const std::int64_t nAcross = component.m_nBottom - 1 - m_region.m_y;
    const std::int64_t nLeft = component.m_nLeft - m_region.m_x;
    if (nAcross >> form.m_nStripBits != nStrip)
    {
      if (nStrip >= 0)
        contexts.m_steps.EncodeNone(encoder);
      contexts.m_stripSteps.Encode(encoder,
                                   (nAcross >> form.m_nStripBits) - std::max<std::int64_t>(nStrip, 0));
      contexts.m_firstSteps.Encode(encoder, nLeft - nFirst);
      nStrip = nAcross >> form.m_nStripBits;
      nFirst = nLeft;
    }
    else
      contexts.m_steps.Encode(encoder, nLeft - nAlong);
    if (form.m_nStripBits > 0)
      contexts.m_places.Encode(encoder, nAcross - (nStrip << form.m_nStripBits));
    contexts.m_symbols.Encode(encoder, m_numbers[instance.m_nSymbol]);
    if (bRefines)
      contexts.m_refined.Encode(encoder, instance.m_nRefined >= 0 ? 1 : 0);
    if (instance.m_nRefined >= 0 && bRefined)
    {
      const CJBIG2Bitmap& symbol = *m_layout.GetSymbols()[instance.m_nSymbol];
      const int nWider = component.GetWidth() - symbol.GetWidth();
      const int nHigher = component.GetHeight() - symbol.GetHeight();
      contexts.m_widths.Encode(encoder, nWider);
      contexts.m_heights.Encode(encoder, nHigher);
      contexts.m_columns.Encode(encoder, instance.m_x - (nWider >> 1));
      contexts.m_rows.Encode(encoder, instance.m_y - (nHigher >> 1));
      refinement.Encode(encoder, *m_layout.GetRefined()[instance.m_nRefined],
                        {symbol, instance.m_x, instance.m_y});
    }
    nAlong = nLeft + component.GetWidth() - 1;
  }
  contexts.m_steps.EncodeNone(encoder);
  encoder.Flush();
  data.Put(encoder.GetBytes());
}

void CJBIG2TextEncoder::EncodeText(CJBIG2SegmentData& data)
{
  // The height of strips is chosen by the numbers alone.
  TForm form{0, 0};
  int nSmallest = 0;
  for (int i = 0; i <= g_nMaxStripBits; ++i)
  {
    CJBIG2SegmentData other;
    PutText({i, 0}, false, other);
    if (i == 0 || other.GetSize() < nSmallest)
    {
      form.m_nStripBits = i;
      nSmallest = other.GetSize();
    }
  }
  PutText(form, true, data);
  if (m_layout.GetRefined().IsEmpty())
    return;
  form.m_nRefinementTemplate = 1;
  CJBIG2SegmentData other;
  PutText(form, true, other);
  if (other.GetSize() < data.GetSize())
    data = std::move(other);
}

}  // namespace BSE
