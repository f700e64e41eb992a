#include "base/FileStream.h"
#include "tests/pdf/linearize/LinearizeSupport.h"
#include "tests/support/Samples.h"

namespace
{

using Linearize::CLinearizedFile;

struct TCase
{
  const char* szName;
  std::vector<std::string> arguments;
};

class LinearizerEncrypted : public testing::Test
{
protected:
  void SetUp() override
  {
    if (!Support::HasProgram("qpdf"))
      GTEST_SKIP() << "qpdf is not installed";
  }

  std::string RunTool(std::vector<std::string> arguments)
  {
    arguments.insert(arguments.begin(), "qpdf");
    const Support::TProcessResult result = Support::RunProgram(arguments);
    EXPECT_EQ(result.nExitCode, 0) << result.sErr;
    return result.sOut;
  }

  // Opens with the password and linearizes with the handler that this gives.
  bool Linearize(const std::string& sInput, const std::string& sOutput, const char* szPassword)
  {
    BSE::CErrorHandler errors;
    PDF::CFile file(&errors);
    const BSE::CObjectPtr<BSE::IByteStream> pInput(new BSE::CFileStream(sInput.c_str(), BSE::eFileRead));
    const PDF::CString password(szPassword);
    return file.Open(pInput.Get()) && (!*szPassword || file.Authenticate(&password)) &&
           PDF::GetLinearizer()->LinearizeFile(sInput.c_str(), sOutput.c_str(), file);
  }

  Support::CTempFolder m_folder;
};

// Texts, titles and plain metadata are the same for a reader that has the password.
TEST_F(LinearizerEncrypted, KeepsTheSecurity)
{
  Support::CPdfBuilder builder;
  const int nMetadata = builder.AddStream(std::string(500, 'm'), "/Type/Metadata/Subtype/XML");
  builder.AddPage("BT /F1 10 Tf (one) Tj ET", "/Metadata " + std::to_string(nMetadata) + " 0 R");
  builder.AddPage("BT /F1 10 Tf (two) Tj ET");
  builder.SetCatalogEntries("/Lang(de-AT)/Metadata " + std::to_string(nMetadata) + " 0 R");
  const int nInfo = builder.AddObject("<</Title(A \\(secret\\) title)>>");
  builder.SetTrailerEntries("/Info " + std::to_string(nInfo) + " 0 R");
  Support::WriteFile(m_folder / "plain.pdf", builder.Build());
  const TCase cases[] = {{"RC4 40", {"40", "--"}},
                         {"RC4 128", {"128", "--use-aes=n", "--"}},
                         {"AES 128", {"128", "--use-aes=y", "--"}},
                         {"AES 128, metadata in clear", {"128", "--use-aes=y", "--cleartext-metadata", "--"}},
                         {"AES 256", {"256", "--"}},
                         {"AES 256, metadata in clear", {"256", "--cleartext-metadata", "--"}}};
  for (const TCase& c : cases)
  {
    for (const char* szStreams : {"disable", "generate"})
    {
      SCOPED_TRACE(std::string(c.szName) + ", object streams: " + szStreams);
      std::vector<std::string> encrypt = {"--allow-weak-crypto", std::string("--object-streams=") + szStreams,
                                          "--encrypt", "user", "owner"};
      encrypt.insert(encrypt.end(), c.arguments.begin(), c.arguments.end());
      encrypt.insert(encrypt.end(), {m_folder / "plain.pdf", m_folder / "encrypted.pdf"});
      RunTool(encrypt);
      const std::string sOutput = m_folder / "linear.pdf";
      ASSERT_TRUE(Linearize(m_folder / "encrypted.pdf", sOutput, "user"));
      const std::string sLinear = Support::ReadFile(sOutput);
      EXPECT_EQ(Linearize::GetComplaints(sLinear, "user"), std::vector<std::string>());
      EXPECT_EQ(sLinear.find("secret"), std::string::npos);
      EXPECT_EQ(CLinearizedFile(sLinear).m_nPages, 2);
      const std::string sText = RunTool({"--password=user", "--decrypt", "--qdf", sOutput, "-"});
      for (const char* szText : {"(one) Tj", "(two) Tj", "(de-AT)", "(A \\(secret\\) title)", "mmmmmmmm"})
        EXPECT_NE(sText.find(szText), std::string::npos) << szText;
    }
  }
}

TEST_F(LinearizerEncrypted, NeedsTheHandler)
{
  Support::WriteFile(m_folder / "plain.pdf", Support::MakePlainSample().sPdf);
  RunTool({"--encrypt", "user", "owner", "256", "--", m_folder / "plain.pdf", m_folder / "encrypted.pdf"});
  EXPECT_FALSE(Linearize(m_folder / "encrypted.pdf", m_folder / "linear.pdf", ""));
  EXPECT_FALSE(std::filesystem::exists(m_folder / "linear.pdf"));
}

}  // namespace
