#include "base/MemoryStream.h"
#include "metadata/Xmp.h"
#include "metadata/XmpSchema.h"
#include "tests/metadata/TestPacket.h"

#include <gmock/gmock.h>

#include <map>

namespace
{

using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;
using testing::StartsWith;

using TEntries = std::map<std::string, std::u16string>;

class CInfo : public PDF::IInfoDictionary
{
public:
  bool GetText(const char* szKey, BSE::CStr16& text) override
  {
    const auto found = m_entries.find(szKey);
    if (found == m_entries.end())
      return false;
    text.Assign(found->second.c_str());
    return true;
  }
  void SetText(const char* szKey, const BSE::CStr16& text) override
  {
    m_entries[szKey] = text.GetText();
    if (text.IsEmpty())
      m_entries.erase(szKey);
  }

  TEntries m_entries;
};

class UpdateTest : public testing::Test
{
protected:
  UpdateTest()
  {
    const std::string now = "2026-01-02T03:04:05Z";
    EXPECT_TRUE(XMP::ParseXmpDate(now, m_update.m_now));
    m_update.m_szProducer = u"Tool 1.0";
  }

  bool Load(PDF::CXMP& xmp, const std::string& packet)
  {
    const BSE::CObjectPtr<BSE::IByteStream> pStream(
        new BSE::CMemoryStream(packet.data(), static_cast<std::int64_t>(packet.size())));
    return xmp.Load(pStream.Get());
  }
  void Update(PDF::CXMP& xmp)
  {
    xmp.UpdateMetadata(m_update, m_info);
    BSE::CStr8 text;
    xmp.WritePacket(text);
    m_written = text.GetText();
  }

  // One property of what was written.
  std::string GetWritten(const char* szNamespace, const char* szName)
  {
    XMP::CPacket packet(nullptr);
    EXPECT_TRUE(packet.Read(ToBytes(m_written))) << m_written;
    return packet.GetText(szNamespace, szName).GetText();
  }
  std::u16string Get(PDF::CXMP& xmp, const char* szKey)
  {
    BSE::CStr16 value;
    return xmp.GetInfoEntry(szKey, m_info, value) ? value.GetText() : u"-";
  }

  CInfo m_info;
  PDF::TMetadataUpdate m_update;
  std::string m_written;
};

TEST_F(UpdateTest, ThePacketWinsOverTheDictionary)
{
  PDF::CXMP xmp;
  ASSERT_TRUE(Load(xmp, MakePacket(MakeDefault("dc:title", "Packet") +
                                       "<dc:creator><rdf:Seq><rdf:li>A</rdf:li><rdf:li>B</rdf:li>"
                                       "</rdf:Seq></dc:creator>",
                                   "xmp:CreateDate='2020-01-01T12:00:00+01:00' pdf:Trapped='True'")));
  m_info.m_entries = {{"Title", u"Info"},
                      {"Subject", u"S"},
                      {"CreationDate", u"D:20200101110000Z"},
                      {"Keywords", u"one, two;three"},
                      {"Own", u"x"}};
  EXPECT_EQ(Get(xmp, "Title"), u"Packet");
  EXPECT_EQ(Get(xmp, "Author"), u"A; B");
  EXPECT_EQ(Get(xmp, "Subject"), u"S");
  EXPECT_EQ(Get(xmp, "CreationDate"), u"D:20200101120000+01'00'");
  EXPECT_EQ(Get(xmp, "Creator"), u"-");
  Update(xmp);
  // The creation date says the same time already.
  EXPECT_EQ(m_info.m_entries, (TEntries{{"Title", u"Packet"},
                                        {"Author", u"A; B"},
                                        {"Subject", u"S"},
                                        {"CreationDate", u"D:20200101110000Z"},
                                        {"Keywords", u"one, two;three"},
                                        {"ModDate", u"D:20260102030405Z"},
                                        {"Producer", u"Tool 1.0"},
                                        {"Trapped", u"True"},
                                        {"Own", u"x"}}));
  EXPECT_THAT(m_written, HasSubstr("<dc:description><rdf:Alt><rdf:li xml:lang=\"x-default\">S</rdf:li>"));
  EXPECT_THAT(m_written,
              HasSubstr("<rdf:Bag><rdf:li>one</rdf:li><rdf:li>two</rdf:li><rdf:li>three</rdf:li></rdf:Bag>"));
  EXPECT_EQ(GetWritten(XMP::g_szXmp, "ModifyDate"), "2026-01-02T03:04:05Z");
  EXPECT_EQ(GetWritten(XMP::g_szXmp, "MetadataDate"), "2026-01-02T03:04:05Z");
  EXPECT_EQ(GetWritten(XMP::g_szPdf, "Producer"), "Tool 1.0");
  EXPECT_THAT(m_written, Not(HasSubstr("xmpMM")));
}

TEST_F(UpdateTest, ReadsTitlesAndCreatorsOfOtherSchemas)
{
  PDF::CXMP xmp;
  ASSERT_TRUE(Load(xmp, MakePacket("", "pdf:Title='P' pdf:Creator='C'")));
  m_info.m_entries = {{"Title", u"I"}, {"Creator", u"I"}, {"Subject", u"I"}, {"Own", u"I"}};
  EXPECT_EQ(Get(xmp, "Title"), u"P");
  EXPECT_EQ(Get(xmp, "Creator"), u"C");
  xmp.SetPart(1);
  EXPECT_EQ(Get(xmp, "Title"), u"I");
  xmp.SetPart(2);
  EXPECT_EQ(Get(xmp, "Title"), u"-");
  EXPECT_EQ(Get(xmp, "Own"), u"-");
}

// What cannot be taken over stays away from the dictionary; what that has replaces it.
TEST_F(UpdateTest, RepairsInvalidValues)
{
  PDF::CXMP xmp;
  ASSERT_TRUE(Load(xmp, MakePacket("<dc:title><rdf:Seq><rdf:li>a</rdf:li></rdf:Seq></dc:title>",
                                   "xmp:CreateDate='soon' xmp:ModifyDate='later' pdf:Trapped='Perhaps'")));
  m_info.m_entries = {{"Title", u"I"}, {"Trapped", u"Unknown"}, {"ModDate", u"never"}};
  Update(xmp);
  EXPECT_THAT(m_written, HasSubstr("<dc:title><rdf:Alt><rdf:li xml:lang=\"x-default\">I</rdf:li></rdf:Alt>"));
  EXPECT_EQ(GetWritten(XMP::g_szXmp, "CreateDate"), "2026-01-02T03:04:05Z");
  EXPECT_EQ(GetWritten(XMP::g_szXmp, "ModifyDate"), "2026-01-02T03:04:05Z");
  EXPECT_EQ(GetWritten(XMP::g_szPdf, "Trapped"), "Perhaps");
  EXPECT_EQ(m_info.m_entries["ModDate"], u"D:20260102030405Z");
  EXPECT_EQ(m_info.m_entries["Trapped"], u"Unknown");
}

// The present time is no answer to when a document was made.
TEST_F(UpdateTest, KeepsCreationDatesItCannotRead)
{
  const struct
  {
    const char* m_szPacket;
    int m_nPart;
    const char16_t* m_szInfo;
  } cases[] = {{nullptr, 0, u"Monday, May 3, 2004"},
               {"", 0, u"Monday, May 3, 2004"},
               {"xmp:CreateDate='soon'", 0, u"Monday, May 3, 2004"},
               {"pdfaid:part='2' pdfaid:conformance='B'", 2, u"D:20040503"}};
  for (const auto& c : cases)
  {
    PDF::CXMP xmp;
    if (c.m_szPacket)
    {
      ASSERT_TRUE(Load(xmp, MakePacket("", c.m_szPacket)));
    }
    xmp.SetPart(c.m_nPart);
    m_info.m_entries = {{"CreationDate", c.m_szInfo}, {"ModDate", u"Tuesday"}};
    Update(xmp);
    EXPECT_EQ(m_info.m_entries["CreationDate"], c.m_szInfo);
    EXPECT_EQ(m_info.m_entries["ModDate"], u"D:20260102030405Z");
  }
}

// A packet cannot hold every text of the dictionary, and would win over it in the next save.
TEST_F(UpdateTest, LeavesTextsToTheDictionaryThatXmlCannotHold)
{
  const TEntries entries = {{"Title", u"\u001Bde\u001BTitel"}, {"Keywords", u"a\vb"}, {"Author", u"A\nB"}};
  m_info.m_entries = entries;
  for (int i = 0; i < 2; ++i)
  {
    PDF::CXMP xmp;
    ASSERT_TRUE(Load(xmp, i == 0 ? MakePacket("", "") : m_written));
    Update(xmp);
    for (const auto& [sKey, sValue] : entries)
      EXPECT_EQ(m_info.m_entries[sKey], sValue) << sKey;
    EXPECT_THAT(m_written, Not(HasSubstr("\xEF\xBF\xBD")));
  }
  EXPECT_THAT(m_written, HasSubstr("<rdf:li>A\nB</rdf:li>"));
}

TEST_F(UpdateTest, MakesAPacketOnlyWhereOneIsWanted)
{
  const struct
  {
    int m_nMajor;
    bool m_bWanted;
    bool m_bBroken;
    bool m_bMade;
  } cases[] = {
      {1, false, false, false}, {1, true, false, true}, {1, false, true, true}, {2, false, false, true}};
  for (const auto& c : cases)
  {
    PDF::CXMP xmp;
    if (c.m_bBroken)
    {
      EXPECT_FALSE(Load(xmp, "<broken"));
    }
    m_info.m_entries = {{"Title", u"T"}};
    m_update.m_nMajorVersion = c.m_nMajor;
    m_update.m_bPacketWanted = c.m_bWanted;
    xmp.AddHistoryEvent("optimized", nullptr);
    Update(xmp);
    EXPECT_EQ(!m_written.empty(), c.m_bMade) << c.m_nMajor << c.m_bWanted << c.m_bBroken;
    EXPECT_EQ(m_info.m_entries["ModDate"], u"D:20260102030405Z");
    EXPECT_EQ(m_info.m_entries["Producer"], u"Tool 1.0");
    if (c.m_bMade)
    {
      EXPECT_THAT(m_written, HasSubstr(">T</rdf:li>"));
    }
  }
}

TEST_F(UpdateTest, AppendsToTheHistory)
{
  PDF::CXMP source;
  ASSERT_TRUE(Load(
      source, MakePacket("<xmpMM:History><rdf:Bag><rdf:li stEvt:action='made'/></rdf:Bag></xmpMM:History>",
                         "pdf:Producer='Old'")));
  std::string ids[2];
  for (std::string& id : ids)
  {
    PDF::CXMP xmp;
    xmp.AddHistoryEvent("optimized", nullptr);
    xmp.AddHistoryEvent("signed", "by me");
    xmp.AddHistoryEvent(nullptr, nullptr);
    xmp.CopyFrom(source);
    Update(xmp);
    id = GetWritten(XMP::g_szXmpMM, "InstanceID");
    EXPECT_THAT(id,
                MatchesRegex("urn:uuid:[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}"));
    const std::string middle = "\" stEvt:instanceID=\"" + id +
                               "\" stEvt:when=\"2026-01-02T03:04:05Z\" stEvt:softwareAgent=\"Tool 1.0\"";
    EXPECT_THAT(
        m_written,
        HasSubstr("<rdf:Seq><rdf:li stEvt:action=\"made\"/><rdf:li stEvt:action=\"optimized" + middle +
                  " stEvt:parameters=\"No additional information provided\"/>"
                  "<rdf:li stEvt:action=\"signed" +
                  middle + " stEvt:parameters=\"by me\"/>"));
    EXPECT_EQ(GetWritten(XMP::g_szPdf, "Producer"), "Old");
    // Events are written once.
    const std::string first = m_written;
    Update(xmp);
    EXPECT_EQ(m_written, first);
  }
  EXPECT_EQ(ids[0], ids[1]);
}

TEST_F(UpdateTest, SetsEntriesOnBothSides)
{
  PDF::CXMP xmp;
  ASSERT_TRUE(
      Load(xmp, MakePacket("<dc:title><rdf:Alt><rdf:li xml:lang='de'>Alt</rdf:li></rdf:Alt></dc:title>",
                           "xmp:CreatorTool='C' xmp:CreateDate='2020-01-01' pdf:Producer='P'")));
  const std::pair<const char*, const char16_t*> entries[] = {
      {"Title", u"Neu \u4E2D"},    {"Author", u"A"},          {"Creator", u""},
      {"CreationDate", u"D:2021"}, {"ModDate", u"yesterday"}, {"Own", u"x"}};
  for (const auto& [szKey, szValue] : entries)
    xmp.SetInfoEntry(szKey, BSE::CStr16(szValue), m_info);
  EXPECT_EQ(Get(xmp, "ModDate"), u"yesterday");
  Update(xmp);
  EXPECT_EQ(m_info.m_entries, (TEntries{{"Title", u"Neu \u4E2D"},
                                        {"Author", u"A"},
                                        {"CreationDate", u"D:2021"},
                                        {"ModDate", u"D:20260102030405Z"},
                                        {"Producer", u"P"},
                                        {"Own", u"x"}}));
  EXPECT_THAT(m_written,
              HasSubstr("<rdf:li xml:lang=\"x-default\">Neu \xE4\xB8\xAD</rdf:li><rdf:li xml:lang=\"de\">"));
  EXPECT_THAT(m_written, Not(HasSubstr("CreatorTool")));
  EXPECT_EQ(GetWritten(XMP::g_szXmp, "CreateDate"), "2021");
}

// Of version 2.0 on, the dictionary gets nothing but dates that it does not have already.
TEST_F(UpdateTest, LeavesADeprecatedDictionaryAlone)
{
  PDF::CXMP xmp;
  ASSERT_TRUE(Load(xmp, MakePacket(MakeDefault("dc:title", "T"), "pdf:Producer='P' xmp:CreatorTool='C'")));
  m_info.m_entries = {{"Creator", u"old"}};
  m_update.m_nMajorVersion = 2;
  Update(xmp);
  EXPECT_EQ(m_info.m_entries, (TEntries{{"Creator", u"C"}, {"ModDate", u"D:20260102030405Z"}}));
}

TEST_F(UpdateTest, ChangesTheClaim)
{
  PDF::CXMP xmp;
  ASSERT_TRUE(Load(
      xmp, MakePacket("<pdfaid:conformance>A</pdfaid:conformance>", "pdfaid:part='2' pdfaid:amd='2011'")));
  EXPECT_STREQ(xmp.GetClaimedPart().GetText(), "2");
  EXPECT_STREQ(xmp.GetClaimedLevel().GetText(), "A");
  xmp.SetClaim("2", "U");
  EXPECT_STREQ(xmp.GetClaimedLevel().GetText(), "U");
  xmp.SetClaim("", "");
  Update(xmp);
  EXPECT_THAT(m_written, Not(HasSubstr("pdfaid")));
}

}  // namespace
