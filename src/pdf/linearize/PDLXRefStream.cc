#include "pdf/linearize/PDLXRefStream.h"

#include <algorithm>
#include <bit>

namespace
{

// The PNG filter that takes the differences.
constexpr unsigned char g_nFilterUp = 2;
constexpr int g_nPredictor = 12;

// Up to here the entries that tell of filters take more than these save.
constexpr int g_nMaxPlain = 100;

}  // namespace

int PDLXRefStream::GetWidth(std::int64_t nValue)
{
  return std::max(1, (static_cast<int>(std::bit_width(static_cast<std::uint64_t>(nValue))) + 7) / 8);
}

void PDLXRefStream::Predict(std::span<const unsigned char> rows, std::size_t nRow,
                            BSE::CBasicArray<unsigned char>& predicted)
{
  for (std::size_t i = 0; i < rows.size(); ++i)
  {
    if (i % nRow == 0)
      predicted.Add(g_nFilterUp);
    predicted.Add(static_cast<unsigned char>(rows[i] - (i < nRow ? 0 : rows[i - nRow])));
  }
}

void PDLXRefStream::Write(int nNumber, std::span<const unsigned char> entries, PDDeflater* pDeflater,
                          PDWriter& output) const
{
  int widths[3] = {1, 1, 1};
  for (const TRow& row : m_rows.GetSpan())
  {
    widths[1] = std::max(widths[1], GetWidth(row.m_nValue));
    widths[2] = std::max(widths[2], GetWidth(row.m_nIndex));
  }
  BSE::CBasicArray<unsigned char> data;
  for (const TRow& row : m_rows.GetSpan())
  {
    const std::int64_t fields[3] = {row.m_nType, row.m_nValue, row.m_nIndex};
    for (std::size_t i = 0; i < 3; ++i)
    {
      for (int n = widths[i]; n-- > 0;)
        data.Add(static_cast<unsigned char>(fields[i] >> (8 * n)));
    }
  }
  const int nRow = widths[0] + widths[1] + widths[2];
  BSE::CBasicArray<unsigned char> predicted;
  BSE::CBasicArray<unsigned char> deflated;
  const bool bDeflate = pDeflater && data.GetSize() > g_nMaxPlain;
  if (bDeflate)
    Predict(data.GetSpan(), static_cast<std::size_t>(nRow), predicted);
  const bool bDeflated = bDeflate && pDeflater->Deflate(predicted.GetSpan(), deflated);
  output.PutNumber(nNumber);
  output.Put(" 0 obj\n<</Type/XRef/W[1 ");
  output.PutNumber(widths[1]);
  output.PutByte(' ');
  output.PutNumber(widths[2]);
  output.Put("]");
  output.Put(entries);
  if (bDeflated)
  {
    output.Put("/Filter/FlateDecode/DecodeParms<</Predictor ");
    output.PutNumber(g_nPredictor);
    output.Put("/Columns ");
    output.PutNumber(nRow);
    output.Put(">>");
  }
  output.Put("/Length ");
  output.PutNumber(bDeflated ? deflated.GetSize() : data.GetSize());
  output.Put(">>\nstream\n");
  output.Put(bDeflated ? deflated.GetSpan() : data.GetSpan());
  output.Put("\nendstream\nendobj\n");
}
