#include "images/filters/FaxRowEncoder.h"

#include <algorithm>
#include <cstdlib>

namespace BSE
{

namespace
{

void PutRun(CFaxBitWriter& writer, TFaxColor color, int nRun)
{
  for (; nRun >= g_nFaxMaxMakeUp + g_nFaxFirstMakeUp; nRun -= g_nFaxMaxMakeUp)
    writer.Put(GetFaxMakeUp(color, g_nFaxMaxMakeUp));
  if (nRun >= g_nFaxFirstMakeUp)
  {
    const int nMakeUp = std::min(nRun - nRun % g_nFaxFirstMakeUp, g_nFaxMaxMakeUp);
    writer.Put(GetFaxMakeUp(color, nMakeUp));
    nRun -= nMakeUp;
  }
  writer.Put(GetFaxTerminating(color, nRun));
}

TFaxColor GetColorAt(int nChange)
{
  return (nChange & 1) == 0 ? eFaxWhite : eFaxBlack;
}

}  // namespace

void EncodeFaxRow(CFaxBitWriter& writer, const CFaxRow& row)
{
  const int* const pPositions = row.GetPositions();
  int nPos = 0;
  for (int i = 0; nPos < row.GetColumns(); ++i)
  {
    PutRun(writer, GetColorAt(i), pPositions[i] - nPos);
    nPos = pPositions[i];
  }
}

void EncodeFaxRow2D(CFaxBitWriter& writer, const CFaxRow& above, const CFaxRow& row)
{
  const int nColumns = row.GetColumns();
  const int* const pAbove = above.GetPositions();
  // The next change of the row, a1, with the colour that it ends, and a place in the row above.
  const int* pChange = row.GetPositions();
  int nChange = 0;
  int i = 0;
  int nPos = -1;
  while (nPos < nColumns)
  {
    while (i > 0 && pAbove[i - 1] > nPos)
      --i;
    while (pAbove[i] <= nPos)
      ++i;
    const int* const pB1 = pAbove + i + ((i ^ nChange) & 1);
    const int nA1 = pChange[nChange];
    if (pB1[1] < nA1)
    {
      writer.Put(GetFaxMode(eFaxPass));
      nPos = pB1[1];
    }
    else if (std::abs(nA1 - pB1[0]) <= g_nFaxMaxVertical)
    {
      writer.Put(GetFaxMode(eFaxVertical + nA1 - pB1[0]));
      nPos = nA1;
      ++nChange;
    }
    else
    {
      const TFaxColor color = GetColorAt(nChange);
      writer.Put(GetFaxMode(eFaxHorizontal));
      PutRun(writer, color, nA1 - std::max(nPos, 0));
      PutRun(writer, color == eFaxWhite ? eFaxBlack : eFaxWhite, pChange[nChange + 1] - nA1);
      nPos = pChange[nChange + 1];
      nChange += 2;
    }
  }
}

}  // namespace BSE
