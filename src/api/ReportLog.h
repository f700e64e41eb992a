#pragma once

#include "base/BasicArray.h"
#include "base/BasicMap.h"
#include "base/BasicString.h"
#include "base/Error.h"
#include "brevex/brevex.h"

namespace API
{

// The reports of the last open and the last save or listing, in the order in which they were met: equal ones
// are one entry with a count, and a consequence takes the place of the remark that it follows from. Bounded,
// so that a file with a million faults costs no more than one with a thousand, and remarks never take the
// room of losses. Losses are counted without a bound.
class CReportLog
{
public:
  CReportLog() = default;
  CReportLog(const CReportLog&) = delete;
  CReportLog& operator=(const CReportLog&) = delete;
  ~CReportLog() { RemoveAll(); }

  // From here on reports belong to an open, after all former ones are gone; to a save or a listing, after
  // those of the former one are gone; or to nothing that is kept.
  void BeginOpen();
  void BeginSave() { BeginUse(BREVEX_STEP_SAVE); }
  void BeginList() { BeginUse(BREVEX_STEP_LIST); }
  void End() { m_nStep = 0; }

  // Enters an error with the text of its properties. Where memory is exhausted a loss is still counted.
  void Note(BSE::IError& error) noexcept;

  // Enters a code without an error object, as the end of the operation.
  void NoteEnd(unsigned nCode) noexcept;

  int GetCount() const { return m_entries.GetSize(); }

  // False for an index out of range, and for a record without room for its size.
  bool GetReport(int nIndex, TBrevexReport& report) const;

  // Borrowed; null for an index out of range, and for a report without a text.
  const char16_t* GetText(int nIndex) const;

  std::uint64_t GetLossCount() const { return m_nOpenLosses + m_nUseLosses; }

private:
  struct TEntry
  {
    TBrevexReport m_report;
    BSE::CStr16 m_text;
  };

  void Enter(const TBrevexReport& report, BSE::IError* pError);

  // Drops the remark of this code, object and page, since it has turned out what it meant; its text is kept.
  void TakeRemark(TBrevexReport remark, BSE::CStr16& text);
  bool HasRoom(int nConsequence) const;
  void BeginUse(int nStep);
  void DropUse();
  void RemoveAll();

  BSE::CPtrArray<TEntry> m_entries;
  BSE::CBasicMap m_index;  // bytes of the report, its count left out, to its entry
  int m_nStep = 0;         // TBrevexStep, 0 for none
  int m_nRemarks = 0;      // entries without a consequence
  std::uint64_t m_nOpenLosses = 0;
  std::uint64_t m_nUseLosses = 0;
};

}  // namespace API
