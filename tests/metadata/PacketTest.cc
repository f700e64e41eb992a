#include "base/Unicode.h"
#include "metadata/RdfNames.h"
#include "metadata/XmlErrorHandler.h"
#include "metadata/XmpRdfParser.h"
#include "metadata/XmpSchema.h"
#include "tests/metadata/TestPacket.h"

#include <gmock/gmock.h>

namespace
{

using testing::Contains;
using testing::HasSubstr;
using testing::Not;

constexpr const char* g_szOwn = "http://q.example/";

// The tree in one line: texts, {field=value}, [items], (qualifiers), @language, <URI>.
std::string Describe(const XMP::CNode* pNode)
{
  if (!pNode)
    return "-";
  std::string result;
  if (const auto* pLiteral = dynamic_cast<const XMP::CLiteral*>(pNode))
    result = pLiteral->IsUri() ? "<" + std::string(pLiteral->GetText().GetText()) + ">"
                               : std::string(pLiteral->GetText().GetText());
  else if (const auto* pArray = dynamic_cast<const XMP::CArray*>(pNode))
  {
    result = "BSA"[static_cast<int>(pArray->GetKind())];
    result += "[";
    for (int i = 0; i < pArray->GetSize(); ++i)
      result += (i > 0 ? " " : "") + Describe(pArray->GetItem(i));
    result += "]";
  }
  else if (const auto* pStructure = dynamic_cast<const XMP::CStructure*>(pNode))
  {
    for (int i = pStructure->GetBegin(); i != pStructure->GetEnd(); i = pStructure->GetNext(i))
      result += (result.empty() ? "" : " ") + std::string(pStructure->GetAt(i)->GetName()->GetLocalName()) +
                "=" + Describe(pStructure->GetAt(i));
    result = "{" + result + "}";
  }
  if (!pNode->GetLanguage().IsEmpty())
    result += "@" + std::string(pNode->GetLanguage().GetText());
  return pNode->GetQualifiers() ? result + "(" + Describe(pNode->GetQualifiers()) + ")" : result;
}

// Every form that RDF has for a value, and the same tree again after writing and reading.
TEST(PacketTest, ReadsAndWritesAllForms)
{
  const struct
  {
    const char* m_szForm;
    const char* m_szTree;
  } cases[] = {
      {"<q:p>text</q:p>", "text"},
      {"<q:p/>", ""},
      {"<q:p> a&lt;b &amp;&#x9;c&#xD;&#xA; ]]&gt; \xC3\xA4 \xF0\x9F\x98\x80</q:p>",
       " a<b &\tc\r\n ]]> \xC3\xA4 \xF0\x9F\x98\x80"},
      {"<q:p><![CDATA[<a>]]>b</q:p>", "<a>b"},
      {"<q:p xml:lang='de'>text</q:p>", "text@de"},
      {"<q:p><rdf:Description xmlns:n='http://n?a&amp;b' n:k='&amp;'/></q:p>", "{k=&}"},
      {"<q:p rdf:resource='http://u/?a=1&amp;b'/>", "<http://u/?a=1&b>"},
      {"<q:p rdf:resource='u' q:k='1'/>", "<u>({k=1})"},
      {"<q:p rdf:parseType='Resource'><q:a>1</q:a><q:b>2</q:b></q:p>", "{a=1 b=2}"},
      {"<q:p rdf:parseType='Resource'/>", "{}"},
      {"<q:p q:a='1' q:b='&quot;2&quot;&#xA;'/>", "{a=1 b=\"2\"\n}"},
      {"<q:p><rdf:Description q:a='1'><q:b xml:lang='x'>2</q:b></rdf:Description></q:p>", "{a=1 b=2@x}"},
      {"<q:p><rdf:Bag><rdf:li>a</rdf:li><rdf:li>b</rdf:li></rdf:Bag></q:p>", "B[a b]"},
      {"<q:p><rdf:Seq><rdf:li q:a='1'/><rdf:li "
       "rdf:parseType='Resource'><q:a>2</q:a></rdf:li></rdf:Seq></q:p>",
       "S[{a=1} {a=2}]"},
      {"<q:p><rdf:Seq><rdf:_1>a</rdf:_1><rdf:li><rdf:Bag><rdf:li/></rdf:Bag></rdf:li></rdf:Seq></q:p>",
       "S[a B[]]"},
      {"<q:p><rdf:Alt/></q:p>", "A[]"},
      {"<q:p><rdf:Description rdf:type='http://www.w3.org/1999/02/22-rdf-syntax-ns#Bag'><rdf:li>a</rdf:li>"
       "</rdf:Description></q:p>",
       "B[a]"},
      {"<q:p rdf:value='v' q:k='1'/>", "v({k=1})"},
      {"<q:p "
       "rdf:parseType='Resource'><rdf:value><rdf:Bag><rdf:li>v</rdf:li></rdf:Bag></rdf:value><q:k>1</q:k></"
       "q:p>",
       "B[v]({k=1})"},
      {"<q:p rdf:datatype='http://t'>text</q:p>", "text"},
  };
  for (const auto& c : cases)
  {
    SCOPED_TRACE(c.m_szForm);
    XMP::CPacket packet(nullptr);
    ASSERT_TRUE(packet.Read(ToBytes(MakePacket(c.m_szForm))));
    EXPECT_EQ(Describe(packet.Find(g_szOwn, "p")), c.m_szTree);
    const std::string once = Write(packet);
    XMP::CPacket again(nullptr);
    ASSERT_TRUE(again.Read(ToBytes(once))) << once;
    EXPECT_EQ(Describe(again.Find(g_szOwn, "p")), c.m_szTree) << once;
    EXPECT_EQ(Write(again), once);
    XMP::CPacket copy(nullptr);
    copy.CopyFrom(again);
    EXPECT_EQ(Write(copy), once);
  }
}

TEST(PacketTest, WritesTheFrame)
{
  XMP::CPacket packet(nullptr);
  EXPECT_TRUE(packet.Read(ToBytes(
      "<rdf:RDF xmlns:rdf='http://www.w3.org/1999/02/22-rdf-syntax-ns#'><rdf:Description rdf:about='uuid:1'"
      " xmlns:xap='http://ns.adobe.com/xap/1.0/' xap:Label='a'/><rdf:Description rdf:about='uuid:1'"
      " xmlns:own='http://own/' own:b='c'/></rdf:RDF>")));
  EXPECT_EQ(Write(packet),
            "<?xpacket begin=\"\xEF\xBB\xBF\" id=\"W5M0MpCehiHzreSzNTczkc9d\"?>\n"
            "<x:xmpmeta xmlns:x=\"adobe:ns:meta/\" x:xmptk=\"Tarvex(TM) XMP Library 6.27.17.0\">"
            "<rdf:RDF xmlns:rdf=\"http://www.w3.org/1999/02/22-rdf-syntax-ns#\""
            " xmlns:xmp=\"http://ns.adobe.com/xap/1.0/\" xmlns:own=\"http://own/\">"
            "<rdf:Description rdf:about=\"uuid:1\" xmp:Label=\"a\" own:b=\"c\"/></rdf:RDF></x:xmpmeta>\n"
            "<?xpacket end='w'?>");
}

std::string Widen(const std::u16string& text, int nUnit, bool bBig)
{
  std::string bytes;
  for (const char16_t n : text)
    for (int i = 0; i < nUnit; ++i)
    {
      const int nShift = 8 * (bBig ? nUnit - 1 - i : i);
      bytes += static_cast<char>(nShift < 16 ? n >> nShift & 0xFF : 0);
    }
  return bytes;
}

TEST(PacketTest, ReadsEveryEncoding)
{
  const std::string utf8 = MakePacket("<q:p>\xC3\xA4\xE4\xB8\xAD</q:p>");
  BSE::CStr16 converted;
  ASSERT_TRUE(BSE::ConvertText(utf8.c_str(), converted));
  const std::u16string utf16 = converted.GetText();
  const std::string forms[] = {
      utf8,
      "\xEF\xBB\xBF" + utf8,
      " \r\n" + utf8 + "  " + std::string(3, '\0'),
      "<?xml version='1.0' encoding='ISO-8859-1'?>" + utf8,
      utf8 + "\nendstream\n" + utf8,
      utf8 + "<\xFF\xFE",
      Widen(utf16, 2, true),
      Widen(u'\uFEFF' + utf16, 2, true),
      Widen(utf16, 2, false),
      Widen(u'\uFEFF' + utf16, 2, false),
      Widen(utf16, 4, true),
      Widen(u'\uFEFF' + utf16, 4, false),
  };
  for (const std::string& form : forms)
  {
    XMP::CPacket packet(nullptr);
    EXPECT_TRUE(packet.Read(ToBytes(form)));
    EXPECT_EQ(Describe(packet.Find(g_szOwn, "p")), "\xC3\xA4\xE4\xB8\xAD") << (&form - forms);
  }
  CReports reports;
  XMP::CPacket latin(&reports);
  EXPECT_TRUE(
      latin.Read(ToBytes("<rdf:RDF xmlns:rdf='http://www.w3.org/1999/02/22-rdf-syntax-ns#'>"
                         "<rdf:Description xmlns:q='http://q.example/' q:p='\xE4'/></rdf:RDF>")));
  EXPECT_EQ(Describe(latin.Find(g_szOwn, "p")), "\xC3\xA4");
  EXPECT_THAT(reports.m_codes, Contains(XMP::g_nInvalidEncoding));
}

TEST(PacketTest, RefusesWhatIsNoPacket)
{
  const std::string good = MakePacket("<q:p>1</q:p>");
  std::string laughs = "<!DOCTYPE r [<!ENTITY a0 'ha'>";
  for (int i = 1; i < 30; ++i)
  {
    const std::string inner = "&a" + std::to_string(i - 1) + ";";
    laughs += "<!ENTITY a" + std::to_string(i) + " '" + inner + inner + inner + inner + "'>";
  }
  std::string deep;
  for (int i = 0; i < 300; ++i)
    deep += "<q:p rdf:parseType='Resource'>";
  std::string crowded;
  for (int i = 0; i < 1100; ++i)
    crowded += " q:a" + std::to_string(i) + "='1'";
  std::string bound;
  for (int i = 0; i < 600; ++i)
    bound += "<n" + std::to_string(i) + ":p xmlns:n" + std::to_string(i) + "='http://n" + std::to_string(i) +
             "/'/>";
  std::string unbound;
  for (int i = 0; i < 1100; ++i)
    unbound += "<unbound:p/>";
  const std::string cases[] = {
      "",
      "text",
      "<a/>",
      good.substr(0, good.size() - 40),
      MakePacket("<q:p>1</q:r>"),
      MakePacket("<q:p>&unknown;</q:p>"),
      laughs + "]>" + MakePacket("<q:p>&a29;</q:p>"),
      "<!DOCTYPE r SYSTEM 'file:///etc/passwd'>" + good,
      "<!DOCTYPE r [<!ENTITY x SYSTEM 'file:///etc/passwd'>]>" + MakePacket("<q:p>&x;</q:p>"),
      MakePacket(deep),
      MakePacket("", crowded),
      MakePacket(bound),
      "<RDF xmlns='http://www.w3.org/TR/WD-rdf-syntax#'/>",
      std::string("\xFE\xFF\xD8\x00\x00<", 6),
      // A long message for every byte, and for every element.
      "<!--" + std::string(1 << 22, '-'),
      MakePacket(unbound),
  };
  for (const std::string& text : cases)
  {
    CReports reports;
    XMP::CPacket packet(&reports);
    EXPECT_FALSE(packet.Read(ToBytes(text))) << text.substr(0, 200);
    EXPECT_THAT(reports.m_codes, Contains(XMP::g_nInvalidPacket));
    EXPECT_EQ(packet.Find(g_szOwn, "p"), nullptr);
  }
}

TEST(PacketTest, TakesHugeValuesAndManyItems)
{
  const std::string huge(3 << 20, 'x');
  std::string items;
  for (int i = 0; i < 30000; ++i)
    items += "<rdf:li>" + std::to_string(i) + "</rdf:li>";
  XMP::CPacket packet(nullptr);
  ASSERT_TRUE(
      packet.Read(ToBytes(MakePacket("<q:p>" + huge + "</q:p><q:b><rdf:Bag>" + items + "</rdf:Bag></q:b>"))));
  EXPECT_EQ(packet.GetText(g_szOwn, "p").GetLength(), 3 << 20);
  EXPECT_EQ(dynamic_cast<XMP::CBag&>(*packet.Find(g_szOwn, "b")).GetSize(), 30000);
  XMP::CPacket again(nullptr);
  EXPECT_TRUE(again.Read(ToBytes(Write(packet))));
}

TEST(PacketTest, KnowsThePrefixOfRecognizedText)
{
  XMP::CPacket packet(nullptr);
  ASSERT_TRUE(packet.Read(ToBytes(MakePacket("<z:p xmlns:z='http://ns.norvane.com/ocr/1.0/'>1</z:p>"))));
  EXPECT_THAT(Write(packet), HasSubstr("ocr:p=\"1\""));
}

// More plain values than a tag may have attributes.
TEST(PacketTest, ReadsWhatItWrites)
{
  std::string body;
  for (int i = 0; i < 3000; ++i)
    body += "<q:p" + std::to_string(i) + ">v</q:p" + std::to_string(i) + ">";
  XMP::CPacket packet(nullptr);
  ASSERT_TRUE(packet.Read(ToBytes(MakePacket(body))));
  packet.SetText(g_szOwn, "control", "a\x01\xFF");
  XMP::CPacket again(nullptr);
  ASSERT_TRUE(again.Read(ToBytes(Write(packet))));
  EXPECT_EQ(Describe(again.Find(g_szOwn, "p2999")), "v");
  EXPECT_EQ(Describe(again.Find(g_szOwn, "control")), "a\xEF\xBF\xBD\xEF\xBF\xBD");
}

TEST(PacketTest, LeavesOutWhatIsNotAllowed)
{
  const struct
  {
    std::string m_body;
    unsigned m_nCode;
    const char* m_szTree;
  } cases[] = {
      {"<q:p>1</q:p><q:p>2</q:p>", XMP::g_nRepeatedProperty, "1"},
      {"<q:p rdf:nodeID='a'/>", RDF::g_nFeatureMissing, "-"},
      {"<q:p rdf:parseType='Literal'><b/></q:p>", RDF::g_nFeatureMissing, "-"},
      {"<q:p><rdf:Bag><q:x>1</q:x><rdf:li>2</rdf:li></rdf:Bag></q:p>", XMP::g_nNoArrayItem, "B[2]"},
      {"<q:p><q:T><q:a>1</q:a></q:T></q:p>", XMP::g_nUnknownNodeType, "{a=1}"},
      {"<q:p><rdf:Bag/><rdf:Seq/></q:p>", RDF::g_nOneChildOnly, "B[]"},
      {"<p/>", RDF::g_nNoNamespace, "-"},
  };
  for (const auto& c : cases)
  {
    CReports reports;
    XMP::CPacket packet(&reports);
    EXPECT_TRUE(packet.Read(ToBytes(MakePacket(c.m_body)))) << c.m_body;
    EXPECT_EQ(Describe(packet.Find(g_szOwn, "p")), c.m_szTree) << c.m_body;
    EXPECT_THAT(reports.m_codes, Contains(c.m_nCode)) << c.m_body;
  }
}

TEST(PacketTest, ReportsWrongTypesWithTheirPath)
{
  CReports reports;
  XMP::CPacket packet(&reports);
  EXPECT_TRUE(
      packet.Read(ToBytes(MakePacket(MakeDefault("dc:title", "a") +
                                     "<dc:creator>A</dc:creator><xmp:CreateDate>soon</xmp:CreateDate>"
                                     "<pdfaid:part>1</pdfaid:part><pdf:Trapped>Maybe</pdf:Trapped>"))));
  EXPECT_EQ(reports.m_codes, std::set<unsigned>{XMP::g_nWrongType});
  EXPECT_EQ(reports.m_paths, (std::set<std::u16string>{u"/dc:creator", u"/xmp:CreateDate", u"/pdf:Trapped"}));
  XMP::CAlt& title = dynamic_cast<XMP::CAlt&>(*packet.Find(XMP::g_szDc, "title"));
  EXPECT_STREQ(XMP::GetPath(*title.GetItem(0)).GetText(), "/dc:title[1]");
}

TEST(PacketTest, ReportsWhereXmlIsBroken)
{
  CReports reports;
  XMP::CPacket packet(&reports);
  EXPECT_FALSE(packet.Read(ToBytes("<a>\n<b></a>")));
  EXPECT_THAT(reports.m_codes, Contains(XML::g_nXmlError));
}

}  // namespace
