// JPEG images in a whole save: fewer bytes, the same samples, other filters around them gone.

#include <gtest/gtest.h>

#include "base/ErrorHandler.h"
#include "base/MemoryStream.h"
#include "engine/Optimizer.h"
#include "pdf/FilterFactory.h"
#include "tests/engine/SmallFile.h"
#include "tests/images/filters/JpegFixture.h"
#include "tests/support/Deflate.h"
#include "tests/support/PdfBuilder.h"

namespace
{

using Engine::MakeStream;
using Engine::ReadAll;

TEST(JPEGStreamRecoder, CodesImagesAnew)
{
  const std::string sImage = BSE::MakeJpeg(120, 80, 3);
  const std::string sCut = sImage.substr(0, sImage.size() / 2);
  const struct
  {
    std::string m_sData;
    const char* m_szFilters;
    bool m_bKept;
  } cases[] = {
      {sImage, "/Filter/DCTDecode", false},
      {sImage, "/Filter[/DCTDecode]/DecodeParms[<</ColorTransform 1>>]", false},
      {Support::Deflate(sImage), "/Filter[/FlateDecode/DCTDecode]/DecodeParms[null<</ColorTransform 1>>]",
       false},
      {sCut, "/Filter/DCTDecode", true},
      {sImage, "/Filter/DCTDecode/F(elsewhere)", true},
  };
  for (const auto& c : cases)
  {
    SCOPED_TRACE(c.m_szFilters);
    Support::CPdfBuilder builder;
    const int nImage = builder.AddStream(c.m_sData, c.m_szFilters);
    builder.AddPage("q", "/Data " + std::to_string(nImage) + " 0 R");
    BSE::CErrorHandler errors;
    PDF::COptimizer optimizer(&errors);
    optimizer.GetOptions().m_bRecodeJPEG = true;
    const BSE::CObjectPtr<BSE::IByteStream> pOutput(new BSE::CMemoryStream);
    ASSERT_TRUE(optimizer.Open(MakeStream(builder.Build()).Get(), nullptr));
    ASSERT_TRUE(optimizer.Save(pOutput.Get(), {}));
    pOutput->Rewind();
    PDF::CDocument result(&errors);
    ASSERT_TRUE(result.Open(pOutput.Get(), nullptr));
    const PDF::CObjectPtr image = result.GetPage(0)["Data"];
    const std::string sEncoded = ReadAll(image.GetStream().Get());
    EXPECT_TRUE(image["Filter"].IsName("DCTDecode"));
    EXPECT_EQ(image["DecodeParms"]["ColorTransform"].GetIntegerValue(),
              std::string(c.m_szFilters).find("ColorTransform") != std::string::npos ? 1 : 0);
    EXPECT_EQ(sEncoded.size() < c.m_sData.size(), !c.m_bKept);
    if (!c.m_bKept)
    {
      EXPECT_EQ(BSE::DecodeJpeg(sEncoded), BSE::DecodeJpeg(sImage));
    }
  }
}

}  // namespace
