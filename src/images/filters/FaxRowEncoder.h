#pragma once

#include "base/BufferedOutputStream.h"
#include "images/filters/FaxCodes.h"
#include "images/filters/FaxRow.h"

#include <cstdint>

namespace BSE
{

// Writes fax codes, high bit first. A failure stays with the output.
class CFaxBitWriter
{
public:
  // Borrows the output.
  explicit CFaxBitWriter(CBufferedOutputStream& output) : m_output(output) {}

  void Put(unsigned nBits, int nLength)
  {
    m_nWindow = m_nWindow << nLength | nBits;
    m_nCount += nLength;
    while (m_nCount >= 8)
    {
      m_nCount -= 8;
      m_output.PutByte(static_cast<unsigned char>(m_nWindow >> m_nCount));
    }
  }
  void Put(const TFaxCode& code) { Put(code.m_nBits, code.m_nLength); }

  // Pads with zeros up to nBits, 0 to 7, after a byte boundary.
  void AlignTo(int nBits) { Put(0, (nBits - m_nCount) & 7); }

private:
  CBufferedOutputStream& m_output;
  std::uint64_t m_nWindow = 0;
  int m_nCount = 0;  // bits of the window that wait for a whole byte
};

// Code one row by ITU-T T.4 or, in two dimensions, by T.6 with the row above, which is as wide.
void EncodeFaxRow(CFaxBitWriter& writer, const CFaxRow& row);
void EncodeFaxRow2D(CFaxBitWriter& writer, const CFaxRow& above, const CFaxRow& row);

}  // namespace BSE
