// Encrypted documents: those of another tool, and what a save makes of them and of plain ones.

#include <gmock/gmock.h>

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
  const char* szShown;  // what qpdf says of it
};

const TEncryption g_encryptions[] = {
    {"RC4 40", {"40", "--"}, "R = 2"},
    {"RC4 128", {"128", "--use-aes=n", "--"}, "R = 3"},
    {"AES 128", {"128", "--use-aes=y", "--"}, "AESv2"},
    {"AES 128, metadata in clear", {"128", "--use-aes=y", "--cleartext-metadata", "--"}, "AESv2"},
    {"AES 256", {"256", "--"}, "R = 6"},
    {"AES 256, revision 5", {"256", "--force-R5", "--"}, "R = 5"},
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

  // What qpdf says of the encryption; the document is sound for it and has the text of its sample.
  std::string Show(const std::string& sPdf, const std::string& sPassword)
  {
    const std::string sFile = m_folder / "shown.pdf";
    Support::WriteFile(sFile, sPdf);
    const std::string sArgument = "--password=" + sPassword;
    const auto check = Support::RunProgram({"qpdf", sArgument, "--check", sFile});
    EXPECT_EQ(check.nExitCode, 0) << check.sErr;
    Support::RunProgram({"qpdf", sArgument, "--decrypt", sFile, m_folder / "plain.pdf"});
    EXPECT_TRUE(Documents::HasTextOfPages(Support::ReadFile(m_folder / "plain.pdf"), 3));
    if (Support::HasProgram("mutool"))
    {
      EXPECT_EQ(Support::RunProgram({"mutool", "show", "-p", sPassword, sFile, "trailer/Root"}).nExitCode, 0);
    }
    return Support::RunProgram({"qpdf", sArgument, "--show-encryption", sFile}).sOut;
  }

  CTempFolder m_folder;
};

bool Opens(const std::string& sPdf, const char* szPassword)
{
  CSaver saver;
  const bool bOpen = saver.Open(sPdf, Support::TRoad::Memory, szPassword);
  EXPECT_EQ(saver.GetCode(), bOpen ? BREVEX_STATUS_SUCCESS : BREVEX_STATUS_WRONG_PASSWORD);
  return bOpen;
}

struct TCipher
{
  int nCipher;
  const char* szShown;
  const char* szVersion;
};

// Sums of flags are written with their unused bits as the caller gave them.
constexpr int g_nPrintAndCopy = static_cast<int>(0xFFFFF0C0U) | BREVEX_PERMIT_PRINT | BREVEX_PERMIT_COPY;

TEST_F(Encryption, IsWrittenAsTold)
{
  for (const TCipher& cipher : {TCipher{BREVEX_CIPHER_UNSPECIFIED, "R = 3", "1.4"},
                                {BREVEX_CIPHER_RC4_128, "R = 3", "1.4"},
                                {BREVEX_CIPHER_AES_128, "AESv2", "1.6"},
                                {BREVEX_CIPHER_AES_256, "R = 6", "2.0"},
                                {BREVEX_CIPHER_AS_INPUT, "R = 3", "1.4"}})
  {
    for (const bool bLinearize : {false, true})
    {
      SCOPED_TRACE(std::to_string(cipher.nCipher) + (bLinearize ? " linearized" : ""));
      CSaver saver;
      BrevexSetLinearize(saver.Get(), bLinearize);
      BrevexSetOutputCipher(saver.Get(), cipher.nCipher);
      ASSERT_TRUE(saver.Open(Support::MakePlainSample().sPdf));
      const auto sPdf = saver.SaveEncrypted("user", "owner", g_nPrintAndCopy);
      ASSERT_TRUE(sPdf) << std::hex << saver.GetCode();
      EXPECT_GE(sPdf->substr(5, 3), cipher.szVersion);
      EXPECT_EQ(sPdf->find("/Linearized") != std::string::npos, bLinearize);
      EXPECT_TRUE(Opens(*sPdf, "user") && Opens(*sPdf, "owner"));
      EXPECT_FALSE(Opens(*sPdf, nullptr) || Opens(*sPdf, "User"));
      Show(*sPdf, "owner");
      const std::string sShown = Show(*sPdf, "user");
      EXPECT_THAT(sShown, testing::HasSubstr(cipher.szShown));
      EXPECT_THAT(sShown, testing::HasSubstr("P = " + std::to_string(g_nPrintAndCopy) + "\n"));
      EXPECT_THAT(sShown, testing::HasSubstr("modify anything: not allowed"));
    }
  }
}

TEST_F(Encryption, PermissionsWithoutFlags)
{
  CSaver saver;
  ASSERT_TRUE(saver.Open(Support::MakePlainSample().sPdf));
  for (const int nPermissions : {BREVEX_PERMISSIONS_PLAIN, BREVEX_PERMISSIONS_AS_INPUT})
  {
    const auto sPlain = saver.SaveEncrypted("", nullptr, nPermissions);
    ASSERT_TRUE(sPlain);
    EXPECT_EQ(sPlain->find("/Encrypt"), std::string::npos);
    const auto sPdf = saver.SaveEncrypted(nullptr, "owner", nPermissions);
    ASSERT_TRUE(sPdf);
    EXPECT_THAT(Show(*sPdf, ""), testing::HasSubstr("P = 3900\n"));
  }
  const auto sPdf = saver.SaveEncrypted(nullptr, nullptr, BREVEX_PERMIT_PRINT);
  ASSERT_TRUE(sPdf);
  EXPECT_THAT(Show(*sPdf, ""), testing::HasSubstr("P = 4\n"));
}

// The cipher and the permissions, with passwords of the caller or with those of the input.
TEST_F(Encryption, IsTakenOver)
{
  for (const TEncryption& encryption : g_encryptions)
  {
    SCOPED_TRACE(encryption.szName);
    const std::string sInput = Encrypt("user", "owner", encryption);
    const std::string sKnown = Show(sInput, "user");
    const size_t nPermissions = sKnown.find("P = ");
    ASSERT_NE(nPermissions, std::string::npos);
    const std::string sPermissions =
        sKnown.substr(nPermissions, sKnown.find('\n', nPermissions) + 1 - nPermissions);
    for (const char* szPassword : {"user", "owner"})
    {
      CSaver saver;
      ASSERT_TRUE(saver.Open(sInput, Support::TRoad::Memory, szPassword));
      const auto sNew = saver.SaveEncrypted("new", nullptr, BREVEX_PERMISSIONS_AS_INPUT);
      ASSERT_TRUE(sNew);
      EXPECT_FALSE(Opens(*sNew, "user") || Opens(*sNew, "owner"));
      const std::string sShown = Show(*sNew, "new");
      EXPECT_THAT(sShown, testing::HasSubstr(sPermissions));
      const std::string sMethod = encryption.szShown == std::string("R = 5") ? "R = 6" : encryption.szShown;
      EXPECT_THAT(sShown, testing::HasSubstr(sMethod));

      BrevexSetOutputCipher(saver.Get(), BREVEX_CIPHER_AS_INPUT);
      const auto sKept = saver.SaveEncrypted(nullptr, nullptr, BREVEX_PERMISSIONS_AS_INPUT);
      ASSERT_TRUE(sKept);
      EXPECT_TRUE(Opens(*sKept, "user") && Opens(*sKept, "owner"));
      EXPECT_FALSE(Opens(*sKept, nullptr));
      EXPECT_EQ(Show(*sKept, "user"), sKnown);
    }
  }
}

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

// What cannot be read fails the save: neither ciphertext nor half a stream goes into the output.
TEST_F(Encryption, ReadsThatFail)
{
  for (const TEncryption& encryption : g_encryptions)
  {
    SCOPED_TRACE(encryption.szName);
    const std::string sPdf = Encrypt("user", "owner", encryption);
    const auto nSize = static_cast<std::int64_t>(sPdf.size());
    for (std::int64_t nBytes = 0; nBytes < 3 * nSize; nBytes += nSize / 30 + 1)
    {
      Support::CByteStream input(sPdf);
      input.FailAfter(nBytes);
      TBrevexStreamDescriptor descriptor = input.GetDescriptor();
      CSaver saver;
      if (BrevexOpenStreamA(saver.Get(), &descriptor, "user") == 0)
      {
        EXPECT_TRUE(BREVEX_STATUS_IS_ERROR(saver.GetCode())) << nBytes;
        continue;
      }
      const auto sOut = saver.Save();
      EXPECT_TRUE(!sOut || Documents::HasTextOfPages(*sOut, 3)) << nBytes;
      BrevexClose(saver.Get());
    }
  }
}

}  // namespace
