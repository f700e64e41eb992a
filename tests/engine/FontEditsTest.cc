#include "engine/FontEdits.h"

#include <gtest/gtest.h>

#include <string>

namespace PDF
{
namespace
{

TEST(FontEdits, OneRecordForEachName)
{
  CFontEdits edits;
  EXPECT_EQ(edits.Find("Arial"), nullptr);
  EXPECT_TRUE(edits.Unembed("Arial"));
  EXPECT_TRUE(edits.Unembed("Arial"));
  EXPECT_FALSE(edits.m_bRenameFonts);
  EXPECT_TRUE(edits.Rename("Arial", "Helvetica"));
  EXPECT_TRUE(edits.Rename("Arial", "Liberation"));
  EXPECT_EQ(edits.GetCount(), 1);
  const CFontEdit* pEdit = edits.Find("Arial");
  ASSERT_NE(pEdit, nullptr);
  EXPECT_TRUE(pEdit->m_bRename && pEdit->m_bUnembed);
  EXPECT_STREQ(pEdit->m_sNewName.GetText(), "Liberation");
  for (const char* szOther : {"arial", "Aria", "Arial ", "", "*"})
    EXPECT_EQ(edits.Find(szOther), nullptr) << szOther;
  edits.RemoveAll();
  EXPECT_FALSE(edits.m_bRenameFonts || edits.m_bUnembedFonts || edits.Find("Arial"));
}

TEST(FontEdits, NamesThatAreRefused)
{
  CFontEdits edits;
  const std::string sLongest(256, 'n');
  EXPECT_FALSE(edits.Unembed((sLongest + "n").c_str()));
  EXPECT_FALSE(edits.Rename((sLongest + "n").c_str(), "x"));
  EXPECT_FALSE(edits.Unembed(""));
  EXPECT_FALSE(edits.Rename("x", ""));
  EXPECT_FALSE(edits.m_bRenameFonts || edits.m_bUnembedFonts);
  EXPECT_EQ(edits.GetCount(), 0);
  EXPECT_TRUE(edits.Unembed(sLongest.c_str()));
}

}  // namespace
}  // namespace PDF
