// The reports that a handle keeps of an open and a save.

#include <gtest/gtest.h>

#include <cstddef>
#include <string>

#include "api/ReportLog.h"
#include "base/ErrorContext.h"
#include "tests/support/PdfBuilder.h"
#include "tests/support/PdfDamager.h"
#include "tests/support/Samples.h"
#include "tests/support/Saver.h"

namespace
{

constexpr unsigned g_nWrongOffset = 0x00418309U;
constexpr unsigned g_nOtherObject = 0x80410303U;

TBrevexReport GetReport(const API::CReportLog& log, int nIndex)
{
  TBrevexReport report = {};
  report.nSize = sizeof report;
  EXPECT_TRUE(log.GetReport(nIndex, report));
  return report;
}

void Note(API::CReportLog& log, unsigned nCode, int nObject, BSE::TConsequence consequence)
{
  const BSE::CScopedPtr<BSE::IError> pError = BSE::MakeError(nCode, "Object No.", nObject, "n1", 7, "n2", 8);
  pError->SetConsequence(consequence);
  log.Note(*pError);
}

TEST(Reports, EqualOnesAreOneAndKeepTheirOrder)
{
  API::CReportLog log;
  Note(log, g_nWrongOffset, 1, BSE::eContentLost);
  EXPECT_EQ(log.GetCount(), 0);
  log.BeginOpen();
  for (const int nObject : {5, 4, 5, 5})
    Note(log, g_nOtherObject, nObject, BSE::eNoConsequence);
  Note(log, g_nOtherObject, 5, BSE::eContentLost);
  ASSERT_EQ(log.GetCount(), 2) << "what is lost is no remark as well";
  EXPECT_EQ(GetReport(log, 0).nObject, 4);
  EXPECT_EQ(GetReport(log, 0).nSeverity, BREVEX_SEVERITY_ERROR);
  EXPECT_EQ(GetReport(log, 1).nConsequence, BREVEX_CONSEQUENCE_LOSS);
  Note(log, g_nOtherObject, 4, BSE::eNoConsequence);
  EXPECT_EQ(GetReport(log, 0).nCount, 2U);
  const std::u16string sText = log.GetText(0);
  EXPECT_NE(sText.find(u'7'), std::u16string::npos) << "details are filled in";
  EXPECT_EQ(log.GetLossCount(), 1U);

  log.BeginSave();
  Note(log, g_nWrongOffset, 9, BSE::eContentLost);
  EXPECT_EQ(log.GetLossCount(), 2U);
  log.BeginSave();
  EXPECT_EQ(log.GetCount(), 2);
  EXPECT_EQ(log.GetLossCount(), 1U);
  Note(log, g_nWrongOffset, 9, BSE::eContentLost);
  EXPECT_EQ(GetReport(log, 2).nStep, BREVEX_STEP_SAVE);
  EXPECT_EQ(GetReport(log, 2).nCount, 1U);
}

TEST(Reports, LossesFindRoomBesideManyRemarks)
{
  API::CReportLog log;
  log.BeginSave();
  for (int i = 1; i <= 2000; ++i)
    Note(log, g_nWrongOffset, i, BSE::eNoConsequence);
  const int nRemarks = log.GetCount();
  EXPECT_LT(nRemarks, 1000);
  for (int i = 1; i <= 2000; ++i)
    Note(log, g_nWrongOffset, i, BSE::eContentLost);
  EXPECT_EQ(log.GetCount(), 1000);
  EXPECT_EQ(log.GetLossCount(), 2000U);
  log.BeginSave();
  EXPECT_EQ(log.GetCount(), 0);
  Note(log, g_nWrongOffset, 1, BSE::eNoConsequence);
  EXPECT_EQ(log.GetCount(), 1);
}

TEST(Reports, RecordsOfOtherSizes)
{
  API::CReportLog log;
  log.BeginOpen();
  Note(log, g_nWrongOffset, 3, BSE::eNoConsequence);
  TBrevexReport report = {};
  report.nObject = -1;
  report.nSize = offsetof(TBrevexReport, nObject);
  EXPECT_TRUE(log.GetReport(0, report));
  EXPECT_EQ(report.nCode, g_nWrongOffset);
  EXPECT_EQ(report.nObject, -1) << "an older caller's record ends before it";
  report.nSize = 2;
  EXPECT_FALSE(log.GetReport(0, report));
  report.nSize = sizeof report + 100;
  EXPECT_FALSE(log.GetReport(1, report));
  EXPECT_FALSE(log.GetReport(-1, report));
  EXPECT_EQ(log.GetText(-1), nullptr);
}

// Damage at opening stays readable through queries, saves and the close, and what ended a save is its code.
TEST(Reports, OfAHandle)
{
  Support::CSaver saver;
  const std::string sDamaged =
      Support::ReplaceText(Support::MakePlainSample().sPdf, "startxref\n", "startxref\n9");
  ASSERT_TRUE(saver.Open(sDamaged));
  const int nOpen = BrevexGetReportCount(saver.Get());
  ASSERT_GT(nOpen, 0);
  EXPECT_GT(BrevexGetPageCount(saver.Get()), 0);
  EXPECT_EQ(BrevexGetReportCount(saver.Get()), nOpen);
  EXPECT_TRUE(saver.Save());
  EXPECT_TRUE(BrevexClose(saver.Get()));
  EXPECT_GE(BrevexGetReportCount(saver.Get()), nOpen);
  EXPECT_EQ(BrevexGetLossCount(saver.Get()), 0U);
  EXPECT_NE(BrevexGetReportTextA(saver.Get(), 0), nullptr);
  EXPECT_EQ(BrevexGetReportTextW(saver.Get(), 9999), nullptr);

  EXPECT_FALSE(saver.Save());
  TBrevexReport report = {};
  report.nSize = sizeof report;
  ASSERT_TRUE(BrevexGetReport(saver.Get(), BrevexGetReportCount(saver.Get()) - 1, &report));
  EXPECT_EQ(report.nCode, saver.GetCode());
  EXPECT_EQ(report.nConsequence, BREVEX_CONSEQUENCE_END);
  EXPECT_EQ(report.nCode, BREVEX_STATUS_INVALID_OPERATION);
  EXPECT_FALSE(BrevexOpenA(saver.Get(), "/no/such/file", nullptr));
  ASSERT_EQ(BrevexGetReportCount(saver.Get()), 1);
  ASSERT_TRUE(BrevexGetReport(saver.Get(), 0, &report));
  EXPECT_EQ(report.nConsequence, BREVEX_CONSEQUENCE_END);
  EXPECT_EQ(report.nSeverity, BREVEX_SEVERITY_ERROR);
  EXPECT_EQ(BrevexGetReportCount(nullptr), 0);
  EXPECT_FALSE(BrevexGetReport(saver.Get(), 0, nullptr));
}

}  // namespace
