// What a copy keeps of the ciphers of its input.

#include "document/ContextDocumentCopierNonRec.h"
#include "pdf/linearize/Linearizer.h"
#include "tests/pdf/CryptSample.h"

namespace PDF
{
namespace
{

class CCopier : public CContextDocumentCopierNonRec
{
public:
  CCopier() : CContextDocumentCopierNonRec(nullptr)
  {
    m_nOutputCipher = eCipherInput;
    m_pLinearizer = GetLinearizer(false);
  }

  std::string Copy(const std::string& bytes, bool bPasswords, bool bLinearize)
  {
    const CString password("user");
    m_bLinearize = bLinearize;
    EXPECT_TRUE(Open(MakeStream(bytes).Get(), &password));
    TEncryption encryption;
    encryption.m_nPermissions = -2;
    if (bPasswords)
    {
      encryption.m_userPassword = CTextString("user");
      encryption.m_ownerPassword = CTextString("owner");
    }
    const BSE::CObjectPtr<BSE::IByteStream> pOutput(new BSE::CMemoryStream);
    EXPECT_TRUE(Save(pOutput.Get(), encryption));
    return GetBytes(*pOutput);
  }
};

TEST(EncryptedCopy, KeepsTheCipherOfEmbeddedFiles)
{
  const char* const szIdentity = "Identity";
  const TEncryption encryptions[] = {
      MakeEncryption(128, "AESV2", "AESV2", "V2"), MakeEncryption(128, szIdentity, szIdentity, "AESV2"),
      MakeEncryption(256, "AESV3", "AESV3", szIdentity), MakeEncryption(256, szIdentity, "AESV3", "AESV3"),
      MakeEncryption(128, "AESV2", "AESV2", nullptr)};
  for (const TEncryption& encryption : encryptions)
    for (const bool bNamed : {false, true})
      for (const bool bPasswords : {false, true})
        for (const bool bLinearize : {false, true})
        {
          const std::string embedded = encryption.m_szEmbeddedCrypt ? encryption.m_szEmbeddedCrypt : "";
          std::string bytes = MakeCryptSample(encryption);
          const std::size_t nName = bytes.find("/EFF /");
          if (bNamed && nName != std::string::npos)
            bytes = NameCryptFilter(bytes, bytes.substr(nName + 6, bytes.find('\n', nName) - nName - 6));
          const std::string copy = CCopier().Copy(bytes, bPasswords, bLinearize);
          SCOPED_TRACE(embedded + (bNamed ? " named" : "") + (bPasswords ? " passwords" : "") +
                       (bLinearize ? " linearized" : ""));
          EXPECT_EQ(ReadCryptSample(copy, "user"), "Stream\nEmbedded\nSecret");
          EXPECT_EQ(ReadCryptSample(copy, ""), "closed");
          EXPECT_EQ(copy.find("/Linearized") != std::string::npos, bLinearize);
          if (embedded != szIdentity && !bNamed)
          {
            EXPECT_EQ(copy.find("456D626564646564>"), std::string::npos) << "was encrypted in the input";
          }
          const bool bDiffers = nName != std::string::npos && !bLinearize;
          EXPECT_EQ(copy.find("/EFF") != std::string::npos, bDiffers);
          ExpectCryptSampleForOthers(copy);
        }
}

// A cipher that only streams with a crypt filter of their own have becomes that of all streams.
TEST(EncryptedCopy, LeavesNoStreamPlainThatWasEncrypted)
{
  std::string bytes = MakeCryptSample(MakeEncryption(128, "Identity", "Identity", "AESV2"));
  bytes = NameCryptFilter(bytes, "StdCF");
  bytes.replace(bytes.find("/EFF"), 4, "/Own");
  for (const bool bLinearize : {false, true})
  {
    const std::string copy = CCopier().Copy(bytes, false, bLinearize);
    EXPECT_EQ(copy.find("456D626564646564>"), std::string::npos);
    EXPECT_EQ(ReadCryptSample(copy, "owner"), "Stream\nEmbedded\nSecret");
    ExpectCryptSampleForOthers(copy);
  }
}

}  // namespace
}  // namespace PDF
