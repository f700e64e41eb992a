#include "base/Limits.h"
#include "tests/pdf/TestDocument.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

namespace
{

using namespace PDF;

TEST(File, OpensAndLoadsOnDemand)
{
  TOpened opened(Simple().Finish());
  ASSERT_TRUE(opened.m_bOpened);
  EXPECT_FALSE(opened.m_file.WasRecovered());
  EXPECT_EQ(opened.m_handler.GetAccumulated(), 0U);
  EXPECT_EQ(opened.m_file.GetXRefForm(), eXRefTable);
  EXPECT_EQ(opened.m_file.GetRevisionCount(), 1);
  EXPECT_TRUE(opened.m_file.GetRoot()["Pages"].IsDictionary());
  EXPECT_EQ(opened.String(3), "three");
  // Dropped with its last user, and read anew.
  EXPECT_FALSE(opened.m_file.GetXRef().GetEntry(3).m_pObject->IsLoaded());
  EXPECT_EQ(opened.String(3), "three");
  EXPECT_TRUE(opened.m_file.GetObject(99, 0)->GetValueObject().IsNull());
}

TEST(File, OffsetsCountFromTheHeader)
{
  TOpened opened(Simple("garbage \x80\nmore\n%PDF-1.4\n").Finish());
  ASSERT_TRUE(opened.m_bOpened);
  EXPECT_FALSE(opened.m_file.WasRecovered());
  EXPECT_EQ(opened.String(3), "three");
}

TEST(File, RefusesWhatIsNoDocument)
{
  const std::pair<std::string, unsigned> cases[] = {
      {"", 0x80410104U},
      {"no header at all", 0x80410104U},
      {"%PDF-x\n1 0 obj<</Type/Catalog>>endobj", 0x80410104U},
      {"%PDF-1.4\n", 0x8041010EU},
      {"%PDF-1.4\n1 0 obj<</Type/Catalog>>endobj", 0x8041010EU},
      {"%PDF-1.4\ntrailer<</Size 2>>", 0x8041010FU},
  };
  for (const auto& [text, nCode] : cases)
  {
    TOpened opened(text);
    EXPECT_FALSE(opened.m_bOpened) << text;
    EXPECT_EQ(opened.m_handler.GetLastCode(), nCode) << text;
  }
}

// A second revision of the simple document; the format takes the offset of object 3.
std::string TwoRevisions(const char* szEntry = "%010zu 00000 n \n")
{
  std::string text = Simple().Finish();
  const std::size_t nPrev = text.rfind("startxref\n") + 10;
  const std::string prev = text.substr(nPrev, text.find('\n', nPrev) - nPrev);
  const std::size_t nObject = text.size();
  text += "3 0 obj\n(newer)\nendobj\n";
  const std::size_t nXRef = text.size();
  char szLine[64];
  std::snprintf(szLine, sizeof(szLine), szEntry, nObject);
  return text + "xref\n3 1\n" + szLine + "trailer\n<</Size 4/Root 1 0 R/Prev " + prev + ">>\nstartxref\n" +
         std::to_string(nXRef) + "\n%%EOF\n";
}

TEST(File, NewerRevisionWins)
{
  const std::string text = TwoRevisions();
  TOpened opened(text);
  ASSERT_TRUE(opened.m_bOpened);
  EXPECT_FALSE(opened.m_file.WasRecovered());
  EXPECT_EQ(opened.String(3), "newer");
  ASSERT_EQ(opened.m_file.GetRevisionCount(), 2);
  EXPECT_EQ(opened.m_file.GetRevision(0)->GetLength(), static_cast<std::int64_t>(Simple().Finish().size()));
  EXPECT_EQ(opened.m_file.GetRevision(1)->GetLength(), static_cast<std::int64_t>(text.size()));
}

TEST(File, ChainThatLoopsEnds)
{
  std::string text = Simple().Finish("/Prev 00000");
  const std::size_t nXRef = text.find("xref\n0 ");
  char szPrev[8];
  std::snprintf(szPrev, sizeof(szPrev), "%05zu", nXRef);
  text.replace(text.find("00000>>"), 5, szPrev);
  TOpened opened(text);
  ASSERT_TRUE(opened.m_bOpened);
  EXPECT_FALSE(opened.m_file.WasRecovered());
  EXPECT_EQ(opened.String(3), "three");
}

TEST(File, WrongOffsetIsRepairedOnDemand)
{
  CTestDocument document = Simple();
  document.MoveOffset(3, 5);
  TOpened opened(document.Finish());
  ASSERT_TRUE(opened.m_bOpened);
  EXPECT_FALSE(opened.m_file.WasRecovered());
  EXPECT_EQ(opened.String(3), "three");
  EXPECT_TRUE(opened.m_file.WasRecovered());
  EXPECT_EQ(opened.m_handler.GetLastCode(), 0x00418309U);
}

// A table that starts one number too high makes object 1 free and gives every other the place of its
// neighbour.
TEST(File, ShiftedTableFreesNothing)
{
  CTestDocument document;
  document.Add("(one)").Add("<</Type/Catalog/Pages 3 0 R>>").Add("<</Type/Pages/Count 0/Kids[]>>");
  std::string text = document.Finish();
  text.replace(text.find("xref\n0"), 6, "xref\n1");
  text.replace(text.find("/Root 1"), 7, "/Root 2");
  TOpened opened(text);
  ASSERT_TRUE(opened.m_bOpened);
  EXPECT_TRUE(opened.m_file.GetObject(3, -1).IsDictionary());
  EXPECT_EQ(opened.String(1), "one");

  // Where nothing else is wrong, free is free.
  CTestDocument freed = Simple();
  text = freed.Add("(four)").Finish();
  const std::size_t nEntry = text.find("trailer") - 3;
  text[nEntry] = 'f';
  TOpened sound(text);
  ASSERT_TRUE(sound.m_bOpened);
  EXPECT_EQ(sound.String(4), "");
}

TEST(File, BrokenTableIsRebuilt)
{
  const std::string good = Simple().Finish();
  for (const char* szKey : {"startxref", "xref\n0", "%%EOF", "0000000000 65535"})
  {
    std::string text = good;
    const std::size_t nPos = text.find(szKey);
    text.replace(nPos, 4, "????");
    TOpened opened(text);
    ASSERT_TRUE(opened.m_bOpened) << szKey;
    EXPECT_EQ(opened.String(3), "three") << szKey;
  }
  // Cut in front of its end: the scan takes the last trailer of the file.
  TOpened cut(good.substr(0, good.find("startxref")));
  ASSERT_TRUE(cut.m_bOpened);
  EXPECT_EQ(cut.String(3), "three");
}

TEST(File, TableOfUnevenWidthsIsRead)
{
  for (const char* szEntry : {"%zu 0 n\n", "%010zu 00000 n ", "%010zu 00000 n %% note\n"})
  {
    TOpened opened(TwoRevisions(szEntry));
    ASSERT_TRUE(opened.m_bOpened) << szEntry;
    EXPECT_FALSE(opened.m_file.WasRecovered()) << szEntry;
    EXPECT_EQ(opened.String(3), "newer") << szEntry;
  }
}

TEST(File, ScanTakesTheNewestOfEachNumber)
{
  const std::string good = Simple().Finish();
  const std::string packed =
      "5 0 obj\n<</Type/ObjStm/N 1/First 4/Length 11>>\nstream\n3 0 (newer)\nendstream\nendobj\n";
  std::string older = packed;
  older.replace(older.find("newer"), 5, "older");
  const std::string newer = "3 0 obj\n(newer)\nendobj\n";
  const std::pair<const char*, std::string> cases[] = {
      {"newest table damaged", TwoRevisions("%010zu 00000 x \n")},
      {"compressed behind plain", good + packed + "startxref\n7\n%%EOF\n"},
      {"plain behind compressed",
       "%PDF-1.5\n" + older + newer + "1 0 obj\n<</Type/Catalog>>\nendobj\ntrailer\n<</Root 1 0 R>>\n"},
      {"directly behind a trailer", good.substr(0, good.find("startxref")) + newer},
  };
  for (const auto& [szCase, text] : cases)
  {
    TOpened opened(text);
    ASSERT_TRUE(opened.m_bOpened) << szCase;
    EXPECT_EQ(opened.String(3), "newer") << szCase;
  }
}

// Codes in the order of their reports.
class CCodes : public BSE::IErrorObserver
{
public:
  void OnError(BSE::CScopedPtr<BSE::IError> pError) override { m_codes.push_back(pError->GetCode()); }
  std::vector<unsigned> m_codes;
};

TEST(File, StrictModeReportsDeviations)
{
  struct TCase
  {
    const char* m_szGood;
    const char* m_szBad;
    unsigned m_nCode;
  };
  const TCase cases[] = {
      {"(three)", "<746>", 0x0341851A},
      {"\n3 0 obj", " 3 0 obj", 0x03418523},
      {"\n3 0 obj\n", "\n3  0 obj", 0x03418521},
      {"\n3 0 obj\n", "\n3 0\tobj\n", 0x03418522},
      {"obj\n(three)", "obj (three)", 0x03418525},
      {"(three)\n", "(three) ", 0x03418524},
      {"xref\n0", "xref 0", 0x0341851E},
      {"xref\n0 5", "xref\n0\t5", 0x0341851D},
      {"00000 n \n", "00000 n  ", 0x0041810D},
      {"00000 n \n", "00000\tn \n", 0x0041810D},
      {"stream\nab", "stream\rab", 0x0341851F},
      {"ab\nend", "ab end", 0x03418520},
      {"%%EOF\n", "%%EOF\n\n", 0x0341851B},
  };
  for (const TCase& c : cases)
  {
    for (const bool bBad : {false, true})
    {
      std::string text = Simple().Add("<</Length 2>>\nstream\nab\nendstream").Finish();
      if (bBad)
        text.replace(text.find(c.m_szGood), std::string(c.m_szGood).size(), c.m_szBad);
      CCodes codes;
      TOpened opened(text, &codes, 0x1401);
      ASSERT_TRUE(opened.m_bOpened);
      opened.m_file.GetObject(3, 0)->Load();
      opened.m_file.GetObject(4, 0)->Load();
      if (bBad)
        EXPECT_TRUE(std::count(codes.m_codes.begin(), codes.m_codes.end(), c.m_nCode) > 0) << c.m_szBad;
      else
        EXPECT_TRUE(codes.m_codes.empty()) << codes.m_codes[0];
    }
  }
}

TEST(File, ScanSkipsStreamData)
{
  CTestDocument document = Simple();
  document.Add("<</Length 25>>\nstream\n3 0 obj\n(false)\nendobj\nxx\nendstream");
  std::string text = document.Finish();
  text.replace(text.find("startxref"), 4, "????");
  TOpened opened(text);
  ASSERT_TRUE(opened.m_bOpened);
  EXPECT_EQ(opened.String(3), "three");
  EXPECT_TRUE(opened.m_file.GetObject(4, 0)->IsStream());
}

std::string ReadAll(BSE::IByteStream* pStream)
{
  std::string text;
  unsigned char buffer[4096];
  for (std::int64_t n = 1; pStream && (n = pStream->Read(buffer, sizeof(buffer))) > 0;)
    text.append(reinterpret_cast<const char*>(buffer), static_cast<std::size_t>(n));
  return text;
}

TEST(File, StreamLengths)
{
  const std::pair<const char*, const char*> cases[] = {
      {"<</Length 4>>\nstream\nabcd\nendstream", "abcd"},
      {"<</Length 5 0 R>>\nstream\nabcd\nendstream", "abcd"},
      {"<</Length 4 0 R>>\nstream\nabcd\nendstream", "abcd"},
      {"<</Length 4.0>>\nstream\nabcd\nendstream", "abcd"},
      {"<</Length 3>>\nstream\nabcd\nendstream", "abcd"},
      {"<</Length 99999999999>>\nstream\nabcd\nendstream", "abcd"},
      {"<</Length -4>>\nstream\nabcd\nendstream", "abcd"},
      {"<<>>\nstream\r\nabcd\r\nendstream", "abcd"},
      {"<</Length 0>>\nstream\nendstream", ""},
  };
  for (const auto& [szValue, szData] : cases)
  {
    CTestDocument document = Simple();
    document.Add(szValue).Add("4");
    TOpened opened(document.Finish());
    ASSERT_TRUE(opened.m_bOpened) << szValue;
    const CObjectPtr object = opened.m_file.GetObject(4, 0);
    ASSERT_TRUE(object.IsStream()) << szValue;
    EXPECT_EQ(ReadAll(object.GetStream().Get()), szData) << szValue;
    EXPECT_EQ(object["Length"].GetIntegerValue(), static_cast<std::int64_t>(std::string(szData).size()))
        << szValue;
  }
}

TEST(File, ReferenceCyclesEnd)
{
  CTestDocument document = Simple();
  document.Add("5 0 R").Add("4 0 R").Add("<</Length 6 0 R>>stream\nab\nendstream");
  TOpened opened(document.Finish());
  ASSERT_TRUE(opened.m_bOpened);
  EXPECT_FALSE(opened.m_file.GetObject(4, 0)->IsInteger());
  EXPECT_TRUE(opened.m_file.GetObject(6, 0)->IsStream());
}

TEST(File, LongChainsOfReferencesLoadWithoutRecursion)
{
  CTestDocument document = Simple();
  constexpr int nLinks = 100000;
  for (int i = 0; i < nLinks; ++i)
    document.Add(std::to_string(5 + i) + " 0 R");
  TOpened opened(document.Add("42").Finish());
  ASSERT_TRUE(opened.m_bOpened);
  EXPECT_FALSE(opened.m_file.GetObject(4, 0)->IsInteger());
  EXPECT_EQ(opened.m_file.GetObject(4 + nLinks - 10, 0)->GetIntegerValue(), 42);
}

TEST(File, BytesAreNotParsedWithoutEnd)
{
  // Objects that overlap have a file parsed again and again, as these loads do.
  constexpr std::int64_t nSize = 4 << 20;
  TOpened opened(Simple().Add("(" + std::string(nSize, 'x') + ")").Finish());
  ASSERT_TRUE(opened.m_bOpened);
  const std::int64_t nMost = BSE::g_nFreeParsedSize / nSize + BSE::g_nMaxSharedRatio + 2;
  std::int64_t nLoads = 0;
  while (nLoads <= nMost && !opened.String(4).empty())
  {
    opened.m_file.GetObject(4, 0)->Unload();
    ++nLoads;
  }
  EXPECT_GE(nLoads, BSE::g_nMaxSharedRatio);
  EXPECT_LE(nLoads, nMost);
  // Nothing is null without a reason that a save can ask for.
  EXPECT_EQ(opened.m_file.GetReadFailure(), 0x80410113U);
  EXPECT_FALSE(opened.m_file.GetObject(3, 0)->Load());
}

TEST(File, CopiesOfOverlappingStreamsEnd)
{
  TOpened source(Simple().Finish());
  ASSERT_TRUE(source.m_bOpened);
  CFile target(&source.m_handler);
  constexpr std::int64_t nHalf = BSE::g_nFreeCopiedSize / 2;
  EXPECT_TRUE(target.AdmitStream(source.m_file, nHalf));
  EXPECT_TRUE(target.AdmitStream(source.m_file, nHalf));
  EXPECT_TRUE(target.AdmitStream(source.m_file, source.m_file.GetInput()->GetLength()));
  EXPECT_FALSE(target.AdmitStream(source.m_file, nHalf));
}

TEST(File, LongChainsUnloadWithoutRecursion)
{
  CTestDocument document = Simple();
  constexpr int nLinks = 30000;
  for (int i = 0; i < nLinks; ++i)
    document.Add("[" + std::to_string(5 + i) + " 0 R]");
  TOpened opened(document.Finish());
  ASSERT_TRUE(opened.m_bOpened);
  {
    CObjectPtr object = opened.m_file.GetObject(4, 0);
    BSE::CObjectArray<PDF::CObject> all;
    for (int i = 0; i < nLinks - 1; ++i)
    {
      all.Add(object.Get());
      object = object[0];
    }
    ASSERT_TRUE(object.IsArray());
  }
  EXPECT_FALSE(opened.m_file.GetXRef().GetEntry(5).m_pObject->IsLoaded());
}

}  // namespace
