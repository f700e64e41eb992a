#include "images/filters/jbig2/JBIG2Encoder.h"

#include "images/filters/jbig2/JBIG2GenericEncoder.h"

#include <cstring>

namespace BSE
{

namespace
{

// Below this count of pixels the smaller templates may learn faster.
constexpr std::int64_t g_nSmallPixels = 1 << 18;

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
  for (int i = 0; i < form.GetMovableCount(); ++i)
  {
    data.Put8(static_cast<unsigned>(form.GetDefault(i).m_x) & 0xFF);
    data.Put8(static_cast<unsigned>(form.GetDefault(i).m_y) & 0xFF);
  }
  CJBIG2ArithmeticEncoder encoder;
  CJBIG2GenericEncoder(form).Encode(encoder, bitmap);
  encoder.Flush();
  data.Put(encoder.GetBytes());
}

}  // namespace

void EncodeJBIG2Region(const CJBIG2Bitmap& bitmap, int x, int y, CJBIG2SegmentData& data)
{
  data.PutRegion({bitmap.GetWidth(), bitmap.GetHeight(), x, y, eJBIG2Or});
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
  data.Put(best.GetBytes());
}

CJBIG2Encoder::CJBIG2Encoder(const CJBIG2Bitmap& page, std::uint32_t nResolutionX, std::uint32_t nResolutionY)
    : m_page(page), m_nResolutionX(nResolutionX), m_nResolutionY(nResolutionY)
{
}

void CJBIG2Encoder::AddPage()
{
  constexpr unsigned nLossless = 1;
  CJBIG2SegmentData data;
  data.Put32(static_cast<std::uint32_t>(m_page.GetWidth()));
  data.Put32(static_cast<std::uint32_t>(m_page.GetHeight()));
  data.Put32(m_nResolutionX);
  data.Put32(m_nResolutionY);
  data.Put8(nLossless);
  data.Put16(0);
  m_writer.Add(eJBIG2PageInformation, data);
}

std::span<const unsigned char> CJBIG2Encoder::Encode()
{
  AddPage();
  CJBIG2SegmentData generic;
  EncodeJBIG2Region(m_page, 0, 0, generic);
  m_writer.Add(eJBIG2ImmediateGeneric, generic);
  return m_writer.GetBytes();
}

}  // namespace BSE
