#include "pdf/StandardSecurityHandler.h"

#include "base/ErrorHandler.h"
#include "pdf/CryptFilter.h"
#include "tests/pdf/CryptSample.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <string>
#include <vector>

namespace PDF
{
namespace
{

const char* const g_szId = "0123456789abcdef";

CString FromHex(const std::string& hex)
{
  std::string bytes;
  for (std::size_t i = 0; i < hex.size(); i += 2)
    bytes += static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16));
  return CString(bytes.data(), static_cast<int>(bytes.size()));
}

std::string ToText(const CString& value)
{
  return std::string(reinterpret_cast<const char*>(value.GetData()),
                     static_cast<std::size_t>(value.GetLength()));
}

CObjectPtr MakeHex(const char* szHex)
{
  return new CStringObject(FromHex(szHex));
}

CObjectPtr MakeCryptFilters(const char* szMethod)
{
  return MakeDictionary({{"StdCF", MakeDictionary({{"CFM", MakeName(szMethod)}})}});
}

// Values that another writer made for the passwords "user" and "owner", and a string of object 1.
struct TKnownFile
{
  int m_nV;
  int m_nR;
  int m_nLength;
  const char* m_szMethod;
  bool m_bEncryptMetadata;
  const char* m_szO;
  const char* m_szU;
  const char* m_szOE;
  const char* m_szUE;
  const char* m_szString;
};

const TKnownFile g_knownFiles[] = {
    {1, 2, 40, nullptr, true, "94e8094419662a774442fb072e3d9f19e9d130ec09a4d0061e78fe920f7ab62f",
     "76ca91e329fa928551771a26e5fc48d9d147e1613e07cb56f73245e2af4373b2", "", "", "cc6b14109fd26a"},
    {2, 3, 128, nullptr, true, "0ba3835f88f90388e74e54584125ce142be0de24c6b0d37746e075b891756671",
     "2631991ca1f681670aba5dedd81f812b0122456a91bae5134273a6db134c87c4", "", "", "7b584d700c3955"},
    {4, 4, 128, "V2", true, "0ba3835f88f90388e74e54584125ce142be0de24c6b0d37746e075b891756671",
     "2631991ca1f681670aba5dedd81f812b0122456a91bae5134273a6db134c87c4", "", "", "7b584d700c3955"},
    {4, 4, 128, "AESV2", false, "0ba3835f88f90388e74e54584125ce142be0de24c6b0d37746e075b891756671",
     "d9e5eb44fa6dec4aaa0322a1bbf464ae0122456a91bae5134273a6db134c87c4", "", "",
     "5c571f291e5a50c786286f439470a5a6fc4fa3ffcfe1bb487bfa0bae1977c157"},
    {5, 5, 256, "AESV3", true,
     "eb25c603bc5e62bd8ea58854efbba3e9c8b81f7e8992bf2e3b5c95e7957a7564d39d45f46f656f30c4d7860e6c7ebecc",
     "b4d8ceafa5468449c9600515bcc02389cef5cd10080b412c91715fd5d63dca57204958af53f68bfb2c6a920507e1b896",
     "41ac808b42715b9fb23c6d9b42fc7ca18bb4eac49bf9983d6f1a11e4ce40bb83",
     "2729bdfc3b75bedb24756d96638bd556c69d01bb69606e53cae67ac5f70b966c",
     "4bbcffc353d2566910809dc5fa698558b0c91c5cc433178585d0046050164dba"},
    {5, 6, 256, "AESV3", true,
     "27e03944c7fe6f7b98dc2c9252d661d744e6e282c9455492f14d2eaea51611f2c48ac9dd42aed1fad24300c346695419",
     "5c3ef2865ffd36df90f6796e078631ba2302d241c9e1cbee09e3f4ca9f4531f0efd0ae851b8e3205d8ec9d563524b23b",
     "84ba908be8576f6014c118075429bac271b0954ef5f150ebcbdfb468ecf6ff8c",
     "76c48b0b6ef97d65faecebecf2629fd9bc6082e69c4c3b7667aa5cffa0b83a7c",
     "3aa5dd762504d5ea55d8d4b4865434a8fe770c39ed77c4a6f3f566f6f96a23b1"},
};

CObjectPtr MakeEncrypt(const TKnownFile& known)
{
  const CObjectPtr encrypt = MakeDictionary({{"Filter", MakeName("Standard")},
                                             {"V", MakeInteger(known.m_nV)},
                                             {"R", MakeInteger(known.m_nR)},
                                             {"Length", MakeInteger(known.m_nLength)},
                                             {"P", MakeInteger(0xFFFFFFFC)},
                                             {"O", MakeHex(known.m_szO)},
                                             {"U", MakeHex(known.m_szU)},
                                             {"OE", MakeHex(known.m_szOE)},
                                             {"UE", MakeHex(known.m_szUE)}});
  if (known.m_szMethod)
  {
    encrypt->AddEntry("CF", MakeCryptFilters(known.m_szMethod).Get());
    encrypt->AddEntry("StmF", MakeName("Identity").Get());
    encrypt->AddEntry("StrF", MakeName("StdCF").Get());
  }
  if (!known.m_bEncryptMetadata)
    encrypt->AddEntry("EncryptMetadata", new CBooleanObject(false));
  return encrypt;
}

TEST(SecurityHandler, OpensKnownFilesWithEitherPassword)
{
  for (const TKnownFile& known : g_knownFiles)
    for (const char* szPassword : {"user", "owner", "wrong", ""})
    {
      SCOPED_TRACE(std::to_string(known.m_nR) + szPassword);
      const auto pHandler = CStandardSecurityHandler::Open(MakeEncrypt(known), CString(g_szId), nullptr);
      ASSERT_TRUE(pHandler);
      const CString password(szPassword);
      const bool bRight = password == CString("user") || password == CString("owner");
      ASSERT_EQ(pHandler->Authenticate(&password), bRight);
      EXPECT_EQ(pHandler->IsValid(), bRight);
      if (bRight)
      {
        EXPECT_EQ(ToText(pHandler->DecryptString(FromHex(known.m_szString), 1, 0)), "hello \xA9");
      }
      // StmF is Identity: stream data stays as it stands.
      const BSE::CObjectPtr<BSE::IByteStream> pData(MakeStream("data"));
      if (known.m_szMethod)
      {
        EXPECT_EQ(pHandler->CreateDecryptFilter(pData.Get(), 1, 0, nullptr).Get(), pData.Get());
      }
      EXPECT_EQ(pHandler->IsExempt(*MakeDictionary({{"Type", MakeName("Metadata")}})),
                !known.m_bEncryptMetadata);
      EXPECT_FALSE(pHandler->IsExempt(*MakeDictionary({{"Type", MakeName("XRef")}})));
    }
}

TEST(SecurityHandler, RefusesWhatItDoesNotKnow)
{
  const auto expectRefusal = [](const CObjectPtr& encrypt, unsigned nCode)
  {
    BSE::CErrorHandler errors;
    EXPECT_FALSE(CStandardSecurityHandler::Open(encrypt, CString(g_szId), &errors));
    EXPECT_EQ(errors.GetLastCode(), nCode);
  };
  const auto alter = [](const TKnownFile& known, const char* szKey, const CObjectPtr& value)
  {
    const CObjectPtr encrypt = MakeEncrypt(known);
    encrypt->AddEntry(szKey, value.Get());
    return encrypt;
  };
  const TKnownFile& old = g_knownFiles[1];
  const TKnownFile& aes = g_knownFiles[3];
  const TKnownFile& aes256 = g_knownFiles[5];
  expectRefusal(alter(old, "Filter", MakeName("Own")), 0x80410118);
  // A handler of another name is not asked for its form; the standard one has none with public keys.
  expectRefusal(MakeDictionary({{"Filter", MakeName("Own")}, {"SubFilter", MakeName("adbe.pkcs7.s5")}}),
                0x80410118);
  for (const char* szForm : {"adbe.pkcs7.s3", "adbe.pkcs7.s4", "adbe.pkcs7.s5"})
    expectRefusal(alter(aes, "SubFilter", MakeName(szForm)), 0x80410119);
  for (const int nV : {-1, 0, 3, 6})
    expectRefusal(alter(old, "V", MakeInteger(nV)), 0x80410119);
  expectRefusal(alter(old, "R", MakeInteger(7)), 0x80410119);
  expectRefusal(alter(aes256, "R", MakeInteger(4)), 0x80410119);
  expectRefusal(alter(aes, "StmF", MakeName("Missing")), 0x80410119);
  expectRefusal(alter(aes, "CF", MakeCryptFilters("AESV3")), 0x80410119);
  expectRefusal(alter(aes256, "CF", MakeCryptFilters("AESV2")), 0x80410119);
  expectRefusal(CObjectPtr(), 0x80410118);
}

TEST(SecurityHandler, SurvivesDamagedValues)
{
  for (const TKnownFile& known : g_knownFiles)
    for (const char* szKey : {"O", "U", "OE", "UE", "Length", "P"})
    {
      const CObjectPtr encrypt = MakeEncrypt(known);
      encrypt->AddEntry(szKey, MakeHex("00").Get());
      const auto pHandler = CStandardSecurityHandler::Open(encrypt, CString(), nullptr);
      if (pHandler)
      {
        EXPECT_FALSE(pHandler->Authenticate(nullptr));
      }
    }
  const auto pHandler =
      CStandardSecurityHandler::Open(MakeEncrypt(g_knownFiles[3]), CString(g_szId), nullptr);
  const CString user("user");
  ASSERT_TRUE(pHandler->Authenticate(&user));
  const CString whole = FromHex(g_knownFiles[3].m_szString);
  for (const int nLength : {0, 1, 15, 16, 17, 31})
    EXPECT_TRUE(pHandler->DecryptString(CString(whole.GetData(), nLength), 1, 0).IsEmpty()) << nLength;
  EXPECT_FALSE(pHandler->DecryptString(whole, 2, 0) == CString("hello \xA9"));
}

struct TForm
{
  int m_nKeyLength;
  const char* m_szStreamCrypt;
  const char* m_szStringCrypt;
  int m_nV;
  int m_nR;
};

const TForm g_forms[] = {
    {40, nullptr, nullptr, 1, 2},  {48, nullptr, nullptr, 2, 3},     {56, nullptr, nullptr, 2, 3},
    {64, nullptr, nullptr, 2, 3},  {96, nullptr, nullptr, 2, 3},     {120, nullptr, nullptr, 2, 3},
    {128, nullptr, nullptr, 2, 3}, {128, "V2", nullptr, 4, 4},       {128, "AESV2", "AESV2", 4, 4},
    {128, "AESV2", "V2", 4, 4},    {128, "Identity", "AESV2", 4, 4}, {128, "RC4", "Identity", 4, 4},
    {256, nullptr, nullptr, 5, 6}, {256, "AESV3", "Identity", 5, 6},
};

TEST(SecurityHandler, RefusesParametersThatDoNotFit)
{
  const TForm cases[] = {{48 + 1, nullptr, nullptr, 0, 0}, {32, nullptr, nullptr, 0, 0},
                         {136, nullptr, nullptr, 0, 0},    {64, "AESV2", nullptr, 0, 0},
                         {128, "AESV3", nullptr, 0, 0},    {256, "AESV2", nullptr, 0, 0},
                         {128, "AESV2", "Other", 0, 0}};
  for (const TForm& form : cases)
  {
    BSE::CErrorHandler errors;
    TEncryption encryption;
    encryption.m_nKeyLength = form.m_nKeyLength;
    encryption.m_szStreamCrypt = form.m_szStreamCrypt;
    encryption.m_szStringCrypt = form.m_szStringCrypt;
    EXPECT_FALSE(CStandardSecurityHandler::Create(encryption, CString(g_szId), &errors)) << form.m_nKeyLength;
    EXPECT_EQ(errors.GetLastCode(), g_nInvalidEncryption);
  }
}

// Lengths around a block and around the filters' buffer.
const int g_lengths[] = {0, 1, 15, 16, 17, 8175, 8176, 8191, 8192, 8193, 30000};

std::string MakeData(int nLength)
{
  std::string text;
  for (int i = 0; i < nLength; ++i)
    text += static_cast<char>(i * 31 + i / 256);
  return text;
}

std::string WriteEncrypted(const TEncryption& encryption, bool bObjectStreams)
{
  return WriteEncryptedFile(encryption, bObjectStreams,
                            [](CFile& file)
                            {
                              const CObjectPtr streams = MakeArray({});
                              for (const int nLength : g_lengths)
                              {
                                AddStream(file, "Last", MakeDictionary({{"Name", MakeString("stream's")}}),
                                          MakeStreamObject(MakeData(nLength)));
                                streams->Add(file.GetRoot()["Last"].Get());
                              }
                              file.GetRoot()->AddEntry("Streams", streams.Get());
                              file.GetRoot()->AddEntry("Secret", MakeString("a string").Get());
                            });
}

void ExpectReadable(const std::string& bytes, const CString& password, const TForm& form)
{
  BSE::CErrorHandler errors;
  CFile file(&errors);
  ASSERT_TRUE(file.Open(MakeStream(bytes).Get()));
  ASSERT_TRUE(file.Authenticate(&password));
  const CObjectPtr root = file.GetRoot();
  EXPECT_EQ(ToText(root["Secret"].GetStringValue()), "a string");
  EXPECT_EQ(file.GetEncrypt()["V"].GetIntegerValue(), form.m_nV);
  EXPECT_EQ(file.GetEncrypt()["R"].GetIntegerValue(), form.m_nR);
  const CObjectPtr streams = root["Streams"];
  for (int i = 0; i < static_cast<int>(std::size(g_lengths)); ++i)
  {
    const auto pData = streams[i].GetStream();
    ASSERT_TRUE(pData);
    EXPECT_EQ(GetBytes(*pData), MakeData(g_lengths[i])) << g_lengths[i];
    EXPECT_EQ(ToText(streams[i]["Name"].GetStringValue()), "stream's");
  }
  EXPECT_EQ(errors.GetLastCode(), 0U);
}

// Up to revision 4 the values depend on the identifier of the file.
TEST(SecurityHandler, MovesToAnotherFileWithItsPasswords)
{
  for (const TForm& form : g_forms)
    for (const char* szPassword : {"user", "owner"})
    {
      SCOPED_TRACE(std::to_string(form.m_nKeyLength) + szPassword);
      TEncryption encryption;
      encryption.m_userPassword = CTextString("user");
      encryption.m_ownerPassword = CTextString("owner");
      encryption.m_nKeyLength = form.m_nKeyLength;
      encryption.m_szStreamCrypt = form.m_szStreamCrypt;
      encryption.m_szStringCrypt = form.m_szStringCrypt;
      const CObjectPtr first(new CDictionaryObject);
      CStandardSecurityHandler::Create(encryption, CString(g_szId), nullptr)->Write(*first);
      const auto pOpened = CStandardSecurityHandler::Open(first, CString(g_szId), nullptr);
      EXPECT_FALSE(pOpened->CreateAlike(CString("other"), false, nullptr)) << "not authenticated";
      const CString password(szPassword);
      ASSERT_TRUE(pOpened->Authenticate(&password));
      const auto pMoved = pOpened->CreateAlike(CString("other"), false, nullptr);
      ASSERT_TRUE(pMoved);
      const CString value = pMoved->EncryptString(CString("text"), 3, 0);
      const CObjectPtr second(new CDictionaryObject);
      pMoved->Write(*second);
      for (const char* szOther : {"user", "owner"})
      {
        const auto pReader = CStandardSecurityHandler::Open(second, CString("other"), nullptr);
        const CString other(szOther);
        EXPECT_TRUE(pReader->Authenticate(&other)) << szOther;
        EXPECT_EQ(ToText(pReader->DecryptString(value, 3, 0)), "text") << szOther;
      }
      EXPECT_FALSE(CStandardSecurityHandler::Open(second, CString("other"), nullptr)->Authenticate(nullptr));
    }
}

// A Crypt filter that is Identity keeps one stream plain, and a plain metadata stream is read as such.
TEST(SecurityHandler, LeavesPlainStreamsAlone)
{
  TEncryption encryption;
  encryption.m_szStreamCrypt = "AESV2";
  encryption.m_bEncryptMetadata = false;
  const std::string bytes = WriteEncryptedFile(
      encryption, false,
      [](CFile& file)
      {
        const auto data = [] { return new CEmbeddedStreamObject(MakeStream("plain data").Get(), 0, 10); };
        AddStream(file, "Plain", MakeDictionary({{"Filter", MakeArray({MakeName("Crypt")})}}), data());
        AddStream(file, "Metadata", MakeDictionary({{"Type", MakeName("Metadata")}}), data());
      });
  CFile file(nullptr);
  ASSERT_TRUE(OpenCryptSample(file, bytes, ""));
  for (const char* szKey : {"Plain", "Metadata"})
  {
    const auto pData = file.GetRoot()[szKey].GetDecodedStream();
    ASSERT_TRUE(pData) << szKey;
    EXPECT_EQ(GetBytes(*pData), "plain data") << szKey;
  }
}

// An independent reader, where one is installed, decrypts the file and finds it sound.
void ExpectSoundForOthers(const std::string& bytes, const char* szPassword)
{
  if (std::system("command -v qpdf >/dev/null 2>&1") != 0)
    return;
  const std::string path = testing::TempDir() + "brevex_encrypted_" + std::to_string(getpid()) + ".pdf";
  std::ofstream(path, std::ios::binary) << bytes;
  const std::string check =
      "qpdf --check --password='" + std::string(szPassword) + "' '" + path + "' >/dev/null 2>&1";
  EXPECT_EQ(std::system(check.c_str()), 0) << szPassword;
  const std::string plain = "qpdf --qdf --decrypt --password='" + std::string(szPassword) + "' '" + path +
                            "' - | grep -aq '(a string)'";
  EXPECT_EQ(std::system(plain.c_str()), 0) << szPassword;
  std::remove(path.c_str());
}

TEST(SecurityHandler, WritesWhatItAndOthersRead)
{
  for (const TForm& form : g_forms)
    for (const bool bObjectStreams : {false, true})
    {
      SCOPED_TRACE(std::to_string(form.m_nKeyLength) + " " +
                   (form.m_szStreamCrypt ? form.m_szStreamCrypt : "") + " " +
                   (form.m_szStringCrypt ? form.m_szStringCrypt : ""));
      TEncryption encryption;
      encryption.m_userPassword = CTextString("user");
      encryption.m_ownerPassword = CTextString("owner");
      encryption.m_nPermissions = -1084;
      encryption.m_nKeyLength = form.m_nKeyLength;
      encryption.m_szStreamCrypt = form.m_szStreamCrypt;
      encryption.m_szStringCrypt = form.m_szStringCrypt;
      const std::string bytes = WriteEncrypted(encryption, bObjectStreams);
      const bool bPlainString = form.m_szStringCrypt && std::string(form.m_szStringCrypt) == "Identity";
      if (!bObjectStreams)
      {
        EXPECT_EQ(bytes.find("stream's") != std::string::npos ||
                      bytes.find("73747265616D2773") != std::string::npos,
                  bPlainString);
      }
      ExpectReadable(bytes, CString("user"), form);
      ExpectReadable(bytes, CString("owner"), form);
      ExpectSoundForOthers(bytes, "user");
      ExpectSoundForOthers(bytes, "owner");

      BSE::CErrorHandler errors;
      CFile file(&errors);
      EXPECT_TRUE(file.Open(MakeStream(bytes).Get()));
      const CString wrong("other");
      EXPECT_FALSE(file.Authenticate(&wrong));
      EXPECT_EQ(errors.GetLastCode(), 0x80410112U);
    }
}

// Between 40 and 128 bits some writers hash whole digests for the owner's key, and not as much as the key
// has.
TEST(SecurityHandler, FindsTheOwnerOfEitherReading)
{
  // O hides "user" from "owner", and U is that of "user", for the identifier g_szId and 64 bits.
  const struct
  {
    const char* m_szO;
    const char* m_szU;
    const char* m_szKey;
  } cases[] = {{"c72a52a5d0d5489d9d674ab6a9a8c5bd0c1adad9602807eb1f52867fedb2cd61",
                "dbaa6d1766348bac51a30280f73603b8", "b154c4fa82bf6160"},
               {"808b6846e0e99aee3b4dec725c7deb74982fc6c0b56891fc8add0a28ba8cdfe2",
                "88939913faeab2ace6528c8eca118067", "2aa60e94cb16a427"}};
  for (const auto& c : cases)
  {
    TSecurityValues values;
    values.m_nV = 2;
    values.m_nR = 3;
    values.m_nKeyLength = 8;
    values.m_nPermissions = -4;
    values.m_id1.Append(CString(g_szId).GetSpan());
    std::ranges::copy(FromHex(c.m_szO).GetSpan(), values.m_O);
    std::ranges::copy(FromHex(c.m_szU).GetSpan(), values.m_U);
    TByteArray key;
    EXPECT_TRUE(FindKey(values, CString("owner").GetSpan(), key));
    EXPECT_TRUE(std::ranges::equal(key.GetSpan(), FromHex(c.m_szKey).GetSpan()));
    EXPECT_TRUE(IsOwnerPassword(values, CString("owner").GetSpan()));
    EXPECT_FALSE(IsOwnerPassword(values, CString("user").GetSpan()));
    EXPECT_FALSE(FindKey(values, CString("Owner").GetSpan(), key));
    ASSERT_TRUE(MoveKey(values, CString("owner").GetSpan(), CString("other").GetSpan(), key));
    EXPECT_TRUE(FindKey(values, CString("user").GetSpan(), key));
  }
}

// Keys that are shorter or longer than those of their version: what opens them says.
TEST(SecurityHandler, FindsTheLengthOfTheKey)
{
  const struct
  {
    int m_nV;
    int m_nR;
    int m_nKey;
    int m_nLength;        // of the dictionary, in bits
    int m_nFilterLength;  // in bytes
  } cases[] = {{4, 4, 5, 128, 5},    {4, 4, 10, 80, 10},  {4, 4, 10, 128, 80}, {4, 4, 5, 40, 16},
               {1, 3, 16, 128, 128}, {1, 3, 16, 40, 128}, {2, 3, 16, 40, 128}};
  // U for no password, an O of zeros and no permissions, and "text" in object 3, for each length.
  const std::map<int, std::pair<const char*, const char*>> values = {
      {5, {"f0edf34b214fdea0c4e771cba5009365", "f1bd4df9"}},
      {10, {"0dd84f5d0a72204b25046e950240466d", "7838566e"}},
      {16, {"a80f35fa1942742176d76977160fcbaf", "114c22e3"}}};
  const std::string zeros(32, '0');
  for (const auto& c : cases)
  {
    SCOPED_TRACE(std::to_string(c.m_nV) + " " + std::to_string(c.m_nKey) + " " + std::to_string(c.m_nLength));
    const auto& [szU, szText] = values.at(c.m_nKey);
    const std::string sU = szU + zeros;
    const std::string sO = zeros + zeros;
    const TKnownFile known = {c.m_nV, c.m_nR, c.m_nLength, "V2", true, sO.c_str(), sU.c_str(), "", "", ""};
    const CObjectPtr encrypt = MakeEncrypt(known);
    encrypt["CF"]["StdCF"]->AddEntry("Length", MakeInteger(c.m_nFilterLength).Get());
    const auto pHandler = CStandardSecurityHandler::Open(encrypt, CString(g_szId), nullptr);
    ASSERT_TRUE(pHandler);
    const CString wrong("wrong");
    EXPECT_FALSE(pHandler->Authenticate(&wrong));
    ASSERT_TRUE(pHandler->Authenticate(nullptr));
    EXPECT_EQ(pHandler->GetKeyLength(), c.m_nKey * 8);
    EXPECT_EQ(ToText(pHandler->DecryptString(FromHex(szText), 3, 0)), "text");
    TEncryption alike;
    pHandler->TakeCiphers(false, alike);
    EXPECT_TRUE(CStandardSecurityHandler::Create(alike, CString(g_szId), nullptr));
    EXPECT_TRUE(pHandler->CreateAlike(CString("other"), false, nullptr));
  }
}

TEST(SecurityHandler, KeepsInvalidPadding)
{
  const auto pHandler =
      CStandardSecurityHandler::Open(MakeEncrypt(g_knownFiles[3]), CString(g_szId), nullptr);
  const CString user("user");
  ASSERT_TRUE(pHandler->Authenticate(&user));
  auto pAlgorithm = CCryptAlgorithm::Create("AESV2");
  const unsigned char key[16] = {1};
  const auto decrypt = [&](const std::string& plain, std::size_t nLength)
  {
    std::string data(16, 'v');
    data += plain;
    auto* pData = reinterpret_cast<unsigned char*>(data.data());
    pAlgorithm->SetKey(key, 1, 0);
    pAlgorithm->BeginFile({pData, 16});
    pAlgorithm->EncryptBlock({pData + 16, plain.size()}, pData + 16);
    const BSE::CObjectPtr<CDecryptFilter> pFilter(new CDecryptFilter(
        MakeStream(data.substr(0, nLength)).Get(), BSE::CScopedPtr<CCryptAlgorithm>(pAlgorithm->Clone())));
    return GetBytes(*pFilter);
  };
  const std::string block(15, 'x');
  EXPECT_EQ(decrypt(block + '\1', 32), block);
  EXPECT_EQ(decrypt(block + '\x11', 32), block + '\x11');
  EXPECT_EQ(decrypt(block + '\0', 32), block + '\0');
  EXPECT_EQ(decrypt(block + 'y' + std::string(16, '\x10'), 48), block + 'y');
  EXPECT_EQ(decrypt(block + '\1' + block + '\1', 47), block + '\1');  // the second block is incomplete
  EXPECT_EQ(decrypt(block + '\1', 16), "");
  EXPECT_EQ(decrypt(block + '\1', 7), "");
}

}  // namespace
}  // namespace PDF
