// How the cost of a save grows with shapes that are large, or made to be costly: shapes_bench [SHAPE...]
// Each shape is written at N, 2N and 4N and saved by the command, a process for each. Marked and told by exit
// code 1: cost that grows faster than n log n, and a file of up to 1 MB that takes more than 5 s.

#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/Deflate.h"
#include "tests/support/TempFolder.h"

extern char** environ;

namespace
{

std::string Text(long n)
{
  return std::to_string(n);
}
std::string Ref(long n)
{
  return Text(n) + " 0 R";
}

// A document of numbered objects, of which 1 is the catalogue and 2 the root of the pages.
class CDocument
{
public:
  long Add(std::string sValue)
  {
    m_objects.push_back(std::move(sValue));
    return std::ssize(m_objects) + 2;
  }
  long AddStream(const std::string& sEntries, std::string_view sData)
  {
    return Add("<<" + sEntries + "/Length " + Text(std::ssize(sData)) + ">>stream\n" + std::string(sData) +
               "\nendstream");
  }
  long AddPage(const std::string& sEntries = "")
  {
    m_pages.push_back(Add("<</Type/Page/Parent 2 0 R/MediaBox[0 0 9 9]" + sEntries + ">>"));
    return m_pages.back();
  }
  long Next() const { return std::ssize(m_objects) + 3; }

  std::string Build()
  {
    if (m_sPages.empty())
    {
      if (m_pages.empty())
        AddPage();
      m_sPages = "<</Type/Pages/Count " + Text(std::ssize(m_pages)) + m_sInherited + "/Kids[";
      for (const long nPage : m_pages)
        m_sPages += Ref(nPage) + " ";
      m_sPages += "]>>";
    }
    m_sOut = "%PDF-1.7\n";
    std::vector<size_t> offsets;
    const auto put = [&](long nNumber, const std::string& sValue)
    {
      offsets.push_back(m_sOut.size());
      m_sOut += Text(nNumber) + " 0 obj\n" + sValue + "\nendobj\n";
    };
    put(1, "<</Type/Catalog/Pages 2 0 R" + m_sCatalog + ">>");
    put(2, m_sPages);
    for (size_t i = 0; i < m_objects.size(); ++i)
      put(static_cast<long>(i) + 3, m_objects[i]);
    PutSection(0, offsets, -1);
    return m_sOut;
  }

  // Appends a section of one entry that leads to the one before, as an update does.
  void AppendSection() { PutSection(1, {static_cast<size_t>(m_nFirst)}, m_nSection); }

  // Appends a revision with another value of an object; a hybrid one names it in a stream beside its table.
  void AppendRevision(long nNumber, const std::string& sValue, bool bHybrid)
  {
    const size_t nObject = m_sOut.size();
    m_sOut += Text(nNumber) + " 0 obj\n" + sValue + "\nendobj\n";
    const long nStream = std::ssize(m_sOut);
    if (bHybrid)
      m_sOut += Text(Next()) + " 0 obj\n<</Type/XRef/W[1 4 1]/Index[" + Text(nNumber) + " 1]/Size " +
                Text(Next() + 1) + "/Root 1 0 R/Length 6>>stream\n" + MakeRow(nObject) +
                "\nendstream\nendobj\n";
    PutSection(nNumber, {nObject}, m_nSection, bHybrid ? "/XRefStm " + Text(nStream) : "");
  }

  std::string m_sCatalog;
  std::string m_sPages;      // the root, where it is not the list of pages
  std::string m_sInherited;  // entries of that list
  std::string m_sOut;

private:
  static std::string MakeRow(size_t nOffset)
  {
    std::string sRow = "\1";
    for (int nShift = 24; nShift >= 0; nShift -= 8)
      sRow += static_cast<char>(nOffset >> nShift & 255);
    return sRow + '\0';
  }

  void PutSection(long nNumber, const std::vector<size_t>& offsets, long nPrevious,
                  const std::string& sEntries = "")
  {
    const long nStart = std::ssize(m_sOut);
    if (nNumber == 0)
      m_nFirst = static_cast<long>(offsets[0]);
    m_sOut += "xref\n" + Text(nNumber) + " " + Text(std::ssize(offsets) + (nNumber == 0 ? 1 : 0)) + "\n" +
              (nNumber == 0 ? "0000000000 65535 f \n" : "");
    char szEntry[32];
    for (const size_t nOffset : offsets)
    {
      std::snprintf(szEntry, sizeof szEntry, "%010zu 00000 n \n", nOffset);
      m_sOut += szEntry;
    }
    m_sOut += "trailer\n<</Root 1 0 R/Size " + Text(Next()) +
              (nPrevious >= 0 ? "/Prev " + Text(nPrevious) : "") + sEntries + ">>\nstartxref\n" +
              Text(nStart) + "\n%%EOF\n";
    m_nSection = nStart;
  }

  std::vector<std::string> m_objects;
  std::vector<long> m_pages;
  long m_nSection = -1;
  long m_nFirst = 0;
};

// --- Structure of the file

std::string MakeSections(long n)
{
  CDocument document;
  document.Build();
  for (long i = 0; i < n; ++i)
    document.AppendSection();
  return document.m_sOut;
}

std::string MakeRevisions(long n, bool bHybrid)
{
  CDocument document;
  const long nObject = document.Add("<<>>");
  document.m_sCatalog = "/Data " + Ref(nObject);
  document.Build();
  for (long i = 0; i < n; ++i)
    document.AppendRevision(nObject, "<</V " + Text(i) + ">>", bHybrid);
  return document.m_sOut;
}

// A document whose objects from 3 on are in object streams, and its cross-reference stream.
std::string MakeStreams(const std::vector<std::string>& streams, const std::vector<std::array<long, 3>>& rows,
                        long nMembers)
{
  std::string sOut = "%PDF-1.7\n";
  std::vector<std::array<long, 3>> table = {{0, 0, 255}};
  const auto put = [&](const std::string& sValue)
  {
    table.push_back({1, std::ssize(sOut), 0});
    sOut += Text(std::ssize(table) - 1) + " 0 obj\n" + sValue + "\nendobj\n";
  };
  put("<</Type/Catalog/Pages 2 0 R/Data[" + Ref(4 + std::ssize(streams)) + " " +
      Ref(3 + std::ssize(streams) + nMembers) + "]>>");
  put("<</Type/Pages/Count 1/Kids[3 0 R]>>");
  put("<</Type/Page/Parent 2 0 R/MediaBox[0 0 9 9]>>");
  for (const std::string& sStream : streams)
    put(sStream);
  table.insert(table.end(), rows.begin(), rows.end());
  std::string sRows;
  const long nStart = std::ssize(sOut);
  const long nOwn = std::ssize(table);
  table.push_back({1, nStart, 0});
  for (const auto& [nType, nPlace, nIndex] : table)
  {
    sRows += static_cast<char>(nType);
    for (int nShift = 24; nShift >= 0; nShift -= 8)
      sRows += static_cast<char>(nPlace >> nShift & 255);
    sRows += static_cast<char>(nIndex >> 8 & 255);
    sRows += static_cast<char>(nIndex & 255);
  }
  sRows = Support::Deflate(sRows);
  return sOut + Text(nOwn) + " 0 obj\n<</Type/XRef/W[1 4 2]/Root 1 0 R/Size " + Text(nOwn + 1) +
         "/Filter/FlateDecode/Length " + Text(std::ssize(sRows)) + ">>stream\n" + sRows +
         "\nendstream\nendobj\nstartxref\n" + Text(nStart) + "\n%%EOF\n";
}

std::string MakeObjectStream(const std::string& sHead, const std::string& sBody, long nCount)
{
  const std::string sData = Support::Deflate(sHead + sBody);
  return "<</Type/ObjStm/N " + Text(nCount) + "/First " + Text(std::ssize(sHead)) +
         "/Filter/FlateDecode/Length " + Text(std::ssize(sData)) + ">>stream\n" + sData + "\nendstream";
}

// Streams of 50 members each, where every member refers to one in another stream.
std::string MakeObjectStreams(long n)
{
  constexpr long nPer = 50;
  std::vector<std::string> streams;
  std::vector<std::array<long, 3>> rows;
  const long nFirst = 4 + n;
  for (long i = 0; i < n; ++i)
  {
    std::string sHead;
    std::string sBody;
    for (long k = 0; k < nPer; ++k)
    {
      const long nMember = i * nPer + k;
      sHead += Text(nFirst + nMember) + " " + Text(std::ssize(sBody)) + " ";
      sBody += "<</Next " + Ref(nFirst + (nMember + 37 * nPer) % (n * nPer)) + "/V " +
               Ref(nFirst + nMember * 31 % (n * nPer)) + ">> ";
      rows.push_back({2, 4 + i, k});
    }
    streams.push_back(MakeObjectStream(sHead, sBody, nPer));
  }
  return MakeStreams(streams, rows, n * nPer);
}

// Every entry of one object stream has the same long array.
std::string MakeOverlappingMembers(long n)
{
  std::string sHead;
  std::vector<std::array<long, 3>> rows;
  for (long i = 0; i < n; ++i)
  {
    sHead += Text(5 + i) + " 0 ";
    rows.push_back({2, 4, i});
  }
  std::string sBody = "[";
  for (long i = 0; i < n; ++i)
    sBody += Ref(5 + i) + " ";
  return MakeStreams({MakeObjectStream(sHead, sBody + "]", n)}, rows, n);
}

// Names whose places in a table of the plain hash are all among the first.
std::string MakeCollidingKeys(long n)
{
  const auto hash = [](std::string_view sKey)
  {
    unsigned nHash = 0;
    for (size_t i = 0; i <= sKey.size(); ++i)
    {
      const unsigned nProduct =
          (nHash + (i < sKey.size() ? static_cast<unsigned char>(sKey[i]) : 0U)) * 1025U;
      nHash = static_cast<unsigned>(static_cast<int>(nProduct) >> 6) ^ nProduct;
    }
    const unsigned nProduct = nHash * 9U;
    return (static_cast<unsigned>(static_cast<int>(nProduct) >> 11) ^ nProduct) * 32769U;
  };
  std::string sValue = "<<";
  long nFound = 0;
  for (long i = 0; nFound < n; ++i)
  {
    const std::string sKey = Text(i);
    if ((hash(sKey) & 0x1FFFFU) < 128)
    {
      sValue += "/" + sKey + " 0";
      ++nFound;
    }
  }
  CDocument document;
  document.m_sCatalog = "/Data " + Ref(document.Add(sValue + ">>"));
  return document.Build();
}

// --- Pages

std::string MakeWidePages(long n)
{
  CDocument document;
  for (long i = 0; i < n; ++i)
    document.AddPage("/Contents " + Ref(document.AddStream("", "0 0 m")));
  return document.Build();
}

std::string MakeDeepPages(long n)
{
  CDocument document;
  document.m_sPages = "<</Type/Pages/Count " + Text(n) + "/Kids[3 0 R]>>";
  for (long i = 0; i < n; ++i)
  {
    const long nOwn = document.Next();
    const std::string sKids = Ref(nOwn + 1) + (i + 1 < n ? " " + Ref(nOwn + 2) : "");
    document.Add("<</Type/Pages/Parent " + Ref(i == 0 ? 2 : nOwn - 2) + "/Count " + Text(n - i) + "/Kids[" +
                 sKids + "]>>");
    document.Add("<</Type/Page/MediaBox[0 0 9 9]/Parent " + Ref(nOwn) + ">>");
  }
  return document.Build();
}

std::string MakeResources(CDocument& document, long n)
{
  std::string sXObjects;
  for (long i = 0; i < n; ++i)
  {
    const std::string sSample(1, static_cast<char>('a' + i % 26));
    sXObjects += "/X" + Text(i) + " " +
                 Ref(document.AddStream("/Type/XObject/Subtype/Image/Width 1/Height 1/BitsPerComponent 8"
                                        "/ColorSpace/DeviceGray/Name/N" +
                                            Text(i) + "/Filter/ASCIIHexDecode",
                                        sSample));
  }
  return "<</XObject<<" + sXObjects + ">>>>";
}

// As many images as pages, in resources that all pages share.
std::string MakeSharedResources(long n)
{
  CDocument document;
  const long nShared = document.Add(MakeResources(document, n));
  // The images came first, and the number was given last.
  for (long i = 0; i < n; ++i)
    document.AddPage("/Resources " + Ref(nShared));
  return document.Build();
}

std::string MakeInheritedResources(long n)
{
  CDocument document;
  document.m_sInherited = "/Resources" + MakeResources(document, n);
  for (long i = 0; i < n; ++i)
    document.AddPage();
  return document.Build();
}

std::string MakeAnnotations(long n)
{
  CDocument document;
  std::string sAnnots;
  for (long i = 0; i < n; ++i)
    sAnnots +=
        Ref(document.Add("<</Type/Annot/Subtype/Link/Rect[0 0 1 1]/Border[0 0 " + Text(i) + "]>>")) + " ";
  const long nArray = document.Add("[" + sAnnots + "]");
  for (long i = 0; i < 100; ++i)
    document.AddPage("/Annots " + Ref(nArray));
  return document.Build();
}

// Notes with their windows, each an answer to the one before.
std::string MakePopups(long n)
{
  CDocument document;
  std::string sAnnots;
  for (long i = 0; i < n; ++i)
  {
    const long nNote = document.Next();
    document.Add("<</Type/Annot/Subtype/Text/Contents(c)/Rect[0 0 1 1]/Popup " + Ref(nNote + 1) +
                 (i > 0 ? "/IRT " + Ref(nNote - 2) : "") + ">>");
    document.Add("<</Type/Annot/Subtype/Popup/Rect[0 0 1 1]/Parent " + Ref(nNote) + ">>");
    sAnnots += Ref(nNote) + " " + Ref(nNote + 1) + " ";
  }
  document.AddPage("/Annots[" + sAnnots + "]");
  return document.Build();
}

// The same annotations, by name, on each page.
std::string MakeSharedAnnotations(long n)
{
  CDocument document;
  std::string sAnnots;
  for (long i = 0; i < n; ++i)
    sAnnots += Ref(document.Add("<</Type/Annot/Subtype/Link/Rect[0 0 1 " + Text(i) + "]>>")) + " ";
  for (long i = 0; i < 100; ++i)
    document.AddPage("/Annots[" + sAnnots + "]");
  return document.Build();
}

// --- Parts of the catalogue

// Each element has nKids below it, and its place in the tree of parents.
std::string MakeStructure(long n, long nKids)
{
  CDocument document;
  const long nPage = document.AddPage("/StructParents 0");
  const long nRoot = document.Next();
  std::string sParents;
  document.Add("<</Type/StructTreeRoot/K " + Ref(nRoot + 1) + "/ParentTree " + Ref(nRoot + n + 1) + ">>");
  for (long i = 0; i < n; ++i)
  {
    std::string sKids;
    for (long k = i * nKids + 1; k <= (i + 1) * nKids && k < n; ++k)
      sKids += Ref(nRoot + 1 + k) + " ";
    document.Add("<</S/P/P " + Ref(i == 0 ? nRoot : nRoot + 1 + (i - 1) / nKids) + "/Pg " + Ref(nPage) +
                 "/K[" + (sKids.empty() ? Text(i) : sKids) + "]>>");
    sParents += Ref(nRoot + 1 + i) + " ";
  }
  document.Add("<</Nums[0[" + sParents + "]]>>");
  document.m_sCatalog = "/MarkInfo<</Marked true>>/StructTreeRoot " + Ref(nRoot);
  return document.Build();
}

std::string MakeAttachments(long n)
{
  CDocument document;
  std::string sNames;
  for (long i = 0; i < n; ++i)
  {
    const long nFile = document.AddStream("/Type/EmbeddedFile", "file " + Text(i));
    sNames += "(" + Text(1000000 + i) + ")" +
              Ref(document.Add("<</Type/Filespec/F(a)/EF<</F " + Ref(nFile) + ">>>>"));
  }
  document.m_sCatalog = "/Names<</EmbeddedFiles<</Names[" + sNames + "]>>>>";
  return document.Build();
}

std::string MakeLabels(long n)
{
  CDocument document;
  std::string sLabels;
  for (long i = 0; i < n; ++i)
  {
    document.AddPage();
    sLabels += Text(i) + "<</S/D/P(p" + Text(i) + ")>>";
  }
  document.m_sCatalog = "/PageLabels<</Nums[" + sLabels + "]>>";
  return document.Build();
}

std::string MakeNames(long n)
{
  CDocument document;
  const long nPage = document.AddPage();
  std::string sNames;
  for (long i = 0; i < n; ++i)
    sNames += "(" + Text(1000000 + i) + ")[" + Ref(nPage) + "/Fit]";
  document.m_sCatalog = "/Names<</Dests " + Ref(document.Add("<</Names[" + sNames + "]>>")) + ">>";
  return document.Build();
}

std::string MakeOutlines(long n)
{
  CDocument document;
  const long nRoot = document.Next();
  document.m_sCatalog = "/Outlines " + Ref(nRoot);
  document.Add("<</Type/Outlines/First " + Ref(nRoot + 1) + "/Last " + Ref(nRoot + n) + ">>");
  for (long i = 1; i <= n; ++i)
    document.Add("<</Title(T)/Parent " + Ref(nRoot) + (i > 1 ? "/Prev " + Ref(nRoot + i - 1) : "") +
                 (i < n ? "/Next " + Ref(nRoot + i + 1) : "") + ">>");
  return document.Build();
}

// Each item below the one before.
std::string MakeDeepOutlines(long n)
{
  CDocument document;
  const long nRoot = document.Next();
  document.m_sCatalog = "/Outlines " + Ref(nRoot);
  for (long i = 0; i <= n; ++i)
    document.Add((i == 0 ? std::string("<<") : "<</Title(T)/Parent " + Ref(nRoot + i - 1)) +
                 (i < n ? "/First " + Ref(nRoot + i + 1) + "/Last " + Ref(nRoot + i + 1) : "") + ">>");
  return document.Build();
}

std::string MakeFields(long n)
{
  CDocument document;
  std::string sFields;
  for (long i = 0; i < n; ++i)
    sFields += Ref(document.Add("<</FT/Tx/T(f" + Text(i) + ")/V(v)/Subtype/Widget/Rect[0 0 1 1]>>")) + " ";
  document.AddPage("/Annots[" + sFields + "]");
  document.m_sCatalog = "/AcroForm<</Fields[" + sFields + "]>>";
  return document.Build();
}

std::string MakeDeepFields(long n)
{
  CDocument document;
  const long nRoot = document.Next();
  document.m_sCatalog = "/AcroForm<</Fields[" + Ref(nRoot) + "]>>";
  for (long i = 0; i < n; ++i)
    document.Add("<</FT/Tx/T(f)" + (i > 0 ? "/Parent " + Ref(nRoot + i - 1) : "") +
                 (i + 1 < n ? "/Kids[" + Ref(nRoot + i + 1) + "]" : "") + ">>");
  return document.Build();
}

// --- Objects and streams

// Alike in all but their last byte, or altogether.
std::string MakeAlike(long n, bool bEqual)
{
  CDocument document;
  std::string sList;
  for (long i = 0; i < n; ++i)
    sList += Ref(document.AddStream("", std::string(150, 'x') + (bEqual ? "" : Text(i)))) + " ";
  document.m_sCatalog = "/Data[" + sList + "]";
  return document.Build();
}

// A chain in which each object would be equal to the next one if that were equal to its next.
std::string MakeEqualChain(long n)
{
  CDocument document;
  const long nFirst = document.Next();
  for (long i = 0; i < n; ++i)
    document.Add("<</Type/Link/Next " + Ref(nFirst + (i + 1) % n) + (i == 0 ? "/First true" : "") + ">>");
  document.m_sCatalog = "/Data " + Ref(nFirst);
  return document.Build();
}

std::string MakeStackedFilters(long n)
{
  CDocument document;
  std::string sFilters;
  for (int i = 0; i < 30; ++i)
    sFilters += "/RunLengthDecode";
  std::string sList;
  for (long i = 0; i < n; ++i)
    sList += Ref(document.AddStream("/Filter[" + sFilters + "]", "\xFFz\x80")) + " ";
  document.m_sCatalog = "/Data[" + sList + "]";
  return document.Build();
}

// A thousand times as long when it is decoded.
std::string MakeBombs(long n)
{
  CDocument document;
  const std::string sData = Support::Deflate(std::string(static_cast<size_t>(n) * 1000, '\0'), 9);
  document.m_sCatalog = "/Data[" + Ref(document.AddStream("/Filter/FlateDecode", sData)) + "]";
  return document.Build();
}

std::string MakePacket(long n)
{
  std::string sItems;
  for (long i = 0; i < n; ++i)
    sItems += "<dc:p" + Text(i) + ">v</dc:p" + Text(i) + ">";
  CDocument document;
  document.m_sCatalog =
      "/Metadata " +
      Ref(document.AddStream(
          "/Type/Metadata/Subtype/XML",
          "<?xpacket begin='' id='W5M0MpCehiHzreSzNTczkc9d'?><x:xmpmeta xmlns:x='adobe:ns:meta/'><rdf:RDF "
          "xmlns:rdf='http://www.w3.org/1999/02/22-rdf-syntax-ns#'><rdf:Description rdf:about='' "
          "xmlns:dc='http://purl.org/dc/elements/1.1/'>" +
              sItems + "</rdf:Description></rdf:RDF></x:xmpmeta><?xpacket end='w'?>"));
  return document.Build();
}

struct TShape
{
  const char* szName;
  long nFirst;  // so that four times as many make about 1 MB
  std::function<std::string(long)> fnMake;
};

const TShape g_shapes[] = {
    {"sections", 2500, MakeSections},
    {"revisions", 2500, [](long n) { return MakeRevisions(n, false); }},
    {"hybrid-revisions", 1000, [](long n) { return MakeRevisions(n, true); }},
    {"object-streams", 200, MakeObjectStreams},
    {"more-object-streams", 1600, MakeObjectStreams},  // than are kept decoded at first
    {"overlapping-members", 1000, MakeOverlappingMembers},
    {"colliding-keys", 8000, MakeCollidingKeys},
    {"wide-pages", 1500, MakeWidePages},
    {"deep-pages", 1500, MakeDeepPages},
    {"shared-resources", 900, MakeSharedResources},
    {"inherited-resources", 900, MakeInheritedResources},
    {"annotations", 2500, MakeAnnotations},
    {"popups", 1600, MakePopups},
    {"shared-annotations", 200, MakeSharedAnnotations},
    {"structure", 2500, [](long n) { return MakeStructure(n, 8); }},
    {"deep-structure", 2500, [](long n) { return MakeStructure(n, 1); }},
    {"attachments", 1300, MakeAttachments},
    {"labels", 2200, MakeLabels},
    {"names", 8000, MakeNames},
    {"outlines", 2500, MakeOutlines},
    {"deep-outlines", 2500, MakeDeepOutlines},
    {"fields", 2200, MakeFields},
    {"deep-fields", 3000, MakeDeepFields},
    {"equal-streams", 1100, [](long n) { return MakeAlike(n, true); }},
    {"nearly-equal-streams", 1100, [](long n) { return MakeAlike(n, false); }},
    {"equal-chain", 3500, MakeEqualChain},
    {"stacked-filters", 450, MakeStackedFilters},
    {"bombs", 40000, MakeBombs},
    {"packet", 8000, MakePacket},
};

const std::vector<std::vector<std::string>> g_ways = {{"--profile", "none"},
                                                      {"--profile", "lossless"},
                                                      {"--profile", "max"},
                                                      {"--profile", "none", "--linearize"}};

// --- Measuring

constexpr double g_dMaxSeconds = 5;
constexpr double g_dSlowMegabyte = 1 << 20;
constexpr int g_nTimeout = 60;

// Below these a difference is noise.
constexpr double g_dLeastSeconds = 0.15;
constexpr double g_dLeastMegabytes = 8;

struct TCost
{
  double dSeconds = 0;
  double dMegabytes = 0;
  double dOutput = 0;
  int nExit = -1;
};

TCost Save(const std::string& sIn, const std::string& sOut, std::vector<std::string> way)
{
  std::filesystem::remove(sOut);
  way.insert(way.begin(), {"timeout", Text(g_nTimeout), BREVEX_PROGRAM, "-q", "--allow-larger"});
  way.insert(way.end(), {sIn, sOut});
  std::vector<char*> arguments;
  for (std::string& sArgument : way)
    arguments.push_back(sArgument.data());
  arguments.push_back(nullptr);
  TCost cost;
  pid_t nProcess = 0;
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", 1, 0);
  const bool bStarted = posix_spawnp(&nProcess, "timeout", &actions, nullptr, arguments.data(), environ) == 0;
  posix_spawn_file_actions_destroy(&actions);
  int nStatus = 0;
  rusage usage{};
  if (!bStarted || wait4(nProcess, &nStatus, 0, &usage) != nProcess)
    return cost;
  const auto seconds = [](const timeval& time)
  { return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6; };
  cost.dSeconds = seconds(usage.ru_utime) + seconds(usage.ru_stime);
  cost.dMegabytes = static_cast<double>(usage.ru_maxrss) / 1024;
  cost.nExit = WIFEXITED(nStatus) ? WEXITSTATUS(nStatus) : 128 + WTERMSIG(nStatus);
  std::error_code error;
  const std::uintmax_t nOutput = std::filesystem::file_size(sOut, error);
  cost.dOutput = error ? 0 : static_cast<double>(nOutput) / (1 << 20);
  return cost;
}

// From N to 4N a cost of n log n grows four times and a little; measuring takes its share.
bool GrowsTooFast(double dFirst, double dLast, double dLeast, long n)
{
  const double dLog = std::log2(4.0 * static_cast<double>(n)) / std::log2(static_cast<double>(n));
  return dLast > dLeast && dLast > std::max(dFirst, dLeast / 8) * 4 * dLog * 1.5;
}

// In a process of its own: what a process has taken counts for those that it starts.
bool WriteDocuments(const TShape& shape, const std::array<std::string, 3>& files)
{
  const pid_t nProcess = fork();
  if (nProcess == 0)
  {
    long n = shape.nFirst;
    for (const std::string& sFile : files)
    {
      Support::WriteFile(sFile, shape.fnMake(n));
      n *= 2;
    }
    _exit(0);
  }
  int nStatus = 0;
  return nProcess > 0 && waitpid(nProcess, &nStatus, 0) == nProcess && nStatus == 0;
}

bool MeasureWay(const TShape& shape, const std::array<std::string, 3>& files,
                const std::vector<std::string>& way, const std::string& sOut, double dIdle)
{
  std::vector<TCost> costs;
  std::string sMarks;
  double dBytes = 0;
  for (const std::string& sFile : files)
  {
    costs.push_back(Save(sFile, sOut, way));
    dBytes = static_cast<double>(std::filesystem::file_size(sFile));
    if (costs.back().dSeconds > g_dMaxSeconds * std::max(dBytes / g_dSlowMegabyte, 1.0))
      sMarks += " SLOW";
    if (costs.back().nExit > 4)
      sMarks += " ENDED(" + Text(costs.back().nExit) + ")";
  }
  const TCost& first = costs.front();
  const TCost& last = costs.back();
  if (GrowsTooFast(first.dSeconds, last.dSeconds, g_dLeastSeconds, shape.nFirst))
    sMarks += " TIME";
  if (GrowsTooFast(first.dMegabytes - dIdle, last.dMegabytes - dIdle, g_dLeastMegabytes, shape.nFirst))
    sMarks += " MEMORY";
  if (GrowsTooFast(first.dOutput, last.dOutput, 1, shape.nFirst))
    sMarks += " OUTPUT";
  std::string sWay = way.back();
  std::printf("%-20s %-12s %5.0f kB %6.2f %6.2f %6.2f s %5.0f %5.0f %5.0f MB %7.3f %7.3f %7.3f MB  %d%s\n",
              shape.szName, sWay.c_str(), dBytes / 1024, costs[0].dSeconds, costs[1].dSeconds,
              costs[2].dSeconds, costs[0].dMegabytes, costs[1].dMegabytes, costs[2].dMegabytes,
              costs[0].dOutput, costs[1].dOutput, costs[2].dOutput, last.nExit, sMarks.c_str());
  std::fflush(stdout);
  return sMarks.empty();
}

}  // namespace

int main(int nArguments, char** pszArguments)
{
  const std::vector<std::string> wanted(pszArguments + 1, pszArguments + nArguments);
  const Support::CTempFolder folder;
  const std::array<std::string, 3> files = {folder / "1.pdf", folder / "2.pdf", folder / "4.pdf"};
  const std::string sOut = folder / "out.pdf";
  Support::WriteFile(files[0], CDocument().Build());
  const double dIdle = Save(files[0], sOut, g_ways[0]).dMegabytes;
  bool bGood = true;
  for (const TShape& shape : g_shapes)
  {
    if (!wanted.empty() && std::find(wanted.begin(), wanted.end(), shape.szName) == wanted.end())
      continue;
    if (!WriteDocuments(shape, files))
      return 1;
    for (const std::vector<std::string>& way : g_ways)
      bGood = MeasureWay(shape, files, way, sOut, dIdle) && bGood;
  }
  return bGood ? 0 : 1;
}
