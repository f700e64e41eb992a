// Stripped documents, judged from outside: sound, with all their pages and their text.

#include <gtest/gtest.h>

#include "tests/documents/Judges.h"
#include "tests/support/FeatureDocument.h"
#include "tests/support/Saver.h"

namespace
{

TEST(Strip, EveryFlagGivesASoundDocument)
{
  const std::string sPdf = Support::MakeFeatureDocument();
  for (const unsigned nStrip : {0U, 0x001U, 0x002U, 0x004U, 0x008U, 0x010U, 0x020U, 0x040U, 0x080U, 0x100U,
                                0x200U, 0x400U, 0x800U, 0xFFFU})
  {
    SCOPED_TRACE(nStrip);
    Support::CSaver saver;
    BrevexSetStrip(saver.Get(), nStrip);
    ASSERT_TRUE(saver.Open(sPdf));
    const std::optional<std::string> sOut = saver.Save();
    ASSERT_TRUE(sOut) << std::hex << saver.GetCode();
    EXPECT_TRUE(Documents::IsSound(*sOut));
    EXPECT_TRUE(Documents::HasTextOfPages(*sOut, 2));
    EXPECT_TRUE(Documents::Reopens(*sOut, 2));
    const std::optional<std::string> sAgain = saver.Save();
    ASSERT_TRUE(sAgain);
    EXPECT_EQ(Support::MaskVariable(*sOut), Support::MaskVariable(*sAgain)) << "a save changed its input";
  }
}

}  // namespace
