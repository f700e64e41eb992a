#pragma once

#include "base/BasicArray.h"
#include "images/filters/jbig2/JBIG2Bitmap.h"

#include <cstdint>

namespace BSE
{

// Black pixels that are connected, also by their corners: where they are, and their runs in the list of
// those.
struct TJBIG2Component
{
  int GetWidth() const { return m_nRight - m_nLeft; }
  int GetHeight() const { return m_nBottom - m_nTop; }

  int m_nLeft;
  int m_nTop;
  int m_nRight;  // after the last pixels
  int m_nBottom;
  int m_nFirstRun;
  int m_nRuns;
};

// The components of a page, in the order of their first pixels from the top.
class CJBIG2Components
{
public:
  // False for a page of more runs than nMaxRuns; there is nothing in the list then.
  bool Find(const CJBIG2Bitmap& page, int nMaxRuns);

  int GetCount() const { return m_components.GetSize(); }
  const TJBIG2Component& Get(int i) const { return m_components.GetData()[i]; }
  int GetRunCount() const { return m_runs.GetSize(); }

  // A component as a bitmap of its size.
  CJBIG2BitmapPtr Extract(CJBIG2Run& run, int i) const;

private:
  struct TRun
  {
    int m_y;
    int m_nLeft;
    int m_nRight;
    int m_nParent;  // another run of the same component, an earlier one, or itself
  };

  bool AddRuns(const CJBIG2Bitmap& page, int y, int nMaxRuns);

  // Joins the runs of a row with those of the row above.
  void JoinRows(int nAbove, int nRow);
  void Join(int nRun, int nOther);
  int FindFirst(int nRun);

  // Makes the list of components, with the runs in its order.
  void Collect();

  CBasicArray<TRun> m_runs;
  CBasicArray<TJBIG2Component> m_components;
};

}  // namespace BSE
