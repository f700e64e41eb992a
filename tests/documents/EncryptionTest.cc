// Documents that another tool encrypted.

#include <gtest/gtest.h>

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

TEST_F(Encryption, StaysClosedWithoutItsPassword)
{
  for (const TEncryption& encryption : g_encryptions)
  {
    SCOPED_TRACE(encryption.szName);
    const std::string sPdf = Encrypt("user", "owner", encryption);
    for (const char* szPassword : {static_cast<const char*>(nullptr), "", "wrong"})
    {
      CSaver saver;
      EXPECT_FALSE(saver.Open(sPdf, Support::TRoad::Memory, szPassword));
      EXPECT_TRUE(BREVEX_STATUS_IS_ERROR(saver.GetCode())) << std::hex << saver.GetCode();
      EXPECT_FALSE(saver.Save());
    }
  }
}

}  // namespace
