// An entry is found by the bytes of its record with the count at 0, so that equal reports meet in constant
// time: records are cleared before they are filled, and only the entry counts. One fault is often reported
// twice, as a remark where it is met and as a loss, or as the end, where it shows what it means. The later
// report takes the place of the remark, also of one without a page, and with it its text and its room. A full
// log still counts losses and repetitions. No exception leaves the log, since reports also come while memory
// is short.

#include "api/ReportLog.h"

#include "base/ErrorProperty.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <limits>

namespace API
{

namespace
{

constexpr int g_nMessageUnits = 512;
constexpr int g_nMaxEntries = 1000;
constexpr int g_nMaxRemarks = 500;

int GetNumber(BSE::IError& error, const char* szName)
{
  const BSE::CErrorProperties* pProperties = error.GetProperties();
  const BSE::CErrorProperty* pValue = pProperties ? pProperties->Find(szName) : nullptr;
  const long long nValue = pValue ? pValue->GetValue() : 0;
  return nValue > 0 && nValue <= std::numeric_limits<int>::max() ? static_cast<int>(nValue) : 0;
}

int ToConsequence(BSE::TConsequence consequence)
{
  switch (consequence)
  {
  case BSE::eContentLost:
    return BREVEX_CONSEQUENCE_LOSS;
  case BSE::eOperationEnded:
    return BREVEX_CONSEQUENCE_END;
  default:
    return BREVEX_CONSEQUENCE_NONE;
  }
}

TBrevexReport MakeReport(unsigned nCode, int nStep, int nConsequence)
{
  TBrevexReport report = {};
  report.nSize = sizeof report;
  report.nCode = nCode;
  report.nStep = nStep;
  report.nSeverity = BSE::IsErrnoCode(nCode) ? BREVEX_SEVERITY_ERROR : BSE::GetCodeSeverity(nCode);
  report.nConsequence = nConsequence;
  return report;
}

bool HasPlaceholder(const char16_t* szText)
{
  while (*szText != 0 && *szText != u'%')
    ++szText;
  return *szText != 0;
}

}  // namespace

void CReportLog::BeginOpen()
{
  RemoveAll();
  m_nOpenLosses = m_nUseLosses = 0;
  m_nStep = BREVEX_STEP_OPEN;
}

void CReportLog::BeginUse(int nStep)
{
  DropUse();
  m_nUseLosses = 0;
  m_nStep = nStep;
}

void CReportLog::RemoveAll()
{
  for (TEntry* pEntry : m_entries.GetSpan())
    delete pEntry;
  m_entries.RemoveAll();
  m_index.RemoveAll();
  m_nRemarks = 0;
}

void CReportLog::DropUse()
{
  int nKept = 0;
  for (TEntry* pEntry : m_entries.GetSpan())
  {
    if (pEntry->m_report.nStep == BREVEX_STEP_OPEN)
    {
      m_entries.GetSpan()[static_cast<std::size_t>(nKept++)] = pEntry;
      continue;
    }
    TBrevexReport key = pEntry->m_report;
    key.nCount = 0;
    m_index.RemoveKey(&key, sizeof key);
    m_nRemarks -= pEntry->m_report.nConsequence == BREVEX_CONSEQUENCE_NONE ? 1 : 0;
    delete pEntry;
  }
  m_entries.Truncate(nKept);
}

void CReportLog::Note(BSE::IError& error) noexcept
{
  if (m_nStep == 0)
    return;
  if (error.GetConsequence() == BSE::eContentLost)
    ++(m_nStep == BREVEX_STEP_OPEN ? m_nOpenLosses : m_nUseLosses);
  try
  {
    TBrevexReport report = MakeReport(error.GetCode(), m_nStep, ToConsequence(error.GetConsequence()));
    report.nSeverity = error.GetSeverity();
    report.nObject = GetNumber(error, "Object No.");
    report.nPage = GetNumber(error, "Page No.");
    Enter(report, &error);
  }
  catch (...)
  {
    // Nothing is left to keep the entry in; the loss has been counted.
  }
}

void CReportLog::NoteEnd(unsigned nCode) noexcept
{
  if (m_nStep == 0)
    return;
  try
  {
    TBrevexReport report = MakeReport(nCode, m_nStep, BREVEX_CONSEQUENCE_END);
    // Whoever reported the failure did not know that it would be the end; object and page are the same.
    for (int i = m_entries.GetSize() - 1; i >= 0 && m_entries[i]->m_report.nStep == m_nStep; --i)
      if (const TBrevexReport& known = m_entries[i]->m_report; known.nCode == nCode)
      {
        report.nObject = known.nObject;
        report.nPage = known.nPage;
        break;
      }
    Enter(report, nullptr);
  }
  catch (...)
  {
    // The handle has the code.
  }
}

bool CReportLog::HasRoom(int nConsequence) const
{
  return m_entries.GetSize() < g_nMaxEntries &&
         (nConsequence != BREVEX_CONSEQUENCE_NONE || m_nRemarks < g_nMaxRemarks);
}

void CReportLog::TakeRemark(TBrevexReport remark, BSE::CStr16& text)
{
  remark.nConsequence = BREVEX_CONSEQUENCE_NONE;
  const int nKnown = m_index.Lookup(&remark, sizeof remark);
  if (nKnown < 0)
    return;
  const BSE::CScopedPtr<TEntry> pEntry(static_cast<TEntry*>(m_index.GetValue(nKnown)));
  m_entries.RemoveAt(m_entries.Find(pEntry.Get()));
  m_index.RemoveKey(&remark, sizeof remark);
  --m_nRemarks;
  text = std::move(pEntry->m_text);
}

void CReportLog::Enter(const TBrevexReport& report, BSE::IError* pError)
{
  BSE::CStr16 text;
  if (report.nConsequence != BREVEX_CONSEQUENCE_NONE)
  {
    TBrevexReport remark = report;
    TakeRemark(remark, text);
    remark.nPage = 0;
    TakeRemark(remark, text);
  }
  if (const int nKnown = m_index.Lookup(&report, sizeof report); nKnown >= 0)
  {
    std::uint32_t& nCount = static_cast<TEntry*>(m_index.GetValue(nKnown))->m_report.nCount;
    nCount += nCount < std::numeric_limits<std::uint32_t>::max() ? 1 : 0;
    return;
  }
  if (!HasRoom(report.nConsequence))
    return;
  BSE::CScopedPtr<TEntry> pEntry(new TEntry);
  pEntry->m_report = report;
  pEntry->m_report.nCount = 1;
  char16_t szText[g_nMessageUnits];
  const int nUnits = pError ? pError->GetMessage(szText, g_nMessageUnits)
                            : BSE::GetErrorMessage(report.nCode, szText, g_nMessageUnits);
  if (nUnits > 0 && !HasPlaceholder(szText))
    text.Assign(szText);
  pEntry->m_text = std::move(text);
  m_entries.Reserve(m_entries.GetSize() + 1);
  m_index.SetAt(&report, sizeof report, pEntry.Get());
  m_entries.Add(pEntry.Detach());
  m_nRemarks += report.nConsequence == BREVEX_CONSEQUENCE_NONE ? 1 : 0;
}

bool CReportLog::GetReport(int nIndex, TBrevexReport& report) const
{
  const TEntry* pEntry = nIndex >= 0 ? m_entries[nIndex] : nullptr;
  const std::size_t nRoom = report.nSize;
  if (!pEntry || nRoom < offsetof(TBrevexReport, nCode))
    return false;
  // A caller that was built with an older header has room for fewer members.
  const std::size_t nSize = std::min(nRoom, sizeof report);
  std::memcpy(&report, &pEntry->m_report, nSize);
  report.nSize = static_cast<std::uint32_t>(nSize);
  return true;
}

const char16_t* CReportLog::GetText(int nIndex) const
{
  const TEntry* pEntry = nIndex >= 0 ? m_entries[nIndex] : nullptr;
  return pEntry && !pEntry->m_text.IsEmpty() ? pEntry->m_text.GetText() : nullptr;
}

}  // namespace API
