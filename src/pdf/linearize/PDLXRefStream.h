#pragma once

#include "pdf/linearize/PDDeflater.h"
#include "pdf/linearize/PDWriter.h"

// The rows of a cross-reference stream (ISO 32000-1, 7.5.8), and the stream's text.
class PDLXRefStream
{
public:
  void AddFree() { m_rows.Add({0, 0, 0}); }
  void AddPosition(std::int64_t nPos) { m_rows.Add({1, nPos, 0}); }
  void AddMember(int nStream, int nIndex) { m_rows.Add({2, nStream, nIndex}); }

  int GetCount() const { return m_rows.GetSize(); }

  // The indirect object, with the entries in its dictionary. Without a deflater its length depends on the
  // widths of the fields alone.
  void Write(int nNumber, std::span<const unsigned char> entries, PDDeflater* pDeflater,
             PDWriter& output) const;

private:
  struct TRow
  {
    int m_nType;
    std::int64_t m_nValue;
    int m_nIndex;
  };

  static int GetWidth(std::int64_t nValue);

  // Each row as the difference to the one above, which makes it short to deflate.
  static void Predict(std::span<const unsigned char> rows, std::size_t nRow,
                      BSE::CBasicArray<unsigned char>& predicted);

  BSE::CBasicArray<TRow> m_rows;
};
