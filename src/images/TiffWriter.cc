// Strips are written as their rows come, and the directory after them, when their places are known; the
// header is then told where it is. Memory is that of one strip's encoder and of the two lists of places and
// lengths.

#include "images/TiffWriter.h"

#include "base/ObjectPtr.h"
#include "images/filters/FlateEncodeFilter.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace PDF
{

namespace
{

// Samples in a strip: enough for Flate, little for a reader.
constexpr std::int64_t g_nStripSize = std::int64_t{1} << 18;

// Of zlib: such files are not kept for long, and speed is all.
constexpr int g_nFlateLevel = 1;

constexpr std::int64_t g_nMaxFileSize = std::numeric_limits<std::uint32_t>::max();

// Resolutions that make sense, so that they fit a fraction.
constexpr double g_dMaxResolution = 1e6;

enum TType : std::uint16_t
{
  eShort = 3,
  eLong = 4,
  eRational = 5,
  eUndefined = 7
};

void Append(BSE::CBasicArray<unsigned char>& bytes, std::uint32_t nValue, int nBytes)
{
  for (int nShift = 8 * (nBytes - 1); nShift >= 0; nShift -= 8)
    bytes.Add(static_cast<unsigned char>(nValue >> nShift));
}

}  // namespace

// The directory is written as a whole: its entries, and after them the values that do not fit an entry.
class CTiffWriter::CDirectory
{
public:
  CDirectory(std::uint32_t nOffset, int nEntries)
      : m_nValues(nOffset + 2 + 12 * static_cast<std::uint32_t>(nEntries) + 4)
  {
    Append(m_entries, static_cast<std::uint32_t>(nEntries), 2);
  }

  // In the order of tags.
  void AddLong(int nTag, std::uint32_t nValue) { Add(nTag, eLong, 1, {&nValue, 1}, 4); }
  void AddShort(int nTag, std::uint32_t nValue) { Add(nTag, eShort, 1, {&nValue, 1}, 2); }
  void AddShorts(int nTag, std::uint32_t nValue, int nCount)
  {
    const std::uint32_t values[] = {nValue, nValue, nValue, nValue};
    Add(nTag, eShort, static_cast<std::uint32_t>(nCount),
        std::span(values).first(static_cast<std::size_t>(nCount)), 2);
  }
  void AddLongs(int nTag, std::span<const std::uint32_t> values)
  {
    Add(nTag, eLong, static_cast<std::uint32_t>(values.size()), values, 4);
  }
  void AddFractions(int nTag, std::span<const double> values)
  {
    BSE::CBasicArray<std::uint32_t> parts;
    for (const double d : values)
    {
      // A numerator is 10^9 at most, so that it fits 32 bits.
      const std::uint32_t nFraction = d < 1000 ? 1000000 : 1000;
      parts.Add(static_cast<std::uint32_t>(std::lround(d * nFraction)));
      parts.Add(nFraction);
    }
    Add(nTag, eRational, static_cast<std::uint32_t>(values.size()), parts.GetSpan(), 4);
  }
  void AddPalette(std::span<const std::uint16_t> values)
  {
    BSE::CBasicArray<std::uint32_t> wide;
    for (const std::uint16_t n : values)
      wide.Add(n);
    Add(320, eShort, static_cast<std::uint32_t>(values.size()), wide.GetSpan(), 2);
  }
  void AddBytes(int nTag, std::span<const unsigned char> bytes)
  {
    BSE::CBasicArray<std::uint32_t> wide;
    for (const unsigned char n : bytes)
      wide.Add(n);
    Add(nTag, eUndefined, static_cast<std::uint32_t>(bytes.size()), wide.GetSpan(), 1);
  }

  bool Write(BSE::IByteStream& sink)
  {
    Append(m_entries, 0, 4);  // no further directory
    return sink.WriteAll(m_entries.GetData(), m_entries.GetSize()) &&
           sink.WriteAll(m_values.GetData(), m_values.GetSize());
  }

private:
  void Add(int nTag, TType nType, std::uint32_t nCount, std::span<const std::uint32_t> values, int nBytes)
  {
    Append(m_entries, static_cast<std::uint32_t>(nTag), 2);
    Append(m_entries, nType, 2);
    Append(m_entries, nCount, 4);
    const int nStart = m_entries.GetSize();
    const bool bInside = static_cast<int>(values.size()) * nBytes <= 4;
    if (!bInside)
      Append(m_entries, m_nValues + static_cast<std::uint32_t>(m_values.GetSize()), 4);
    for (const std::uint32_t n : values)
      Append(bInside ? m_entries : m_values, n, nBytes);
    while (bInside && m_entries.GetSize() < nStart + 4)
      m_entries.Add(0);
    if (m_values.GetSize() % 2 != 0)
      m_values.Add(0);
  }

  BSE::CBasicArray<unsigned char> m_entries;
  BSE::CBasicArray<unsigned char> m_values;
  std::uint32_t m_nValues;  // where they will be
};

std::int64_t CTiffWriter::GetRowSize() const
{
  return (std::int64_t{m_form.m_nWidth} * m_form.m_nComponents * m_form.m_nBits + 7) / 8;
}

bool CTiffWriter::Begin(const TTiffForm& form)
{
  m_form = form;
  m_nStripRows = static_cast<int>(std::max<std::int64_t>(g_nStripSize / GetRowSize(), 1));
  // The place of the directory follows.
  constexpr unsigned char aHeader[] = {'M', 'M', 0, 42, 0, 0, 0, 0};
  return m_sink.IsSeekable() && m_sink.WriteAll(aHeader, sizeof aHeader);
}

bool CTiffWriter::AddStrip(std::span<const unsigned char> rows)
{
  const std::int64_t nOffset = m_sink.Tell();
  const auto nSize = static_cast<std::int64_t>(rows.size());
  const BSE::CObjectPtr<BSE::CFlateEncodeFilter> pEncoder(
      new BSE::CFlateEncodeFilter(&m_sink, nullptr, g_nFlateLevel));
  if (pEncoder->Write(rows.data(), nSize) != nSize || !pEncoder->Close(false))
    return false;
  const std::int64_t nLength = m_sink.Tell() - nOffset;
  if (nOffset <= 0 || nLength <= 0 || nOffset + nLength > g_nMaxFileSize)
    return false;
  m_offsets.Add(static_cast<std::uint32_t>(nOffset));
  m_lengths.Add(static_cast<std::uint32_t>(nLength));
  m_nRows += static_cast<int>(nSize / GetRowSize());
  return true;
}

void CTiffWriter::FillDirectory(CDirectory& directory) const
{
  const auto getResolution = [](double d) { return d >= 0.001 && d <= g_dMaxResolution ? d : 0; };
  const double aResolution[] = {getResolution(m_form.m_dResolutionX), getResolution(m_form.m_dResolutionY)};
  const bool bResolution = aResolution[0] > 0 && aResolution[1] > 0;
  const double aNone[] = {1, 1};
  const std::span<const double> resolution = bResolution ? aResolution : aNone;
  // The tags of TIFF 6.0 in ascending order: width, height, bits, compression, colours, places of strips,
  // components, rows of a strip, lengths of strips, resolutions, arrangement, unit; then white point, palette
  // and ink set, and the tag of ICC.1 for profiles.
  directory.AddLong(256, static_cast<std::uint32_t>(m_form.m_nWidth));
  directory.AddLong(257, static_cast<std::uint32_t>(m_nRows));
  directory.AddShorts(258, static_cast<std::uint32_t>(m_form.m_nBits), m_form.m_nComponents);
  directory.AddShort(259, 8);
  directory.AddShort(262, m_form.m_color);
  directory.AddLongs(273, m_offsets.GetSpan());
  directory.AddShort(277, static_cast<std::uint32_t>(m_form.m_nComponents));
  directory.AddLong(278, static_cast<std::uint32_t>(std::min(m_nStripRows, m_nRows)));
  directory.AddLongs(279, m_lengths.GetSpan());
  directory.AddFractions(282, resolution.first(1));
  directory.AddFractions(283, resolution.last(1));
  directory.AddShort(284, 1);
  directory.AddShort(296, bResolution ? 2 : 1);
  const double aWhite[] = {m_form.m_dWhiteX, m_form.m_dWhiteY};
  if (m_form.m_dWhiteX > 0)
    directory.AddFractions(318, aWhite);
  if (!m_form.m_palette.IsEmpty())
    directory.AddPalette(m_form.m_palette.GetSpan());
  if (m_form.m_color == eTiffInks)
    directory.AddShort(332, 1);
  if (!m_form.m_profile.IsEmpty())
    directory.AddBytes(34675, m_form.m_profile.GetSpan());
}

bool CTiffWriter::Finish()
{
  if (m_nRows == 0)
    return false;
  constexpr int nAlways = 13;
  const int nEntries = nAlways + (m_form.m_dWhiteX > 0) + !m_form.m_palette.IsEmpty() +
                       (m_form.m_color == eTiffInks) + !m_form.m_profile.IsEmpty();
  constexpr unsigned char nPad = 0;
  if (m_sink.Tell() % 2 != 0 && !m_sink.WriteAll(&nPad, 1))
    return false;
  const std::int64_t nOffset = m_sink.Tell();
  // The directory with its values: 8 bytes for each strip, the profile, and the palette and the rest in 4096.
  const std::int64_t nRest = 8 * std::int64_t{m_offsets.GetSize()} + m_form.m_profile.GetSize() + 4096;
  if (nOffset <= 0 || nOffset + nRest > g_nMaxFileSize)
    return false;
  CDirectory directory(static_cast<std::uint32_t>(nOffset), nEntries);
  FillDirectory(directory);
  BSE::CBasicArray<unsigned char> place;
  Append(place, static_cast<std::uint32_t>(nOffset), 4);
  return directory.Write(m_sink) && m_sink.Seek(4) && m_sink.WriteAll(place.GetData(), place.GetSize());
}

}  // namespace PDF
