#include "engine/SampleForm.h"

#include "base/BasicArray.h"
#include "images/ImageDictionary.h"
#include "pdf/ArrayObject.h"
#include "pdf/SimpleObjects.h"

#include <algorithm>
#include <cstring>

namespace PDF
{

namespace
{

constexpr int g_nMaxColors = 256;

// Colours of up to four bytes in the order in which they come, with a table of slots that is probed from a
// hash.
class CColorTable
{
public:
  explicit CColorTable(int nComponents) : m_nComponents(nComponents)
  {
    std::fill(std::begin(m_slots), std::end(m_slots), static_cast<short>(-1));
  }

  // The index of a colour; -1 for one too many.
  int Find(const unsigned char* pColor)
  {
    std::uint32_t nColor = 0;
    for (int i = 0; i < m_nComponents; ++i)
      nColor = nColor << 8 | pColor[i];
    std::size_t nSlot = (nColor * 2654435761U) >> 21;
    while (m_slots[nSlot] >= 0 && m_colors[m_slots[nSlot]] != nColor)
      nSlot = (nSlot + 1) % std::size(m_slots);
    if (m_slots[nSlot] < 0)
    {
      if (m_nCount == g_nMaxColors)
        return -1;
      m_slots[nSlot] = static_cast<short>(m_nCount);
      m_colors[m_nCount++] = nColor;
    }
    return m_slots[nSlot];
  }

  CObjectPtr MakeSpace(const CObjectPtr& base) const
  {
    BSE::CBasicArray<unsigned char> table;
    for (int i = 0; i < m_nCount; ++i)
      for (int k = m_nComponents - 1; k >= 0; --k)
        table.Add(static_cast<unsigned char>(m_colors[i] >> (8 * k)));
    CObjectPtr space(new CArrayObject);
    space.Add(new CNameObject("Indexed"));
    space.Add(base);
    space.Add(new CIntegerObject(m_nCount - 1));
    space.Add(new CStringObject(CString(table.GetData(), table.GetSize())));
    return space;
  }

private:
  int m_nComponents;
  int m_nCount = 0;
  std::uint32_t m_colors[g_nMaxColors] = {};
  short m_slots[2048];
};

// Readers do not agree on how the bytes of a table stand for components of other ranges than 0 to 1.
bool IsPlainProfile(const CObjectPtr& space)
{
  if (!space.IsArray() || !space[0].IsName("ICCBased"))
    return false;
  const CObjectPtr range = space[1]["Range"];
  for (int i = 0; i < range.GetSize(); ++i)
    if (!range[i].IsNumber() || range[i]->GetRealValue() != i % 2)
      return false;
  return true;
}

}  // namespace

bool TSampleForm::IsUsable() const
{
  constexpr int nMaxComponents = 32;
  const bool bDepth = m_nBits == 1 || m_nBits == 2 || m_nBits == 4 || m_nBits == 8 || m_nBits == 16;
  return m_nWidth > 0 && m_nHeight > 0 && bDepth && m_nComponents > 0 && m_nComponents <= nMaxComponents;
}

bool CSamples::Take(const TSampleForm& form, CByteBuffer& rows)
{
  const std::size_t nSize = form.GetRowSize() * static_cast<std::size_t>(form.m_nHeight);
  if (rows.GetSize() < nSize)
    return false;
  m_form = form;
  m_rows.Swap(rows);
  m_rows.SetSize(nSize);
  return true;
}

bool CSamples::Assign(const TSampleForm& form, std::span<const unsigned char> rows)
{
  const auto nHeight = static_cast<std::size_t>(form.m_nHeight);
  if (rows.size() / form.GetRowSize() < nHeight)
    return false;
  m_form = form;
  m_rows.Assign(rows.first(form.GetRowSize() * nHeight));
  return true;
}

bool CSamples::IsIndexed() const
{
  return IsIndexedSpace(m_form.m_space);
}

void CSamples::Replace(CByteBuffer& rows, int nComponents, int nBits)
{
  m_rows.Swap(rows);
  m_form.m_nComponents = nComponents;
  m_form.m_nBits = nBits;
}

bool CSamples::ReduceDepth()
{
  const std::span<const unsigned char> samples = m_rows.GetSpan();
  if (m_form.m_nBits != 16 || !m_form.m_space || IsIndexed())
    return false;
  for (std::size_t i = 0; i < samples.size(); i += 2)
    if (samples[i] != samples[i + 1])
      return false;
  CByteBuffer result;
  result.Provide(samples.size() / 2);
  for (std::size_t i = 0; i < samples.size() / 2; ++i)
    result.GetRoom()[i] = samples[2 * i];
  result.SetSize(samples.size() / 2);
  Replace(result, m_form.m_nComponents, 8);
  return true;
}

bool CSamples::ReduceToGray()
{
  const std::span<const unsigned char> samples = m_rows.GetSpan();
  if (m_form.m_nBits != 8 || m_form.m_nComponents != 3 || !m_form.m_space.IsName("DeviceRGB"))
    return false;
  for (std::size_t i = 0; i < samples.size(); i += 3)
    if (samples[i] != samples[i + 1] || samples[i] != samples[i + 2])
      return false;
  CByteBuffer result;
  result.Provide(samples.size() / 3);
  for (std::size_t i = 0; i < samples.size() / 3; ++i)
    result.GetRoom()[i] = samples[3 * i];
  result.SetSize(samples.size() / 3);
  Replace(result, 1, 8);
  m_form.m_space = new CNameObject("DeviceGray");
  return true;
}

bool CSamples::ReduceToTable()
{
  const bool bBase = m_form.m_space.IsName("DeviceRGB") || m_form.m_space.IsName("DeviceCMYK") ||
                     IsPlainProfile(m_form.m_space);
  if (m_form.m_nBits != 8 || m_form.m_nComponents < 3 || m_form.m_nComponents > 4 || !bBase)
    return false;
  CColorTable table(m_form.m_nComponents);
  const std::span<const unsigned char> samples = m_rows.GetSpan();
  const std::size_t nPixels = samples.size() / static_cast<std::size_t>(m_form.m_nComponents);
  CByteBuffer result;
  result.Provide(nPixels);
  for (std::size_t i = 0; i < nPixels; ++i)
  {
    const int nIndex = table.Find(samples.data() + i * static_cast<std::size_t>(m_form.m_nComponents));
    if (nIndex < 0)
      return false;
    result.GetRoom()[i] = static_cast<unsigned char>(nIndex);
  }
  result.SetSize(nPixels);
  m_form.m_space = table.MakeSpace(m_form.m_space);
  Replace(result, 1, 8);
  return true;
}

bool CSamples::Pack()
{
  if (m_form.m_nBits != 8 || m_form.m_nComponents != 1 ||
      (!IsIndexed() && !m_form.m_space.IsName("DeviceGray")))
    return false;
  const std::span<const unsigned char> samples = m_rows.GetSpan();
  // Gray of fewer bits stands for multiples of a step; indices for themselves.
  bool aFits[] = {true, true, true};
  for (const unsigned char nSample : samples)
    for (int i = 0; i < 3; ++i)
    {
      const int nMax = (1 << (1 << i)) - 1;
      aFits[i] = aFits[i] && (IsIndexed() ? nSample <= nMax : nSample % (255 / nMax) == 0);
    }
  const auto* pFit = std::find(std::begin(aFits), std::end(aFits), true);
  if (pFit == std::end(aFits))
    return false;
  const int nBits = 1 << (pFit - aFits);
  const int nStep = IsIndexed() ? 1 : 255 / ((1 << nBits) - 1);
  const auto nWidth = static_cast<std::size_t>(m_form.m_nWidth);
  const std::size_t nRowSize = (nWidth * static_cast<std::size_t>(nBits) + 7) / 8;
  CByteBuffer result;
  result.Provide(nRowSize * static_cast<std::size_t>(m_form.m_nHeight));
  result.SetSize(nRowSize * static_cast<std::size_t>(m_form.m_nHeight));
  std::memset(result.GetRoom().data(), 0, result.GetSize());
  for (std::size_t i = 0; i < samples.size(); ++i)
  {
    const std::size_t nBit = i % nWidth * static_cast<std::size_t>(nBits);
    const int nShift = 8 - nBits - static_cast<int>(nBit % 8);
    result.GetRoom()[i / nWidth * nRowSize + nBit / 8] |=
        static_cast<unsigned char>(samples[i] / nStep << nShift);
  }
  Replace(result, 1, nBits);
  return true;
}

}  // namespace PDF
