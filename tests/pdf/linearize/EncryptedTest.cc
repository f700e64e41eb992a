#include "base/FileStream.h"
#include "pdf/linearize/DocumentLinearizer.h"
#include "tests/pdf/linearize/LinearizeSupport.h"
#include "tests/support/PdfDamager.h"
#include "tests/support/Samples.h"

namespace
{

using Linearize::CLinearizedFile;
using PDF::CTextString;
using PDF::TEncryption;

struct TCase
{
  const char* szName;
  std::vector<std::string> arguments;
};

const TCase g_cases[] = {{"RC4 40", {"40", "--"}},
                         {"RC4 128", {"128", "--use-aes=n", "--"}},
                         {"AES 128", {"128", "--use-aes=y", "--"}},
                         {"AES 128, metadata in clear", {"128", "--use-aes=y", "--cleartext-metadata", "--"}},
                         {"AES 256", {"256", "--"}},
                         {"AES 256, metadata in clear", {"256", "--cleartext-metadata", "--"}}};

// A document with something secret in every place that encryption treats in its own way.
std::string MakeDocument()
{
  Support::CPdfBuilder builder;
  const int nMetadata = builder.AddStream(std::string(500, 'm'), "/Type/Metadata/Subtype/XML");
  builder.AddPage("BT /F1 10 Tf (one) Tj ET", "/Metadata " + std::to_string(nMetadata) + " 0 R");
  builder.AddPage("BT /F1 10 Tf (two) Tj ET");
  const int nDocument = builder.AddStream(std::string(500, 'd'), "/Type/Metadata/Subtype/XML");
  builder.SetCatalogEntries("/Lang(de-AT)/Metadata " + std::to_string(nDocument) + " 0 R");
  const int nInfo =
      builder.AddObject("<</Title(A \\(secret\\) title)/Subject(" + std::string(300, 's') + ")>>");
  builder.SetTrailerEntries("/Info " + std::to_string(nInfo) + " 0 R");
  return builder.Build();
}

TEncryption MakeEncryption(int nKeyLength, const char* szCrypt, bool bMetadata = true)
{
  TEncryption encryption;
  encryption.m_userPassword = CTextString("new");
  encryption.m_ownerPassword = CTextString("boss");
  encryption.m_nKeyLength = nKeyLength;
  encryption.m_szStreamCrypt = szCrypt;
  encryption.m_szStringCrypt = szCrypt;
  encryption.m_bEncryptMetadata = bMetadata;
  return encryption;
}

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

  static std::string ReadEmbeddedFile(const std::string& sPath)
  {
    BSE::CErrorHandler errors;
    PDF::CFile file(&errors);
    const BSE::CObjectPtr<BSE::IByteStream> pInput(new BSE::CFileStream(sPath.c_str(), BSE::eFileRead));
    const PDF::CString password("new");
    EXPECT_TRUE(file.Open(pInput.Get()) && file.Authenticate(&password));
    const PDF::CObjectPtr stream =
        file.GetRoot()["Names"]["EmbeddedFiles"]["Names"][1]["EF"]["F"].GetStreamObject();
    const BSE::CObjectPtr<BSE::IByteStream> pData = stream ? stream->GetStream() : nullptr;
    BSE::CBasicArray<unsigned char> bytes;
    EXPECT_TRUE(pData && pData->ReadToArray(bytes));
    return {bytes.GetSpan().begin(), bytes.GetSpan().end()};
  }

  // Opens with the password and linearizes with the handler that this gives.
  bool Linearize(const std::string& sInput, const std::string& sOutput, const char* szPassword)
  {
    BSE::CErrorHandler errors;
    PDF::CFile file(&errors);
    const BSE::CObjectPtr<BSE::IByteStream> pInput(new BSE::CFileStream(sInput.c_str(), BSE::eFileRead));
    const PDF::CString password(szPassword);
    if (!file.Open(pInput.Get()) || (*szPassword && !file.Authenticate(&password)))
      return false;
    const BSE::CObjectPtr<BSE::IByteStream> pOutput(new BSE::CFileStream(sOutput.c_str(), BSE::eFileWrite));
    std::int64_t nWritten = 0;
    return PDF::GetLinearizer(m_bPack)->LinearizeStream(pInput.Get(), pOutput.Get(), file, -1, nWritten) ==
           PDF::TLinearized::Done;
  }

  // The document in the encryption of a case, by the tool.
  void WriteEncrypted(const TCase& c, const char* szStreams)
  {
    Support::WriteFile(m_folder / "plain.pdf", MakeDocument());
    std::vector<std::string> encrypt = {"--allow-weak-crypto",
                                        "--compress-streams=n",
                                        std::string("--object-streams=") + szStreams,
                                        "--encrypt",
                                        "user",
                                        "owner"};
    encrypt.insert(encrypt.end(), c.arguments.begin(), c.arguments.end());
    encrypt.insert(encrypt.end(), {m_folder / "plain.pdf", m_folder / "encrypted.pdf"});
    RunTool(encrypt);
  }

  // A linearized file that opens with the password has all that the document has, and shows none of it.
  void ExpectWhole(const std::string& sPath, const std::string& sPassword)
  {
    const std::string sLinear = Support::ReadFile(sPath);
    EXPECT_EQ(Linearize::GetComplaints(sLinear, sPassword), std::vector<std::string>());
    EXPECT_EQ(sLinear.find("secret"), std::string::npos);
    EXPECT_EQ(CLinearizedFile(sLinear).m_nPages, 2);
    const std::string sText = RunTool({"--password=" + sPassword, "--decrypt", "--qdf", sPath, "-"});
    for (const char* szText :
         {"(one) Tj", "(two) Tj", "(de-AT)", "(A \\(secret\\) title)", "mmmmmmmm", "dddddddd"})
      EXPECT_NE(sText.find(szText), std::string::npos) << szText;
  }

  bool OpensWith(const std::string& sPath, const std::string& sPassword)
  {
    return Support::RunProgram({"qpdf", "--password=" + sPassword, "--show-npages", sPath}).nExitCode == 0;
  }

  Support::CTempFolder m_folder;
  bool m_bPack = false;
};

// Texts, titles and plain metadata are the same for a reader that has the password.
TEST_F(LinearizerEncrypted, KeepsTheSecurity)
{
  for (const TCase& c : g_cases)
  {
    for (const char* szStreams : {"disable", "generate"})
    {
      SCOPED_TRACE(std::string(c.szName) + ", object streams: " + szStreams);
      WriteEncrypted(c, szStreams);
      const std::string sOutput = m_folder / "linear.pdf";
      for (const bool bPack : {false, true})
      {
        m_bPack = bPack;
        ASSERT_TRUE(Linearize(m_folder / "encrypted.pdf", sOutput, "user"));
        ExpectWhole(sOutput, "user");
        // What is in an object stream is encrypted with it.
        const bool bKept = bPack && Support::ReadFile(sOutput).substr(0, 8) >= "%PDF-1.5";
        EXPECT_EQ(Support::ReadFile(sOutput).find("/ObjStm") != std::string::npos, bKept);
      }
    }
  }
}

// From every encryption, and from none, to every other one.
TEST_F(LinearizerEncrypted, TakesNewPasswords)
{
  const struct
  {
    TEncryption encryption;
    const char* szMethod;
    const char* szVersion;
  } targets[] = {{MakeEncryption(40, nullptr), "R = 2", "1."},
                 {MakeEncryption(128, nullptr), "R = 3", "1."},
                 {MakeEncryption(128, "AESV2"), "R = 4", "1."},
                 {MakeEncryption(256, nullptr), "R = 6", "2.0"},
                 {MakeEncryption(256, "AESV3", false), "R = 6", "2.0"},
                 {MakeEncryption(128, "AESV2", false), "R = 4", "1."}};
  std::vector<TCase> sources(std::begin(g_cases), std::end(g_cases));
  sources.push_back({"plain", {}});
  const std::string sOutput = m_folder / "linear.pdf";
  BSE::CErrorHandler errors;
  for (size_t i = 0; i < sources.size(); ++i)
  {
    const bool bPlain = sources[i].arguments.empty();
    if (!bPlain)
      WriteEncrypted(sources[i], i % 2 == 0 ? "disable" : "generate");
    const std::string sInput = m_folder / (bPlain ? "plain.pdf" : "encrypted.pdf");
    for (const auto& target : targets)
    {
      SCOPED_TRACE(std::string(sources[i].szName) + " to " + target.szMethod);
      ASSERT_TRUE(LinearizeDocument(sInput.c_str(), CTextString("owner"), sOutput.c_str(), &target.encryption,
                                    &errors, i % 3 != 0));
      EXPECT_FALSE(OpensWith(sOutput, "user") || OpensWith(sOutput, "owner") || OpensWith(sOutput, ""));
      EXPECT_TRUE(OpensWith(sOutput, "boss"));
      ExpectWhole(sOutput, "new");
      const std::string sShown = RunTool({"--show-encryption", "--password=new", sOutput});
      EXPECT_NE(sShown.find(target.szMethod), std::string::npos) << sShown;
      const std::string sLinear = Support::ReadFile(sOutput);
      EXPECT_EQ(sLinear.substr(5, std::strlen(target.szVersion)), target.szVersion);
      EXPECT_EQ(sLinear.find("dddddd") == std::string::npos, target.encryption.m_bEncryptMetadata);
    }
  }
}

// Metadata in clear is data in clear: strings beside them are encrypted as all others (ISO 32000-1, 7.6.1).
// Signatures never are, but what is beside them is (ISO 32000-2, 7.6.2).
TEST_F(LinearizerEncrypted, StringsThatEncryptionTreatsInTheirOwnWay)
{
  Support::CPdfBuilder builder;
  builder.AddPage("q Q");
  const int nMetadata =
      builder.AddStream(std::string(500, 'd'), "/Type/Metadata/Subtype/XML/X(of the secret file)");
  builder.SetCatalogEntries("/Metadata " + std::to_string(nMetadata) +
                            " 0 R/S<</ByteRange[0 0]/Contents(signature)/Reason(a secret reason)>>"
                            "/T<</ByteRange[0 0]/Contents<7369676E>>>");
  const std::string sPath = m_folder / "file.pdf";
  for (const char* szCrypt : {"AESV2", "AESV3"})
  {
    SCOPED_TRACE(szCrypt);
    Support::WriteFile(sPath, builder.Build());
    const TEncryption encryption = MakeEncryption(szCrypt[4] == '2' ? 128 : 256, szCrypt, false);
    BSE::CErrorHandler errors;
    // With a key of its own, and once more with the one that it has.
    for (const TEncryption* pEncryption : {&encryption, static_cast<const TEncryption*>(nullptr)})
    {
      ASSERT_TRUE(LinearizeDocument(sPath.c_str(), CTextString("new"), sPath.c_str(), pEncryption, &errors,
                                    szCrypt[4] == '2'));
      const std::string sBytes = Support::ReadFile(sPath);
      EXPECT_EQ(sBytes.find("secret"), std::string::npos);
      EXPECT_NE(sBytes.find("dddddd"), std::string::npos);
      EXPECT_NE(sBytes.find("(signature)"), std::string::npos);
      EXPECT_NE(sBytes.find("<7369676E>"), std::string::npos);
      const std::string sText = RunTool({"--password=new", "--decrypt", "--qdf", sPath, "-"});
      EXPECT_NE(sText.find("(of the secret file)"), std::string::npos);
      EXPECT_NE(sText.find("(a secret reason)"), std::string::npos);
    }
  }
}

// What is in an object stream has the cipher of streams: with another one for strings they stay outside.
TEST_F(LinearizerEncrypted, PacksOnlyWithOneCipher)
{
  Support::WriteFile(m_folder / "plain.pdf", MakeDocument());
  TEncryption encryption = MakeEncryption(128, "AESV2");
  encryption.m_szStreamCrypt = "Identity";
  const std::string sOutput = m_folder / "linear.pdf";
  BSE::CErrorHandler errors;
  for (const TEncryption* pEncryption :
       {static_cast<const TEncryption*>(&encryption), static_cast<const TEncryption*>(nullptr)})
  {
    const std::string sInput = pEncryption ? std::string(m_folder / "plain.pdf") : sOutput;
    ASSERT_TRUE(
        LinearizeDocument(sInput.c_str(), CTextString("new"), sOutput.c_str(), pEncryption, &errors, true));
    EXPECT_EQ(Support::ReadFile(sOutput).find("secret"), std::string::npos);
    EXPECT_NE(RunTool({"--password=new", "--decrypt", "--qdf", sOutput, "-"}).find("secret"),
              std::string::npos);
  }
}

// Embedded files may be encrypted where nothing else is, or the other way round, whether they name their
// crypt filter or not.
TEST_F(LinearizerEncrypted, EmbeddedFilesHaveACipherOfTheirOwn)
{
  const std::string sAttached(300, 'a');
  Support::CPdfBuilder builder;
  builder.AddPage("q Q");
  const int nFile = builder.AddStream(sAttached, "/Type/EmbeddedFile");
  builder.SetCatalogEntries("/Names<</EmbeddedFiles<</Names[(a)<</Type/Filespec/F(a)/EF<</F " +
                            std::to_string(nFile) + " 0 R>>>>]>>>>");
  const std::string sPath = m_folder / "file.pdf";
  const std::string sNewPath = m_folder / "new.pdf";
  const TEncryption anew = MakeEncryption(256, "AESV3");
  BSE::CErrorHandler errors;
  const auto linearize = [&](const std::string& sOutput, const TEncryption* pEncryption, bool bPack)
  {
    ASSERT_TRUE(
        LinearizeDocument(sPath.c_str(), CTextString("new"), sOutput.c_str(), pEncryption, &errors, bPack));
  };
  for (const bool bFilesOnly : {true, false})
  {
    for (const bool bNamed : {true, false})
    {
      SCOPED_TRACE(testing::Message() << bFilesOnly << bNamed);
      TEncryption encryption = MakeEncryption(128, bFilesOnly ? "Identity" : "AESV2");
      encryption.m_szEmbeddedCrypt = bFilesOnly ? "AESV2" : "Identity";
      Support::WriteFile(sPath, builder.Build());
      linearize(sPath, &encryption, true);
      std::string sBytes = Support::ReadFile(sPath);
      const size_t nFilter = sBytes.find("/Filter[/Crypt]");
      ASSERT_NE(nFilter, std::string::npos);
      if (!bNamed)
        sBytes.replace(nFilter, sBytes.find("/Length", nFilter) - nFilter,
                       std::string(sBytes.find("/Length", nFilter) - nFilter, ' '));
      Support::WriteFile(sPath, sBytes);
      linearize(sNewPath, &anew, false);
      EXPECT_EQ(RunTool({"--password=new", "--show-attachment=a", sNewPath}), sAttached);
      EXPECT_EQ(Support::ReadFile(sNewPath).find("/Crypt/"), std::string::npos);
      // The objects have other numbers, and so other keys.
      linearize(sPath, nullptr, false);
      EXPECT_EQ(Support::ReadFile(sPath).find(sAttached) == std::string::npos, bFilesOnly);
      EXPECT_EQ(ReadEmbeddedFile(sPath), sAttached);
    }
  }
}

// What pages inherit from one node is one object, with strings that are encrypted for the node.
TEST_F(LinearizerEncrypted, PagesShareWhatTheyInherit)
{
  constexpr int nPages = 4;
  Support::CPdfBuilder builder;
  const int nNode = builder.ReserveObject();
  std::string sKids;
  for (int i = 0; i < nPages; ++i)
    sKids += std::to_string(builder.AddObject("<</Type/Page/MediaBox[0 0 9 9]/Parent " +
                                              std::to_string(nNode) + " 0 R>>")) +
             " 0 R ";
  builder.SetObject(nNode, "<</Type/Pages/Count 4/Kids[" + sKids +
                               "]/Resources<</ColorSpace<</C[/Indexed/DeviceGray 6(palette)]>>>>>>");
  Support::WriteFile(
      m_folder / "plain.pdf",
      Support::ReplaceText(builder.Build(), "/Pages 2 0 R", "/Pages " + std::to_string(nNode) + " 0 R"));
  const std::string sEncrypted = m_folder / "encrypted.pdf";
  const std::string sOutput = m_folder / "linear.pdf";
  for (const char* szAes : {"--use-aes=n", "--use-aes=y"})
  {
    RunTool({"--allow-weak-crypto", "--min-version=1.6", "--encrypt", "", "", "128", szAes, "--",
             m_folder / "plain.pdf", sEncrypted});
    BSE::CErrorHandler errors;
    ASSERT_TRUE(
        LinearizeDocument(sEncrypted.c_str(), CTextString(), sOutput.c_str(), nullptr, &errors, true));
    const std::string sText = RunTool({"--decrypt", "--qdf", "--object-streams=disable", sOutput, "-"});
    const size_t nFirst = sText.find("/ColorSpace");
    EXPECT_NE(sText.find("(palette)", nFirst), std::string::npos);
    EXPECT_EQ(sText.find("/ColorSpace", nFirst + 1), std::string::npos);
  }
}

TEST_F(LinearizerEncrypted, LeavesTheSecurityThatNobodyChanges)
{
  const TEncryption unset;
  const std::string sPath = m_folder / "encrypted.pdf";
  BSE::CErrorHandler errors;
  for (const TEncryption* pEncryption : {static_cast<const TEncryption*>(nullptr), &unset})
  {
    for (const char* szPassword : {"user", "owner"})
    {
      WriteEncrypted(g_cases[2], "generate");
      // The output takes the place of the input.
      ASSERT_TRUE(
          LinearizeDocument(sPath.c_str(), CTextString(szPassword), sPath.c_str(), pEncryption, &errors));
      ExpectWhole(sPath, "user");
      EXPECT_TRUE(OpensWith(sPath, "owner"));
      EXPECT_FALSE(OpensWith(sPath, ""));
    }
  }
  const std::string sPlain = m_folder / "plain.pdf";
  ASSERT_TRUE(LinearizeDocument(sPlain.c_str(), CTextString(), sPlain.c_str(), nullptr, &errors));
  EXPECT_TRUE(OpensWith(sPlain, ""));
  TEncryption permissions;
  permissions.m_nPermissions = 0;
  ASSERT_TRUE(LinearizeDocument(sPlain.c_str(), CTextString(), sPlain.c_str(), &permissions, &errors));
  EXPECT_NE(RunTool({"--show-encryption", sPlain}).find("P = 0"), std::string::npos);
  ExpectWhole(sPlain, "");
}

TEST_F(LinearizerEncrypted, ReportsWhatCannotBeOpenedOrWritten)
{
  WriteEncrypted(g_cases[4], "disable");
  Support::WriteFile(m_folder / "text.pdf", "no document");
  const TEncryption odd = MakeEncryption(77, nullptr);
  const struct
  {
    const char* szInput;
    const char* szPassword;
    const char* szOutput;
    const TEncryption* pEncryption;
    unsigned nCode;
  } cases[] = {{"encrypted.pdf", "boss", "linear.pdf", nullptr, 0x80410112U},
               {"encrypted.pdf", "", "linear.pdf", nullptr, 0x80410112U},
               {"missing.pdf", "", "linear.pdf", nullptr, 0x80410101U},
               {"text.pdf", "", "linear.pdf", nullptr, 0x80410101U},
               {"plain.pdf", "", "linear.pdf", &odd, 0x8041011CU},
               {"plain.pdf", "", "nowhere/linear.pdf", nullptr, 0x80410102U}};
  for (const auto& c : cases)
  {
    SCOPED_TRACE(std::string(c.szInput) + " " + c.szPassword);
    const std::string sInput = m_folder / c.szInput;
    const std::string sOutput = m_folder / c.szOutput;
    BSE::CErrorHandler errors;
    EXPECT_FALSE(LinearizeDocument(sInput.c_str(), CTextString(c.szPassword), sOutput.c_str(), c.pEncryption,
                                   &errors));
    EXPECT_EQ(errors.GetLastCode(), c.nCode);
    EXPECT_FALSE(std::filesystem::exists(sOutput));
    EXPECT_FALSE(std::filesystem::exists(sOutput + ".tmp"));
  }
}

TEST_F(LinearizerEncrypted, NeedsTheHandler)
{
  Support::WriteFile(m_folder / "plain.pdf", Support::MakePlainSample().sPdf);
  RunTool({"--encrypt", "user", "owner", "256", "--", m_folder / "plain.pdf", m_folder / "encrypted.pdf"});
  EXPECT_FALSE(Linearize(m_folder / "encrypted.pdf", m_folder / "linear.pdf", ""));
  EXPECT_EQ(std::filesystem::file_size(m_folder / "linear.pdf"), 0U);
}

}  // namespace
