// Encrypted files as a whole: what happens when something is missing, and which cipher each stream has.

#include "base/ErrorHandler.h"
#include "base/Tracer.h"
#include "pdf/StatusCodes.h"
#include "tests/pdf/CryptSample.h"

#include <gtest/gtest.h>

#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <fstream>
#include <string>

namespace
{

int g_nRandomCalls = INT_MAX;  // that succeed

}  // namespace

// Takes the place of the C library's.
extern "C" ssize_t getrandom(void* pBuffer, size_t nLength, unsigned nFlags)
{
  if (g_nRandomCalls-- <= 0)
  {
    errno = ENOSYS;
    return -1;
  }
  return syscall(SYS_getrandom, pBuffer, nLength, nFlags);
}

namespace PDF
{
namespace
{

const char* const g_szId = "0123456789abcdef";

// A string and a stream of each kind that writes random numbers.
bool WriteSecrets(const char* szMethod, int nRandomCalls, unsigned& nCode)
{
  TEncryption encryption;
  encryption.m_szStreamCrypt = szMethod;
  BSE::CErrorHandler errors;
  CFile file(&errors);
  file.InitVersion(1, 7);
  const BSE::CObjectPtr<BSE::CMemoryStream> pOutput(new BSE::CMemoryStream);
  EXPECT_TRUE(file.Create(pOutput.Get(), CString(g_szId), true, false));
  file.SetSecurityHandler(CStandardSecurityHandler::Create(encryption, file.GetId1(), nullptr).Get());
  g_nRandomCalls = nRandomCalls;
  AddPages(file, 1, 0);
  file.GetRoot()->AddEntry("Secret", MakeString("a string").Get());
  const CObjectPtr stream = AddObject(file, g_nGroupDirect, MakeDictionary({}));
  stream->SetStreamObject(new CStreamObject(MakeStream("data").Get()));
  file.GetRoot()->AddEntry("Stream", stream.Get());
  const bool bClosed = file.Close();
  g_nRandomCalls = INT_MAX;
  nCode = errors.GetLastCode();
  return bClosed;
}

TEST(EncryptedFile, FailsWithoutRandomNumbers)
{
  unsigned nCode = 0;
  EXPECT_TRUE(WriteSecrets("V2", 0, nCode)) << "needs none";
  EXPECT_TRUE(WriteSecrets("AESV2", 2, nCode));
  for (const int nCalls : {0, 1})
  {
    EXPECT_FALSE(WriteSecrets("AESV2", nCalls, nCode)) << nCalls;
    EXPECT_EQ(nCode, BSE::g_nStreamWriteFailed) << nCalls;
  }
}

// The file opens all the same, and only the trace says.
TEST(EncryptedFile, TellsOfPermissionsThatWereChanged)
{
  const std::string path = testing::TempDir() + "brevex_permissions_" + std::to_string(getpid());
  const struct
  {
    const char* m_szKey;
    CObjectPtr m_value;
    bool m_bTold;
  } cases[] = {{"P", MakeInteger(-1084), false},
               {"P", MakeInteger(0xFFFFFBC4), false},
               {"P", MakeInteger(-4), true},
               {"EncryptMetadata", new CBooleanObject(false), true},
               {"Perms", MakeString("0123456789abcdef"), true},
               {"Perms", MakeInteger(1), true}};
  for (const auto& c : cases)
  {
    TEncryption encryption;
    encryption.m_nKeyLength = 256;
    encryption.m_nPermissions = -1084;
    const CObjectPtr encrypt = MakeDictionary({});
    CStandardSecurityHandler::Create(encryption, CString(g_szId), nullptr)->Write(*encrypt);
    encrypt->AddEntry(c.m_szKey, c.m_value.Get());
    ASSERT_TRUE(BSE::CTracer::SetOutput(path.c_str()));
    EXPECT_TRUE(CStandardSecurityHandler::Open(encrypt, CString(g_szId), nullptr)->Authenticate(nullptr));
    BSE::CTracer::Close();
    std::ifstream trace(path);
    const std::string text((std::istreambuf_iterator<char>(trace)), std::istreambuf_iterator<char>());
    EXPECT_EQ(text.find("\"Permissions differ") != std::string::npos, c.m_bTold) << c.m_szKey << text;
    std::remove(path.c_str());
  }
}

const char* const g_szSample = "Stream\nEmbedded\nSecret";

const TEncryption g_mixed[] = {
    MakeEncryption(128, "AESV2", "AESV2", "V2"),       MakeEncryption(128, "V2", "AESV2", "V2"),
    MakeEncryption(128, "V2", "AESV2", "AESV2"),       MakeEncryption(128, "Identity", "Identity", "AESV2"),
    MakeEncryption(256, "AESV3", "AESV3", "Identity"), MakeEncryption(256, "Identity", "AESV3", "AESV3"),
    MakeEncryption(128, "V2", "Identity", nullptr),    MakeEncryption(256, nullptr, nullptr, nullptr),
};

TEST(EncryptedFile, GivesEmbeddedFilesTheirCipher)
{
  for (const TEncryption& encryption : g_mixed)
  {
    const std::string bytes = MakeCryptSample(encryption);
    SCOPED_TRACE(bytes.substr(bytes.find("/CF "), 400));
    const auto isPlain = [](const char* szMethod)
    { return szMethod && std::strcmp(szMethod, "Identity") == 0; };
    const char* szEmbedded = encryption.m_szEmbeddedCrypt;
    const bool bDiffers = szEmbedded && std::strcmp(encryption.m_szStreamCrypt, szEmbedded) != 0;
    EXPECT_EQ(bytes.find("/EFF") != std::string::npos, bDiffers);
    EXPECT_EQ(bytes.find("\n456D626564646564>") != std::string::npos,
              isPlain(szEmbedded ? szEmbedded : encryption.m_szStreamCrypt));
    EXPECT_EQ(bytes.find("\n53747265616D>") != std::string::npos, isPlain(encryption.m_szStreamCrypt));
    EXPECT_EQ(ReadCryptSample(bytes, "user"), g_szSample);
    ExpectCryptSampleForOthers(bytes);
    const std::string typed = SetEmbeddedEntries(bytes, "/Type /EmbeddedFile /Filter /ASCIIHexDecode");
    EXPECT_EQ(ReadCryptSample(typed, "owner"), g_szSample) << "other writers leave it to EFF";
  }
}

// A stream with a crypt filter of its own is readable through its other filters, and one that names a filter
// which the file does not have holds nothing.
TEST(EncryptedFile, ReadsStreamsThatNameTheirCipher)
{
  const auto expectText = [](const TEncryption& encryption, const char* szName, const char* szText)
  {
    const std::string bytes = NameCryptFilter(MakeCryptSample(encryption), szName);
    SCOPED_TRACE(szName);
    EXPECT_EQ(ReadCryptSample(bytes, "owner"), "Stream\n" + std::string(szText) + "\nSecret");
    if (*szText)
      ExpectCryptSampleForOthers(bytes);
  };
  expectText(g_mixed[2], "StrCF", "Embedded");
  expectText(g_mixed[3], "StdCF", "Embedded");
  expectText(g_mixed[4], "Identity", "Embedded");
  expectText(g_mixed[5], "StdCF", "Embedded");
  expectText(g_mixed[7], "StdCF", "Embedded");
  expectText(g_mixed[7], "Missing", "");
  BSE::CErrorHandler errors;
  CFile file(&errors);
  EXPECT_TRUE(OpenCryptSample(file, NameCryptFilter(MakeCryptSample(g_mixed[7]), "Missing"), "owner"));
  EXPECT_EQ(errors.GetLastCode(), 0U);
  ReadCryptSample(file);
  EXPECT_EQ(errors.GetLastCode(), g_nUnknownAlgorithm) << "what is lost is told";
}

// Broken choices for embedded files lose those at most.
TEST(EncryptedFile, OpensWithoutTheCipherOfEmbeddedFiles)
{
  std::string bytes = MakeCryptSample(MakeEncryption(128, "V2", "V2", "AESV2"));
  bytes.replace(bytes.find("/CFM /AESV2"), 11, "/CFM /AESV9");
  EXPECT_EQ(ReadCryptSample(bytes, "user"), "Stream\n\nSecret");
  bytes = MakeCryptSample(MakeEncryption(128, "V2", "V2", "Identity"));
  bytes.replace(bytes.find("/EFF /Identity"), 14, "/EFF /Missing_");
  EXPECT_NE(ReadCryptSample(bytes, "user"), "closed");
}

// Metadata may be plain, but the strings that tell of it are not.
TEST(EncryptedFile, EncryptsTheStringsOfPlainMetadata)
{
  TEncryption encryption = MakeEncryption(128, "AESV2", "AESV2", nullptr);
  encryption.m_bEncryptMetadata = false;
  const std::string bytes = WriteEncryptedFile(encryption, false,
                                               [](CFile& file)
                                               {
                                                 AddStream(file, "Metadata",
                                                           MakeDictionary({{"Type", MakeName("Metadata")},
                                                                           {"Subtype", MakeName("XML")},
                                                                           {"S", MakeString("Secret")}}),
                                                           MakeStreamObject("<Embedded/>"));
                                               });
  EXPECT_NE(bytes.find("\n<Embedded/>\n"), std::string::npos);
  EXPECT_EQ(bytes.find("(Secret)"), std::string::npos);
  EXPECT_EQ(bytes.find("<536563726574>"), std::string::npos);
  CFile file(nullptr);
  ASSERT_TRUE(OpenCryptSample(file, bytes));
  const CObjectPtr metadata = file.GetRoot()["Metadata"];
  EXPECT_TRUE(metadata["S"].GetStringValue() == CString("Secret"));
  EXPECT_EQ(GetBytes(*metadata.GetDecodedStream()), "<Embedded/>");
  ExpectDecrypts(bytes, {"(Secret)", "<Embedded/>"});
}

// The place makes a cross-reference stream, not what an object says of itself.
TEST(EncryptedFile, EncryptsWhatOnlyClaimsToBeCrossReferences)
{
  const std::string bytes = WriteEncryptedFile(
      MakeEncryption(128, "AESV2", "AESV2", nullptr), true,
      [](CFile& file)
      {
        AddStream(file, "Data", MakeDictionary({{"Type", MakeName("XRef")}, {"S", MakeString("Own")}}),
                  MakeStreamObject("Secret"));
      });
  EXPECT_EQ(bytes.find("Secret"), std::string::npos);
  EXPECT_EQ(bytes.find("(Own)"), std::string::npos);
  CFile file(nullptr);
  ASSERT_TRUE(OpenCryptSample(file, bytes));
  EXPECT_TRUE(file.GetRoot()["Data"]["S"].GetStringValue() == CString("Own"));
  EXPECT_EQ(GetBytes(*file.GetRoot()["Data"].GetDecodedStream()), "Secret");
  int nSections = 0;
  for (int i = 1; i < file.GetObjectCount(); ++i)
  {
    const CObjectPtr object = file.GetObject(i, -1);
    nSections += object["W"].IsArray() && object.GetDecodedStream()->Skip(1) ? 1 : 0;
  }
  EXPECT_EQ(nSections, 1) << "the section itself is plain";
}

// What a signature holds is put into a file that is already encrypted.
TEST(EncryptedFile, LeavesSignaturesPlain)
{
  const std::string bytes = WriteEncryptedFile(
      MakeEncryption(128, "AESV2", "AESV2", nullptr), false,
      [](CFile& file)
      {
        file.GetRoot()->AddEntry("Signature",
                                 MakeDictionary({{"Type", MakeName("Sig")},
                                                 {"Contents", MakeString("Signed")},
                                                 {"ByteRange", MakeArray({MakeInteger(0), MakeInteger(0)})},
                                                 {"Reason", MakeString("Secret")}})
                                     .Get());
        file.GetRoot()->AddEntry("Note", MakeDictionary({{"Contents", MakeString("Signed")}}).Get());
      });
  const std::size_t nPlain = bytes.find("<5369676E6564>");
  ASSERT_NE(nPlain, std::string::npos);
  EXPECT_EQ(bytes.find("<5369676E6564>", nPlain + 1), std::string::npos);
  CFile file(nullptr);
  ASSERT_TRUE(OpenCryptSample(file, bytes));
  for (const char* szKey : {"Signature", "Note"})
    EXPECT_TRUE(file.GetRoot()[szKey]["Contents"].GetStringValue() == CString("Signed")) << szKey;
  EXPECT_TRUE(file.GetRoot()["Signature"]["Reason"].GetStringValue() == CString("Secret"));
  ExpectDecrypts(bytes, {"(Secret)", "/Contents <5369676e6564>", "/Contents (Signed)"});
}

}  // namespace
}  // namespace PDF
