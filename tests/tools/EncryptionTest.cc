// Encryption of inputs and outputs by the command.

#include <gmock/gmock.h>

#include <cstdlib>

#include "tests/support/Process.h"
#include "tests/tools/Command.h"

namespace
{

using Support::TProcessResult;
using testing::HasSubstr;
using testing::Not;
using Tools::CCommandFolder;

// A variable of the environment for as long as it lives.
class CVariable
{
public:
  CVariable(const char* szName, const char* szValue) : m_szName(szName) { setenv(szName, szValue, 1); }
  ~CVariable() { unsetenv(m_szName); }
  CVariable(const CVariable&) = delete;
  CVariable& operator=(const CVariable&) = delete;

private:
  const char* m_szName;
};

class CommandEncryption : public testing::Test
{
protected:
  void SetUp() override
  {
    if (!Support::HasProgram("qpdf"))
    {
      GTEST_SKIP() << "qpdf is not installed";
    }
  }

  // What qpdf says of the encryption, without an error.
  std::string Show(const std::string& sName, const std::string& sPassword) const
  {
    const std::string sFile = m_folder.GetPath(sName);
    const TProcessResult result =
        Support::RunProgram({"qpdf", "--password=" + sPassword, "--show-encryption", sFile});
    EXPECT_EQ(result.nExitCode, 0) << result.sErr;
    EXPECT_EQ(Support::RunProgram({"qpdf", "--password=" + sPassword, "--check", sFile}).nExitCode, 0);
    return result.sOut;
  }

  // No password is in anything that the command writes.
  void Run(const std::vector<std::string>& arguments, int nExitCode = 0) const
  {
    const TProcessResult result = m_folder.Run(arguments);
    EXPECT_EQ(result.nExitCode, nExitCode) << result.sErr;
    EXPECT_THAT(result.sOut + result.sErr, Not(HasSubstr("secret")));
  }

  CCommandFolder m_folder;
};

TEST_F(CommandEncryption, CiphersAndPermissions)
{
  Run({"--user-password", "secret \xC3\xA4\xE4\xB8\xAD", "large.pdf", "out.pdf"});
  EXPECT_THAT(Show("out.pdf", "secret \xC3\xA4\xE4\xB8\xAD"), HasSubstr("R = 6\nP = -4\n"));

  Run({"--encryption", "aes-128", "--owner-password=secret", "--permissions", "print-low,fill-forms",
       "large.pdf", "out.pdf"});
  const std::string sShown = Show("out.pdf", "");
  EXPECT_THAT(sShown, HasSubstr("AESv2"));
  EXPECT_THAT(sShown, HasSubstr("print low resolution: allowed"));
  EXPECT_THAT(sShown, HasSubstr("print high resolution: not allowed"));
  EXPECT_THAT(sShown, HasSubstr("modify forms: allowed"));
  EXPECT_THAT(sShown, HasSubstr("extract for any purpose: not allowed"));

  Run({"--encryption", "rc4-128", "--owner-password", "secret", "--linearize", "tiny.pdf", "out.pdf"});
  EXPECT_THAT(Show("out.pdf", "secret"), HasSubstr("R = 3"));
  EXPECT_THAT(m_folder.Read("out.pdf"), HasSubstr("/Linearized"));
}

// Those too that the older ciphers have no encoding for.
TEST_F(CommandEncryption, TakesPasswordsAsTheyAreTyped)
{
  for (const char* szCipher : {"rc4-128", "aes-128", "aes-256"})
  {
    for (const std::string sText : {"\xC3\x9F\xE2\x82\xAC", "\xD0\x96\xF0\x9F\x98\x80"})
    {
      SCOPED_TRACE(szCipher + sText);
      Run({"--encryption", szCipher, "--user-password", "secret" + sText, "large.pdf", "locked.pdf"});
      Show("locked.pdf", "secret" + sText);
      Run({"info", "--password", "secret" + sText, "locked.pdf"});
    }
  }
}

TEST_F(CommandEncryption, StaysUnlessItIsRemoved)
{
  Run({"--user-password", "secret", "--owner-password", "secret2", "large.pdf", "locked.pdf"});
  const std::string sShown = Show("locked.pdf", "secret");
  Run({"--allow-larger", "--password", "secret2", "locked.pdf", "kept.pdf"});
  EXPECT_EQ(Show("kept.pdf", "secret"), sShown);
  Run({"--decrypt", "--password", "secret", "kept.pdf", "plain.pdf"});
  EXPECT_THAT(Show("plain.pdf", ""), HasSubstr("not encrypted"));
  Run({"--password", "secret", "--encryption", "aes-128", "--user-password", "other", "kept.pdf", "new.pdf"});
  EXPECT_THAT(Show("new.pdf", "other"), HasSubstr("AESv2"));
}

TEST_F(CommandEncryption, IsToldOfTheInput)
{
  Run({"--encryption", "aes-256", "--user-password", "secret", "--owner-password", "secret2", "--permissions",
       "print-low,fill-forms", "large.pdf", "locked.pdf"});
  const std::string sTold = m_folder.Run({"info", "--password", "secret", "locked.pdf"}).sOut;
  EXPECT_THAT(sTold, HasSubstr("Encryption:    aes-256, key of 256 bits, revision 6\n"));
  EXPECT_THAT(sTold, HasSubstr("Permissions:   print-low, fill-forms\n"));
  EXPECT_THAT(sTold, HasSubstr("Opened by:     user password\n"));
  EXPECT_THAT(m_folder.Run({"info", "--json", "--password", "secret2", "locked.pdf"}).sOut,
              HasSubstr("\"key_length\":256,\"revision\":6,\"permissions\":[\"print-low\",\"fill-forms\"],"
                        "\"password\":\"owner\"}"));
  Run({"--encryption", "rc4-128", "--owner-password", "secret", "large.pdf", "locked.pdf"});
  EXPECT_THAT(m_folder.Run({"info", "locked.pdf"}).sOut, HasSubstr("rc4-128, key of 128 bits, revision 3"));
  EXPECT_THAT(m_folder.Run({"info", "large.pdf"}).sOut, Not(HasSubstr("Encryption:")));
}

TEST_F(CommandEncryption, PasswordsFromFilesAndTheEnvironment)
{
  m_folder.Write("password.txt", "secret\r\nmore\n");
  const CVariable owner("BREVEX_OWNER_PASSWORD", "secret owner");
  Run({"--allow-larger", "tiny.pdf", "plain.pdf"});
  EXPECT_THAT(Show("plain.pdf", ""), HasSubstr("not encrypted"));
  Run({"--encryption", "aes-256", "--user-password-file", "password.txt", "large.pdf", "locked.pdf"});
  Show("locked.pdf", "secret");
  Show("locked.pdf", "secret owner");
  Run({"locked.pdf", "out.pdf"}, 3);
  const CVariable password("BREVEX_PASSWORD", "secret owner");
  Run({"locked.pdf", "out.pdf"});
  Run({"--password-file", "password.txt", "locked.pdf", "out.pdf"});
  Run({"--password", "wrong", "locked.pdf", "out.pdf"}, 3);
}

}  // namespace
