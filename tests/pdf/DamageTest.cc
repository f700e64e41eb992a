#include "base/Limits.h"
#include "pdf/XRefSink.h"
#include "tests/pdf/TestDocument.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

namespace
{

using namespace PDF;

std::string Replace(std::string text, const std::string& from, const std::string& to)
{
  const std::size_t nPos = text.find(from);
  EXPECT_NE(nPos, std::string::npos) << from;
  return nPos == std::string::npos ? text : text.replace(nPos, from.size(), to);
}

TEST(Damage, IsNotedWhereAnObjectLacksSomething)
{
  struct TCase
  {
    const char* m_szValue;
    const char* m_szLeft;  // an entry that must survive
    bool m_bDamaged;
  };
  const TCase cases[] = {
      {"<</A [1 0 S 5]/K 7>>", "K", true},
      {"<</A 4 0 R bad /K 7>>", "K", true},
      {"<</A bad/K 7>>", "K", true},
      {"<</A (a) (no key)/K 7>>", "K", true},
      {"<</A <4Z>/K 7>>", "K", true},
      {"<</A [1 2 >> /K 7", "A", true},
      {"<</B<</C [1 2>>/K 7>>", "K", true},
      {"<</K 7/A [1 2", "K", true},
      {"<</K 7/A (open", "K", true},
      {"<</A null/B 3 -0 R/C 0 0 R/K 7>>", "B", false},
      {"<</A[null]/K 7>> junk", "K", false},
      {"<</K 7>> 5 0", "K", true},
      {"<</K 7>> /L 8>>", "K", true},
      {"<</K 7/Length 4>>strxam\nabcd\nendstream", "K", true},
      {"<</K 7/Length 4>>stream\nabcd\nendstream", "K", false},
      {"<</K 7/Length 9>>stream\nabcd\nendstream", "K", false},
      {"<</K 7/Length 4>>stream\nabcd\nendstreamendobj", "K", false},
      {"<</K 7/Length 4>>stream\nabcd", "K", false},
      {"<</K 7/Length 9>>stream\nabcd", "K", false},
  };
  for (const TCase& c : cases)
  {
    TOpened opened(Simple().Add(c.m_szValue).Finish());
    ASSERT_TRUE(opened.m_bOpened) << c.m_szValue;
    const CObjectPtr object = opened.m_file.GetObject(4, 0);
    EXPECT_TRUE(object[c.m_szLeft]) << c.m_szValue;
    EXPECT_EQ(opened.m_file.GetDamage(4) != 0, c.m_bDamaged) << c.m_szValue;
    const bool bStream = std::string(c.m_szValue).find("abcd") != std::string::npos;
    EXPECT_EQ(object["Length"].GetIntegerValue(), bStream ? 4 : 0) << c.m_szValue;
  }
}

TEST(Damage, TellsWhatIsLostFromWhatWasNeverThere)
{
  const std::string good = Simple().Add("(four)").Finish();
  // An object that is in use and nowhere; found elsewhere; free, absent or never written.
  TOpened lost(Replace(good, "3 0 obj", "3 0 xbj"));
  EXPECT_FALSE(lost.m_file.GetObject(3, 0)->Load());
  EXPECT_EQ(lost.m_file.GetDamage(3), 0x80410304U);
  EXPECT_TRUE(lost.m_file.GetObject(4, 0)->Load());
  EXPECT_TRUE(lost.m_file.GetObject(99, 0)->Load());
  EXPECT_EQ(lost.m_file.GetDamage(99), 0U);
  CTestDocument moved = Simple();
  moved.MoveOffset(3, 7);
  TOpened found(moved.Finish());
  EXPECT_EQ(found.String(3), "three");
  EXPECT_EQ(found.m_file.GetDamage(3), 0U);
  const std::size_t nEntry = good.find("trailer") - 20;
  TOpened unused(std::string(good).replace(nEntry, 10, "0000000000"));
  EXPECT_EQ(unused.String(4), "four");
  TOpened gone(Replace(std::string(good).replace(nEntry, 10, "0000000000"), "4 0 obj", "4 0 xbj"));
  EXPECT_TRUE(gone.m_file.GetObject(4, 0)->Load());
  EXPECT_EQ(gone.m_file.GetDamage(4), 0U);
  // Without its table a file may have lost what a reference leads to.
  TOpened rebuilt(Replace(Replace(good, "4 0 obj", "4 0 xbj"), "startxref", "?"));
  rebuilt.m_file.GetObject(4, 0)->Load();
  EXPECT_NE(rebuilt.m_file.GetDamage(4), 0U);
}

// A file whose objects from 5 on are members of the stream 4.
std::string MakeMembers(const std::string& index, const std::string& data, int nCount, int nMembers)
{
  const std::string whole = index + " " + data;
  std::string text =
      Simple()
          .Add("<</Type/ObjStm/N " + std::to_string(nCount) + "/First " + std::to_string(index.size() + 1) +
               "/Length " + std::to_string(whole.size()) + ">>\nstream\n" + whole + "\nendstream")
          .Finish();
  const std::size_t nStream = text.size();
  const int nFirst = 5;
  std::string rows;
  for (int i = 0; i < nMembers; ++i)
    rows += std::string("\2\0\4", 3) + static_cast<char>(i / 256) + static_cast<char>(i % 256);
  const std::string size = std::to_string(nFirst + nMembers);
  const std::string xref = std::to_string(text.find("xref\n0"));
  text += "3 0 obj\n<</Type/XRef/Size " + size + "/W[1 2 2]/Index[5 " + std::to_string(nMembers) +
          "]/Root 1 0 R/Prev " + xref + "/Length " + std::to_string(rows.size()) + ">>\nstream\n" + rows +
          "\nendstream\nendobj\nstartxref\n" + std::to_string(nStream) + "\n%%EOF\n";
  return text;
}

TEST(Damage, ObjectStreamsGiveWhatCanBeHad)
{
  // A count that is too low, and data that end inside the last member.
  TOpened low(MakeMembers("5 0 6 6 7 8", "(five) 6 [1 2", 1, 4));
  ASSERT_TRUE(low.m_bOpened);
  EXPECT_EQ(low.String(5), "five");
  EXPECT_EQ(low.m_file.GetObject(6, 0)->GetIntegerValue(), 6);
  EXPECT_EQ(low.m_file.GetObject(7, 0)->GetSize(), 2);
  EXPECT_FALSE(low.m_file.GetObject(8, 0)->Load());
  for (int i = 5; i <= 8; ++i)
    EXPECT_EQ(low.m_file.GetDamage(i) != 0, i >= 7) << i;

  // Members that all are at one place.
  std::string index = "5 0";
  constexpr int nMembers = 1000;
  for (int i = 1; i < nMembers; ++i)
    index += " " + std::to_string(5 + i) + " 0";
  TOpened shared(MakeMembers(index, "(" + std::string(10000, 'x') + ")", nMembers, nMembers));
  ASSERT_TRUE(shared.m_bOpened);
  int nRead = 0;
  while (nRead < nMembers && shared.m_file.GetObject(5 + nRead, 0)->Load())
    ++nRead;
  EXPECT_GT(nRead, 1);
  EXPECT_LT(nRead, 50);
  EXPECT_EQ(shared.m_file.GetReadFailure(), 0x80410113U);
}

// Data that are all there as far as anybody can see, but for the sum that proves it.
TEST(Damage, DataWithoutTheirProofAreNotTrusted)
{
  const std::string plain = MakeMembers("5 0", "(five)", 1, 1);
  const auto store = [&plain](const std::string& data)
  {
    const char nLength = static_cast<char>(data.size());
    const std::string stored =
        std::string("\x78\1\1", 3) + nLength + '\0' + static_cast<char>(~nLength) + '\xff' + data;
    const std::string length = "/Length " + std::to_string(data.size()) + ">>\nstream\n" + data;
    return Replace(plain, length,
                   "/Filter/FlateDecode/Length " + std::to_string(stored.size()) + ">>\nstream\n" + stored);
  };
  TOpened members(store("5 0 (five)"));
  EXPECT_EQ(members.String(5), "five");
  EXPECT_NE(members.m_file.GetDamage(5), 0U);
  TOpened table(store(std::string("\2\0\4\0\0", 5)));
  EXPECT_TRUE(table.m_file.WasRecovered());
  EXPECT_EQ(table.String(5), "five");
  EXPECT_EQ(table.m_file.GetDamage(5), 0U);
}

class CLoadCounter : public CFileEventListener
{
public:
  void OnObjectLoading(CFile&, int, int) override { ++m_nLoads; }
  int m_nLoads = 0;
};

TEST(Damage, SharedObjectsAreNotReadForEachUser)
{
  CTestDocument document = Simple();
  document.Add("[" + std::string(20000, '1') + "]");
  for (int i = 0; i < 100; ++i)
    document.Add("4 0 R");
  TOpened opened(document.Finish());
  CLoadCounter counter;
  opened.m_file.Attach(&counter);
  for (int i = 0; i < 100; ++i)
    EXPECT_EQ(opened.m_file.GetObject(5 + i, 0)->GetSize(), 1) << i;
  EXPECT_LE(counter.m_nLoads, 103);
  opened.m_file.Detach(&counter);
}

TEST(Damage, ReferencesInTrailersAreFollowedOnceTheTableIsKnown)
{
  const std::string simple = Simple().Add("[(first)(second)]").Add("trailer 3 0 R").Finish();
  const std::string id = Replace(simple, "/Root 1 0 R", "/Root 1 0 R/ID 4 0 R");
  const std::size_t nXRef = simple.find("xref\n0");
  const std::string prev = id + "6 0 obj\n" + std::to_string(nXRef) + "\nendobj\n";
  char szEntries[64];
  std::snprintf(szEntries, sizeof(szEntries), "%010zu 00000 n \n", id.size());
  const std::string update = prev + "xref\n6 1\n" + szEntries +
                             "trailer\n<</Size 7/Root 1 0 R/ID 4 0 R/Prev 6 0 R>>\nstartxref\n" +
                             std::to_string(prev.size()) + "\n%%EOF\n";
  const std::pair<const char*, std::string> cases[] = {
      {"identifier", id},
      {"identifier met by a scan", Replace(id, "startxref", "?")},
      {"trailer that is a reference", Replace(Replace(id, "xref\n0", "?"), "startxref", "?")},
      {"previous section", update},
  };
  for (const auto& [szCase, text] : cases)
  {
    TOpened opened(text);
    ASSERT_TRUE(opened.m_bOpened) << szCase;
    EXPECT_TRUE(opened.m_file.GetId1() == CString("first")) << szCase;
    EXPECT_EQ(opened.String(3), "three") << szCase;
    EXPECT_EQ(opened.m_file.WasRecovered(), text.find('?') != std::string::npos) << szCase;
  }
}

TEST(Damage, HybridRevisionFreesWhatItsStreamHasNot)
{
  std::string text = Simple().Add("(four)").Finish();
  const std::string prev = std::to_string(text.find("xref\n0"));
  const std::size_t nHolder = text.size();
  text += "5 0 obj\n<</Type/ObjStm/N 1/First 4/Length 9>>\nstream\n6 0 (six)\nendstream\nendobj\n";
  const std::size_t nStream = text.size();
  text += "7 0 obj\n<</Type/XRef/Size 8/W[1 1 1]/Index[6 1]/Length 3>>\nstream\n" + std::string("\2\5\0", 3) +
          "\nendstream\nendobj\n";
  const std::size_t nXRef = text.size();
  char szEntries[128];
  std::snprintf(szEntries, sizeof(szEntries),
                "xref\n4 3\n0000000000 00001 f \n%010zu 00000 n \n0000000000 00000 f \n", nHolder);
  text += szEntries + std::string("trailer\n<</Size 8/Root 1 0 R/Prev ") + prev + "/XRefStm " +
          std::to_string(nStream) + ">>\nstartxref\n" + std::to_string(nXRef) + "\n%%EOF\n";
  TOpened opened(text);
  ASSERT_TRUE(opened.m_bOpened);
  EXPECT_EQ(opened.String(4), "");
  EXPECT_EQ(opened.String(6), "six");
  EXPECT_EQ(opened.m_file.GetXRefForm(), eXRefHybrid);
  // A stream that cannot be read hides objects, which are looked for, but nothing of the table.
  const std::string sNoStream = Replace(text, "7 0 obj", "7 0 xbj");
  TOpened found(sNoStream);
  ASSERT_TRUE(found.m_bOpened);
  EXPECT_EQ(found.String(3), "three");
  EXPECT_EQ(found.String(6), "six");
  TOpened bad(Replace(sNoStream, "5 0 obj", "5 0 xbj"));
  ASSERT_TRUE(bad.m_bOpened);
  bad.m_file.GetObject(6, 0)->Load();
  EXPECT_NE(bad.m_file.GetDamage(6), 0U);
}

TEST(Damage, FreeNumbersTakeNoMemory)
{
  CXRefTable table(nullptr);
  for (int i = 0; i <= BSE::g_nMaxObjNumber; i += 1000)
    table.SetFree(i, 0, 0);
  EXPECT_EQ(table.GetNextNumber(-1), table.GetSize());
  EXPECT_EQ(table.GetListedSize(), BSE::g_nMaxObjNumber - 998);
  CXRefSink sink(table, 100);
  int nEntered = 0;
  while (nEntered < 500000 && sink.SetOffset(nEntered, 0, 1))
    ++nEntered;
  EXPECT_LT(nEntered, 500000);
}

// Fails once from a position on, or gives nothing there.
class CFailingStream : public BSE::CMemoryStream
{
public:
  using BSE::CMemoryStream::CMemoryStream;
  std::int64_t Read(unsigned char* pBuffer, std::int64_t n) override
  {
    return std::max<std::int64_t>(ReadEx(pBuffer, n), 0);
  }
  std::int64_t ReadEx(unsigned char* pBuffer, std::int64_t n) override
  {
    return m_bFail ? m_nFailure : CMemoryStream::Read(pBuffer, n);
  }

  bool m_bFail = false;
  std::int64_t m_nFailure = -1;
};

TEST(Damage, FailedReadsAreRememberedBehindEveryFilter)
{
  const std::string data(50000, '4');
  const std::string plain =
      Simple().Add("<</Filter/ASCIIHexDecode/Length 50000>>\nstream\n" + data + "\nendstream").Finish();
  for (const std::int64_t nFailure : {-1, 0})
  {
    BSE::CErrorHandler handler;
    CFile file(&handler);
    const BSE::CObjectPtr<CFailingStream> pStream(
        new CFailingStream(plain.data(), static_cast<std::int64_t>(plain.size())));
    pStream->m_nFailure = nFailure;
    ASSERT_TRUE(file.Open(pStream.Get()));
    const BSE::CObjectPtr<BSE::IByteStream> pData = file.GetObject(4, 0)->GetDecodedStream();
    unsigned char buffer[1000];
    EXPECT_EQ(pData->ReadFully(buffer, sizeof(buffer)), 1000);
    EXPECT_EQ(file.GetReadFailure(), 0U);
    pStream->m_bFail = true;
    while (pData->Read(buffer, sizeof(buffer)) > 0)
    {
    }
    EXPECT_EQ(file.GetReadFailure(), BSE::g_nStreamReadFailed) << nFailure;
  }
}

TEST(Damage, LenientFilesOpenByTheirCatalogueOrPages)
{
  CTestDocument document;
  document.Add("<</Type/Catalog/Pages 2 0 R/Old 1>>").Add("<</Type/Pages/Count 1/Kids[3 0 R]>>");
  document.Add("<</Type/Page/Parent 2 0 R>>").Add("<</Type/Catalog/Pages 2 0 R>>");
  const std::string good = document.Finish();
  const std::string noTrailer =
      good.substr(0, good.find("xref")) + "6 0 obj<</Producer(p)>>endobj 7 0 obj<</Title(t)>>endobj";
  const std::string noCatalogue = Replace(Replace(noTrailer, "/Catalog", "/Catxxxx"), "/Catalog", "/Catxxxx");
  const std::string pages = Replace(noCatalogue, "/Pages/", "/Paxxx/");
  const std::pair<std::string, int> cases[] = {
      {Replace(good, "%PDF", "%ABC"), 1},
      {Replace(good, "/Root 1 0 R", ""), 4},
      {noTrailer, 4},
      {noCatalogue, 8},
      {pages, 8},
  };
  for (const auto& [text, nRoot] : cases)
  {
    TOpened strict(text);
    EXPECT_FALSE(strict.m_bOpened) << text;
    TOpened lenient(text, nullptr, 0, true);
    ASSERT_TRUE(lenient.m_bOpened) << text;
    const CObjectPtr root = lenient.m_file.GetRoot();
    // An assumed one has a number after all others.
    EXPECT_EQ(std::min(root.GetObjNumber(), 8), nRoot) << text;
    EXPECT_EQ(lenient.m_file.IsRootAssumed(), nRoot == 8) << text;
    EXPECT_EQ(lenient.m_file.GetInfo().GetObjNumber(), text.find("trailer") == text.npos ? 6 : 0) << text;
    EXPECT_EQ(root["Pages"]["Kids"][0].GetObjNumber(), 3) << text;
    EXPECT_TRUE(lenient.m_file.Close());
  }
  TOpened nothing("%PDF-1.4\n1 0 obj<</A 1>>endobj", nullptr, 0, true);
  EXPECT_FALSE(nothing.m_bOpened);
}

}  // namespace
