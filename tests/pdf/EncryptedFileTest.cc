// Encrypted files as a whole: what happens when something is missing, and which cipher each stream has.

#include "base/ErrorHandler.h"
#include "base/Tracer.h"
#include "pdf/StandardSecurityHandler.h"
#include "tests/pdf/WriterSupport.h"

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

// The file opens all the same, and only the trace tells.
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

}  // namespace
}  // namespace PDF
