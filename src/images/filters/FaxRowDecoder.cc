#include "images/filters/FaxRowDecoder.h"

#include "images/filters/FaxCodes.h"

#include <algorithm>

namespace BSE
{

namespace
{

TFaxColor GetOther(TFaxColor color)
{
  return color == eFaxWhite ? eFaxBlack : eFaxWhite;
}

// Writes one row from left to right.
class CRowDecoder
{
public:
  CRowDecoder(CFaxBitReader& reader, CFaxRow& row)
      : m_reader(reader), m_row(row), m_nColumns(row.GetColumns())
  {
    m_row.Start(m_nColumns);
  }

  TFaxRowStatus Decode()
  {
    while (m_status == eFaxRowDone && m_nPos < m_nColumns)
      DecodeRun();
    m_row.Finish();
    return m_status;
  }

  TFaxRowStatus Decode2D(const CFaxRow& above);

private:
  // A run of the current colour, up to where it changes.
  void DecodeRun();
  void EndRun(int nPos);
  void DecodeVertical(int nPos);

  CFaxBitReader& m_reader;
  CFaxRow& m_row;
  int m_nColumns;
  int m_nPos = 0;  // what is left of it is decoded
  TFaxColor m_color = eFaxWhite;
  TFaxRowStatus m_status = eFaxRowDone;
};

void CRowDecoder::EndRun(int nPos)
{
  m_nPos = nPos;
  if (nPos < m_nColumns)
    m_row.AddChange(nPos);
  m_color = GetOther(m_color);
}

void CRowDecoder::DecodeRun()
{
  const TFaxEntry* const pTable = GetFaxRunTable(m_color);
  const int nRoom = m_nColumns - m_nPos;
  int nRun = 0;
  int nValue = 0;
  do
  {
    const TFaxEntry nEntry = pTable[m_reader.Peek(g_nFaxRunBits)];
    const int nLength = GetFaxLength(nEntry);
    nValue = GetFaxValue(nEntry);
    if (nLength == 0 || nValue == g_nFaxExtension)
    {
      m_status = nLength == 0 ? eFaxRowInvalid : eFaxRowExtended;
      return;
    }
    m_reader.Take(nLength);
    // Cut here, so that any number of make-up codes keeps within the type.
    if (nValue > nRoom - nRun)
    {
      m_status = eFaxRowTooLong;
      nRun = nRoom;
    }
    else
      nRun += nValue;
  } while (nValue >= g_nFaxFirstMakeUp && m_reader.Has(1));
  EndRun(m_nPos + nRun);
}

void CRowDecoder::DecodeVertical(int nPos)
{
  if (nPos < m_nPos)
    m_status = eFaxRowInvalid;
  else
  {
    if (nPos > m_nColumns)
      m_status = eFaxRowTooLong;
    EndRun(std::min(nPos, m_nColumns));
  }
}

TFaxRowStatus CRowDecoder::Decode2D(const CFaxRow& above)
{
  const TFaxEntry* const pModes = GetFaxModeTable();
  const int* const pAbove = above.GetPositions();
  int i = 0;
  // The place before the row counts as white, so that a change at 0 lies to the right of it.
  int nLeft = -1;
  while (m_status == eFaxRowDone && m_nPos < m_nColumns)
  {
    // The first change to the right and the one after it, b1 and b2; a step to the left may have passed it.
    while (i > 0 && pAbove[i - 1] > nLeft)
      --i;
    while (pAbove[i] <= nLeft)
      ++i;
    const int* const pChange = pAbove + i + ((i & 1) != static_cast<int>(m_color) ? 1 : 0);

    const TFaxEntry nEntry = pModes[m_reader.Peek(g_nFaxModeBits)];
    const int nMode = GetFaxValue(nEntry);
    if (GetFaxLength(nEntry) == 0 || nMode == g_nFaxExtension)
    {
      m_status = nMode == g_nFaxExtension ? eFaxRowExtended : eFaxRowInvalid;
      break;
    }
    m_reader.Take(GetFaxLength(nEntry));
    if (nMode == eFaxPass)
      m_nPos = pChange[1];
    else if (nMode != eFaxHorizontal)
      DecodeVertical(pChange[0] + nMode - eFaxVertical);
    else
    {
      // The second run has its code even where the first one was cut.
      DecodeRun();
      if (m_status == eFaxRowDone || m_status == eFaxRowTooLong)
        DecodeRun();
    }
    nLeft = m_nPos;
  }
  m_row.Finish();
  return m_status;
}

}  // namespace

TFaxRowStatus DecodeFaxRow(CFaxBitReader& reader, CFaxRow& row)
{
  return CRowDecoder(reader, row).Decode();
}

TFaxRowStatus DecodeFaxRow2D(CFaxBitReader& reader, const CFaxRow& above, CFaxRow& row)
{
  return CRowDecoder(reader, row).Decode2D(above);
}

}  // namespace BSE
