#include "pdf/FilterFactory.h"
#include "pdf/StreamObjects.h"
#include "tests/pdf/WriterSupport.h"

#include <gtest/gtest.h>

#include <string>

namespace PDF
{
namespace
{

class FileWriter : public testing::Test
{
protected:
  void Create(int nMinor, bool bObjectStreams)
  {
    m_file.InitVersion(1, nMinor);
    ASSERT_TRUE(m_file.Create(m_pOutput.Get(), CString("0123456789abcdef"), true, bObjectStreams));
  }
  std::string Finish()
  {
    EXPECT_TRUE(m_file.Close());
    return GetBytes(*m_pOutput);
  }

  BSE::CObjectPtr<BSE::CMemoryStream> m_pOutput{new BSE::CMemoryStream};
  CFile m_file{nullptr};
};

TEST_F(FileWriter, WritesATableFileByteForByte)
{
  Create(4, false);
  AddPages(m_file, 1, 0);
  // A number that is announced and never written is free.
  m_file.NewObject(6, 0, 0)->SetValueObject(MakeInteger(1).Get());
  m_file.NewObject(5, 0, 0)->Lock();
  std::string bytes = Finish();
  const std::size_t nId = bytes.find("/ID [(0123456789abcdef) ") + 24;
  bytes.replace(nId, bytes.find("]\n>>", nId) - nId, "ID2");
  EXPECT_EQ(bytes,
            "%PDF-1.4\n%\xE2\xE3\xCF\xD3\n"
            "1 0 obj\n<<\n/Type /Pages\n/Kids [2 0 R]\n/Count 1\n>>\nendobj\n"
            "2 0 obj\n<<\n/Type /Page\n/Parent 1 0 R\n/MediaBox [0 0 100 200]\n>>\nendobj\n"
            "3 0 obj\n<<\n/Type /Catalog\n/Pages 1 0 R\n>>\nendobj\n"
            "6 0 obj\n1\nendobj\n"
            "xref\n0 7\n"
            "0000000004 65535 f\r\n0000000015 00000 n\r\n0000000072 00000 n\r\n0000000143 00000 n\r\n"
            "0000000005 00000 f\r\n0000000000 00000 f\r\n0000000192 00000 n\r\n"
            "trailer\n<<\n/Size 7\n/Root 3 0 R\n/ID [(0123456789abcdef) ID2]\n>>\n"
            "startxref\n209\n%%EOF\n");
}

TEST_F(FileWriter, FollowsReferencesChildrenFirst)
{
  Create(4, false);
  const CObjectPtr parent = m_file.NewObject(0, 0, 3);
  const CObjectPtr child = m_file.NewObject(0, 0, 3);
  const CObjectPtr grandchild = m_file.NewObject(0, 0, 3);
  const CObjectPtr other = AddObject(m_file, 3, MakeInteger(7));
  parent->SetValueObject(MakeDictionary({{"Kid", child}}).Get());
  child->SetValueObject(MakeArray({MakeDictionary({{"Deep", MakeArray({grandchild})}}), parent}).Get());
  // A value that is a reference, and a cycle back to the top.
  grandchild->SetValueObject(parent.Get());
  EXPECT_TRUE(m_file.WriteObject(parent.Get(), true));
  EXPECT_LT(grandchild->Tell(), child->Tell());
  EXPECT_LT(child->Tell(), parent->Tell());
  EXPECT_FALSE(parent->IsDirty());
  EXPECT_TRUE(other->IsDirty());
  // A direct container passes on to what it holds, without its children.
  const CObjectPtr late = AddObject(m_file, 3, MakeArray({other}));
  EXPECT_TRUE(m_file.WriteObject(MakeArray({late}).Get(), false));
  EXPECT_FALSE(late->IsDirty());
  EXPECT_TRUE(other->IsDirty());
  EXPECT_TRUE(m_file.WriteObject(nullptr, true));
  // Written values are dropped and come back from the output.
  EXPECT_EQ(child[0]["Deep"][0].Get(), grandchild.Get());
}

TEST_F(FileWriter, FollowsLongChainsWithoutRecursion)
{
  Create(5, true);
  constexpr int nLength = 100000;
  AddPages(m_file, 1, 0);
  CObjectPtr next;
  for (int i = 0; i < nLength; ++i)
    next = AddObject(m_file, 0, MakeDictionary({{"Next", next}}));
  m_file.GetRoot()->AddEntry("Chain", next.Get());
  next = nullptr;
  EXPECT_TRUE(m_file.WriteObject(m_file.GetRoot().Get(), true));
  ExpectSound(Finish());
}

TEST_F(FileWriter, WritesStreamsWithTheirExactLength)
{
  Create(4, false);
  AddPages(m_file, 1, 3);
  const std::string text(5000, 'x');
  const auto add = [&](const CObjectPtr& dictionary, CObject* pPart)
  {
    CObjectPtr object = AddObject(m_file, 0, dictionary);
    object->SetStreamObject(pPart);
    return object;
  };
  const CObjectPtr plain =
      add(MakeDictionary({{"Length", MakeInteger(1)}}), new CStreamObject(MakeStream(text).Get()));
  const CObjectPtr deflated =
      add(MakeDictionary({{"Filter", MakeName("FlateDecode")},
                          {"DecodeParms", MakeDictionary({{"Predictor", MakeInteger(12)}})}}),
          new CStreamObject(MakeStream(text).Get()));
  // Encoded data passes through, no longer than its source is.
  const CObjectPtr section = add(MakeDictionary({{"Filter", MakeName("ASCIIHexDecode")}}),
                                 new CEmbeddedStreamObject(MakeStream("..414243>").Get(), 2, 1 << 30));
  const CObjectPtr empty = add(CObjectPtr(), new CStreamObject(MakeStream("").Get()));
  EXPECT_TRUE(m_file.FinishRevision());
  EXPECT_EQ(plain["Length"].GetIntegerValue(), 5000);
  EXPECT_EQ(GetBytes(*plain.GetDecodedStream()), text);
  EXPECT_LT(deflated["Length"].GetIntegerValue(), 100);
  EXPECT_TRUE(deflated["DecodeParms"].IsNull());
  EXPECT_EQ(GetBytes(*deflated.GetDecodedStream()), text);
  EXPECT_EQ(section["Length"].GetIntegerValue(), 7);
  EXPECT_EQ(GetBytes(*section.GetDecodedStream()), "ABC");
  EXPECT_EQ(empty["Length"].GetIntegerValue(), 0);
  ExpectSound(Finish());
}

TEST_F(FileWriter, RefusesAStreamItCannotEncode)
{
  Create(4, false);
  const CObjectPtr object = AddObject(m_file, 0, MakeDictionary({{"Filter", MakeName("NoSuchFilter")}}));
  object->SetStreamObject(new CStreamObject(MakeStream("x").Get()));
  EXPECT_FALSE(m_file.WriteObject(object.Get(), true));
  EXPECT_FALSE(m_file.Close());
}

TEST_F(FileWriter, RaisesTheVersion)
{
  Create(3, false);
  AddPages(m_file, 1, 3);
  m_file.SetVersion(1, 2);
  m_file.SetVersion(1, 4);
  EXPECT_TRUE(m_file.FinishRevision());
  m_file.SetVersion(1, 6);
  EXPECT_TRUE(m_file.IsVersionAtLeast(1, 6));
  const std::string bytes = Finish();
  EXPECT_EQ(bytes.substr(0, 9), "%PDF-1.4\n");
  EXPECT_NE(bytes.find("/Version /1.6"), std::string::npos);
  ExpectSound(bytes);
}

TEST_F(FileWriter, MapsSourceNumbersOnce)
{
  Create(4, false);
  CFile source(nullptr);
  CFile unknown(nullptr);
  bool bCreated = true;
  EXPECT_TRUE(m_file.GetOrCreateCopy(&unknown, 5, bCreated, 1).IsNull());
  EXPECT_FALSE(bCreated);
  m_file.GetObjectMap(source);
  const CObjectPtr first = m_file.GetOrCreateCopy(&source, 5000, bCreated, 1);
  EXPECT_TRUE(bCreated);
  EXPECT_EQ(first->GetCompressedFlags(), 1);
  EXPECT_EQ(m_file.GetOrCreateCopy(&source, 5000, bCreated, 2).Get(), first.Get());
  EXPECT_FALSE(bCreated);
  EXPECT_EQ(m_file.GetCopy(source, 5000).Get(), first.Get());
  EXPECT_TRUE(m_file.GetCopy(source, 4999).IsNull());
  EXPECT_TRUE(m_file.GetOrCreateCopy(&source, 0, bCreated, 1).IsNull());
  EXPECT_TRUE(m_file.NewObject(10000000, 0, 0).IsNull());
}

// Encrypts by inverting, with a mark in front, so that lengths differ.
class CInvertingHandler : public CSecurityHandler
{
public:
  void Write(PDF::CObject& dictionary) override
  {
    dictionary.AddEntry("Filter", MakeString("visible").Get());
  }
  bool Authenticate(const CString*) override { return true; }
  bool IsExempt(PDF::CObject& object) override { return object.GetEntry("Type").IsName("Metadata"); }
  CString DecryptString(const CString& value, int, int, bool*) override { return value; }
  CString EncryptString(const CString& value, int nObjNumber, int) override
  {
    std::string text(1, static_cast<char>(nObjNumber));
    for (const unsigned char nByte : value.GetSpan())
      text += static_cast<char>(~nByte);
    return CString(text.data(), static_cast<int>(text.size()));
  }
  BSE::CObjectPtr<BSE::IByteStream> CreateDecryptFilter(BSE::IByteStream* pSource, int, int,
                                                        BSE::IErrorContext*, int) override
  {
    return pSource;
  }
  BSE::CObjectPtr<BSE::IByteStream> CreateEncryptFilter(BSE::IByteStream* pSink, int, int,
                                                        BSE::IErrorContext*, int) override
  {
    CObjectPtr parameters;
    return CreateEncodeFilter(pSink, "ASCIIHexDecode", nullptr, parameters);
  }
  std::int64_t GetEncryptedLength(std::int64_t nLength, int) override { return 2 * nLength + 1; }
};

TEST_F(FileWriter, EncryptsWhatIsNotExempt)
{
  Create(4, false);
  m_file.SetSecurityHandler(new CInvertingHandler);
  AddPages(m_file, 1, 3);
  AddObject(m_file, 3, MakeString("abc"));
  const auto addStream = [&](const CObjectPtr& dictionary)
  {
    const CObjectPtr object = AddObject(m_file, 3, dictionary);
    object->SetStreamObject(new CStreamObject(MakeStream("data").Get()));
  };
  addStream(MakeDictionary({{"Note", MakeString("a")}}));
  addStream(MakeDictionary({{"Type", MakeName("Metadata")}, {"Note", MakeString("plain")}}));
  const std::string bytes = Finish();
  EXPECT_NE(bytes.find("1 0 obj\n<<\n/Filter (visible)\n>>"), std::string::npos);
  EXPECT_NE(bytes.find("5 0 obj\n<059E9D9C>\nendobj"), std::string::npos);
  EXPECT_NE(bytes.find("/Note <069E>\n/Length 9\n>>\nstream\n64617461>\nendstream"), std::string::npos);
  EXPECT_NE(bytes.find("/Note (plain)\n/Length 4\n>>\nstream\ndata\nendstream"), std::string::npos);
  EXPECT_NE(bytes.find("/Encrypt 1 0 R\n/ID [(0123456789abcdef)"), std::string::npos);
}

}  // namespace
}  // namespace PDF
