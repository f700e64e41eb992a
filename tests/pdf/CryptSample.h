#pragma once

#include "pdf/StandardSecurityHandler.h"
#include "tests/pdf/WriterSupport.h"

#include <string>

namespace PDF
{

// A page and what is added, written with an encryption.
template <class F>
std::string WriteEncryptedFile(const TEncryption& encryption, bool bObjectStreams, F fnAdd)
{
  const BSE::CObjectPtr<BSE::CMemoryStream> pOutput(new BSE::CMemoryStream);
  CFile file(nullptr);
  file.InitVersion(1, 7);
  EXPECT_TRUE(file.Create(pOutput.Get(), CString("0123456789abcdef"), true, bObjectStreams));
  file.SetSecurityHandler(CStandardSecurityHandler::Create(encryption, file.GetId1(), nullptr).Get());
  AddPages(file, 1, 0);
  fnAdd(file);
  EXPECT_TRUE(file.Close());
  return GetBytes(*pOutput);
}

inline void AddStream(CFile& file, const char* szKey, const CObjectPtr& dictionary, const CObjectPtr& stream)
{
  const CObjectPtr object = AddObject(file, g_nGroupDirect, dictionary);
  object->SetStreamObject(stream);
  file.GetRoot()->AddEntry(szKey, object.Get());
}

inline CObjectPtr MakeStreamObject(const std::string& data)
{
  return new CStreamObject(MakeStream(data).Get());
}

// A file with a string, an ordinary stream and an embedded file, the entries Secret, Stream and Embedded of
// its catalogue. Both streams hold their key as text.
inline std::string MakeCryptSample(const TEncryption& encryption)
{
  return WriteEncryptedFile(encryption, false,
                            [](CFile& file)
                            {
                              AddStream(file, "Stream",
                                        MakeDictionary({{"Filter", MakeArray({MakeName("ASCIIHexDecode")})}}),
                                        MakeStreamObject("Stream"));
                              AddStream(file, "Embedded",
                                        MakeDictionary({{"Filter", MakeArray({MakeName("ASCIIHexDecode")})},
                                                        {"Type", MakeName("EmbeddedFile")},
                                                        {"Room", MakeName(std::string(100, 'x').c_str())}}),
                                        MakeStreamObject("Embedded"));
                              file.GetRoot()->AddEntry("Secret", MakeString("Secret").Get());
                            });
}

// Gives the embedded file other entries, of its type and its filters.
inline std::string SetEmbeddedEntries(std::string bytes, const std::string& entries)
{
  const std::size_t nType = bytes.find("/Type /EmbeddedFile");
  const std::size_t nBegin = bytes.rfind("obj", nType) + 3;
  const std::size_t nLength = bytes.find("/Length", nType);
  EXPECT_LT(entries.size() + 2, nLength - nBegin);
  bytes.replace(nBegin, nLength - nBegin,
                "<<" + entries + std::string(nLength - nBegin - entries.size() - 2, ' '));
  return bytes;
}

inline std::string NameCryptFilter(const std::string& bytes, const std::string& name)
{
  return SetEmbeddedEntries(bytes,
                            "/Filter [/Crypt /ASCIIHexDecode] /DecodeParms [<</Name /" + name + ">> null]");
}

inline TEncryption MakeEncryption(int nKeyLength, const char* szStream, const char* szString,
                                  const char* szEmbedded)
{
  TEncryption encryption;
  encryption.m_userPassword = CTextString("user");
  encryption.m_ownerPassword = CTextString("owner");
  encryption.m_nPermissions = -1084;
  encryption.m_nKeyLength = nKeyLength;
  encryption.m_szStreamCrypt = szStream;
  encryption.m_szStringCrypt = szString;
  encryption.m_szEmbeddedCrypt = szEmbedded;
  return encryption;
}

// The decoded data of the two streams and the string, one a line.
inline std::string ReadCryptSample(CFile& file)
{
  std::string text;
  for (const char* szKey : {"Stream", "Embedded"})
  {
    const auto pData = file.GetRoot()[szKey].GetDecodedStream();
    text += (pData ? GetBytes(*pData) : "missing") + "\n";
  }
  const CString secret = file.GetRoot()["Secret"].GetStringValue();
  return text.append(reinterpret_cast<const char*>(secret.GetData()),
                     static_cast<std::size_t>(secret.GetLength()));
}

// Opens with the user's password.
inline bool OpenCryptSample(CFile& file, const std::string& bytes, const char* szPassword = "user")
{
  const CString password(szPassword);
  return file.Open(MakeStream(bytes).Get()) && file.Authenticate(&password);
}

inline std::string ReadCryptSample(const std::string& bytes, const char* szPassword)
{
  CFile file(nullptr);
  return OpenCryptSample(file, bytes, szPassword) ? ReadCryptSample(file) : "closed";
}

// Another reader, where it is installed, finds the file sound and these texts in it, for either password.
inline void ExpectDecrypts(const std::string& bytes, std::initializer_list<const char*> texts)
{
  if (std::system("command -v qpdf >/dev/null 2>&1") != 0)
    return;
  const std::string path = testing::TempDir() + "brevex_crypt_" + std::to_string(getpid()) + ".pdf";
  std::ofstream(path, std::ios::binary) << bytes;
  for (const char* szPassword : {"user", "owner"})
  {
    const std::string qpdf = std::string("qpdf --password=") + szPassword + " ";
    EXPECT_EQ(std::system((qpdf + "--check '" + path + "' >/dev/null 2>&1").c_str()), 0) << szPassword;
    const std::string decrypt =
        qpdf + "--qdf --decrypt --stream-data=uncompress '" + path + "' - 2>/dev/null";
    for (const char* szText : texts)
      EXPECT_EQ(std::system((decrypt + " | grep -aq '" + szText + "'").c_str()), 0) << szPassword << szText;
  }
  std::remove(path.c_str());
}

inline void ExpectCryptSampleForOthers(const std::string& bytes)
{
  ExpectDecrypts(bytes, {"(Secret)", "^Stream", "^Embedded"});
}

}  // namespace PDF
