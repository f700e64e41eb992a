// Passwords, checked against another tool's encryption and decryption.

#include <gtest/gtest.h>

#include "tests/documents/Judges.h"
#include "tests/support/Process.h"
#include "tests/support/Samples.h"
#include "tests/support/Saver.h"
#include "tests/support/TempFolder.h"

namespace
{

using Support::CSaver;
using Support::CTempFolder;

// Arguments of qpdf for one kind of encryption.
struct TEncryption
{
  const char* szName;
  std::vector<std::string> arguments;
};

const TEncryption g_encryptions[] = {
    {"RC4 40", {"40", "--"}},
    {"RC4 128", {"128", "--use-aes=n", "--"}},
    {"AES 128", {"128", "--use-aes=y", "--"}},
    {"AES 128, metadata in clear", {"128", "--use-aes=y", "--cleartext-metadata", "--"}},
    {"AES 256", {"256", "--"}},
    {"AES 256, revision 5", {"256", "--force-R5", "--"}},
};

class Encryption : public testing::Test
{
protected:
  void SetUp() override
  {
    if (!Support::HasProgram("qpdf"))
    {
      GTEST_SKIP() << "qpdf is not installed";
    }
  }

  std::string Encrypt(const std::string& sUser, const std::string& sOwner, const TEncryption& encryption)
  {
    Support::WriteFile(m_folder / "plain.pdf", Support::MakePlainSample().sPdf);
    std::vector<std::string> command = {"qpdf", "--allow-weak-crypto", "--encrypt", sUser, sOwner};
    command.insert(command.end(), encryption.arguments.begin(), encryption.arguments.end());
    command.insert(command.end(), {m_folder / "plain.pdf", m_folder / "encrypted.pdf"});
    const Support::TProcessResult result = Support::RunProgram(command);
    EXPECT_EQ(result.nExitCode, 0) << result.sErr;
    return Support::ReadFile(m_folder / "encrypted.pdf");
  }

  CTempFolder m_folder;
};

TEST_F(Encryption, PasswordsOpen)
{
  for (const TEncryption& encryption : g_encryptions)
  {
    SCOPED_TRACE(encryption.szName);
    const std::string sPdf = Encrypt("user", "owner", encryption);
    CSaver saver;
    EXPECT_FALSE(saver.Open(sPdf));
    EXPECT_EQ(saver.GetCode(), BREVEX_STATUS_WRONG_PASSWORD);
    EXPECT_FALSE(saver.Open(sPdf, Support::TRoad::Memory, "wrong"));
    for (const char* szPassword : {"user", "owner"})
    {
      ASSERT_TRUE(saver.Open(sPdf, Support::TRoad::Memory, szPassword)) << szPassword;
      const std::string sOut = saver.Save().value_or("");
      EXPECT_TRUE(Documents::Reopens(sOut, 3));
      EXPECT_TRUE(Documents::IsSound(sOut));
      EXPECT_TRUE(Documents::HasTextOfPages(sOut, 3));
    }
  }
}

TEST_F(Encryption, EmptyUserPasswordOpens)
{
  for (const TEncryption& encryption : g_encryptions)
  {
    SCOPED_TRACE(encryption.szName);
    CSaver saver;
    EXPECT_TRUE(saver.Open(Encrypt("", "owner", encryption)));
    EXPECT_TRUE(Documents::IsSound(saver.Save().value_or("")));
  }
}

TEST_F(Encryption, SavedWithPasswords)
{
  CSaver saver;
  ASSERT_TRUE(saver.Open(Support::MakePlainSample().sPdf));
  const std::string sName = m_folder / "out.pdf";
  ASSERT_TRUE(BrevexSaveAsA(saver.Get(), sName.c_str(), "user", "owner", BREVEX_PERMIT_PRINT))
      << saver.GetCode();
  EXPECT_NE(Support::RunProgram({"qpdf", "--check", sName}).nExitCode, 0);
  for (const char* szPassword : {"user", "owner"})
  {
    const auto result =
        Support::RunProgram({"qpdf", "--check", std::string("--password=") + szPassword, sName});
    EXPECT_EQ(result.nExitCode, 0) << result.sErr;
    EXPECT_TRUE(saver.Open(Support::ReadFile(sName), Support::TRoad::Memory, szPassword));
    EXPECT_EQ(BrevexGetPageCount(saver.Get()), 3);
  }
}

}  // namespace
