#include "pdf/ErrorRecorder.h"

#include "base/MessageTable.h"

#include <gtest/gtest.h>

#include <string>

namespace PDF
{
namespace
{

constexpr BSE::TMessageRow g_rows[] = {{0x80410101U, u"A %n%"}, {0x80410102U, u"B"}};

class CErrorRecorderTest : public testing::Test
{
protected:
  void SetUp() override
  {
    BSE::CMessageTable::Install(g_rows);
    m_handler.SetObserver(&m_recorder);
  }
  void TearDown() override { BSE::CMessageTable::Install({}); }

  CErrorRecorder m_recorder;
  BSE::CErrorHandler m_handler;
};

TEST_F(CErrorRecorderTest, CountsEqualErrorsOnce)
{
  m_handler.OnReportError(BSE::MakeError(0x80410101U, "n", 1, "Page No.", 2, "Object No.", 5));
  m_handler.OnReportError(
      BSE::MakeError(0x80410101U, "n", 1, "Page No.", 2, "Object No.", 6, "ContextDesc", "c"));
  m_handler.OnReportError(
      BSE::MakeError(0x80410101U, "n", 1, "Page No.", 2, "Object No.", 7, "ContextDesc", "d"));
  ASSERT_EQ(m_recorder.GetSize(), 1);
  const TErrorRecord& record = *m_recorder.GetAt(0);
  EXPECT_EQ(record.m_nCount, 3);
  EXPECT_EQ(record.m_nObject, 6);
  EXPECT_EQ(std::u16string(record.m_szContext.GetText()), u"c");
  EXPECT_EQ(std::u16string(record.m_szFile.GetText()), u"(null)");

  m_handler.OnReportError(BSE::MakeError(0x80410101U, "n", 2, "Page No.", 2));
  m_handler.OnReportError(BSE::MakeError(0x80410101U, "n", 1, "Page No.", 3));
  m_handler.OnReportError(BSE::MakeError(0x80410101U, "n", 1, "Page No.", 2, "File", "f"));
  m_handler.OnReportError(BSE::MakeError(0x80410102U, "n", 1, "Page No.", 2));
  EXPECT_EQ(m_recorder.GetSize(), 5);
}

TEST_F(CErrorRecorderTest, SortsForRecordingAndReport)
{
  m_handler.OnReportError(BSE::MakeError(0x80410102U, "Page No.", 1));
  m_handler.OnReportError(BSE::MakeError(0x80410101U, "Page No.", 3, "n", 1));
  m_handler.OnReportError(BSE::MakeError(0x80410101U, "Page No.", 2, "n", 9));
  m_handler.OnReportError(BSE::MakeError(0x80410101U, "Page No.", 2, "n", 10));
  const auto pages = [this]
  {
    std::string text;
    for (int i = 0; i < m_recorder.GetSize(); ++i)
      text += std::to_string(m_recorder.GetAt(i)->m_nPage) +
              (m_recorder.GetAt(i)->m_szMessage[2] == u'9' ? "'" : "");
    return text;
  };
  m_recorder.Sort(TRecordOrder::Recording);
  EXPECT_EQ(pages(), "22'31");
  m_recorder.Sort(TRecordOrder::Report);
  EXPECT_EQ(pages(), "122'3");
}

}  // namespace
}  // namespace PDF
