// Objects that are dropped stay away, whatever else leads to them.

#include <gtest/gtest.h>

#include <set>
#include <string>

#include "tests/engine/SavedDocument.h"
#include "tests/support/PdfBuilder.h"

namespace
{

using Engine::Ref;
using Engine::TSaved;
using PDF::CObjectPtr;
using TNames = std::set<std::string>;

// The values of "NM" of all objects of a file.
TNames ListMarks(TSaved& saved)
{
  TNames names;
  PDF::CFile& file = saved.m_result.GetFile();
  for (int i = 0, n = file.GetXRef().GetSize(); i < n; ++i)
    if (const CObjectPtr name = file.GetObject(i, -1)["NM"])
    {
      const std::span<const unsigned char> bytes = name.GetStringValue().GetSpan();
      names.emplace(bytes.begin(), bytes.end());
    }
  return names;
}

constexpr const char* g_szHidden = "/F 2 /Rect [0 0 9 9] ";
constexpr const char* g_szShown = "/Type /Annot /Rect [0 0 9 9] ";

// A note with a hidden popup and a hidden original that it answers, on another page than these.
TEST(ObjectStripper, DroppedAnnotationsAreNotReachedFromOthers)
{
  Support::CPdfBuilder builder;
  const int nNote = builder.ReserveObject();
  const int nPopup = builder.AddObject(std::string("<< /NM (popup) /Subtype /Popup ") + g_szHidden +
                                       "/Type /Annot /Parent " + Ref(nNote) + " >>");
  const int nFirst =
      builder.AddObject(std::string("<< /NM (first) /Subtype /Text ") + g_szHidden + "/IRT null >>");
  builder.SetObject(nNote, std::string("<< /NM (note) /Subtype /Text ") + g_szShown + "/Popup " +
                               Ref(nPopup) + " /IRT " + Ref(nFirst) + " /A << /S /Hide /T [" + Ref(nFirst) +
                               " " + Ref(nNote) + "] /Mixed [(a) " + Ref(nFirst) + "] >> >>");
  builder.AddPage("", "/Annots [" + Ref(nNote) + "]");
  builder.AddPage("", "/Annots [" + Ref(nFirst) + " " + Ref(nPopup) + "]");
  TSaved saved(builder.Build(), PDF::eStripHiddenAnnots);
  EXPECT_EQ(ListMarks(saved), TNames{"note"});
  const CObjectPtr note = saved.Page()["Annots"][0];
  EXPECT_TRUE(note["Popup"].IsNull());
  EXPECT_EQ(note["A"]["T"].GetSize(), 1) << "a list closes up";
  EXPECT_EQ(note["A"]["T"][0], note);
  EXPECT_EQ(note["A"]["Mixed"].GetSize(), 2) << "places are kept";
  EXPECT_TRUE(saved.Page(1)["Annots"].IsNull());
  TSaved plain(builder.Build());
  EXPECT_EQ(ListMarks(plain), (TNames{"note", "first", "popup"}));
}

TEST(ObjectStripper, StructureLeadsToNoDroppedAnnotation)
{
  Support::CPdfBuilder builder;
  const int nRoot = builder.ReserveObject();
  const int nElement = builder.ReserveObject();
  const int nLink = builder.ReserveObject();
  const int nSeen = builder.AddObject(std::string("<< /NM (seen) /Subtype /Link ") + g_szShown + ">>");
  // Without its type, an annotation looks like a part of the tree.
  const int nUnseen = builder.AddObject(std::string("<< /NM (unseen) /Subtype /Link ") + g_szHidden + ">>");
  const int nPage = builder.AddPage("", "/Annots [" + Ref(nSeen) + " " + Ref(nUnseen) + "]");
  const auto objr = [](int n) { return "<< /Type /OBJR /Obj " + Ref(n) + " >> "; };
  builder.SetObject(nElement, "<< /S /P /P " + Ref(nRoot) + " /Pg " + Ref(nPage) + " /K [0 " + objr(nUnseen) +
                                  objr(nSeen) + Ref(nLink) + "] >>");
  builder.SetObject(nLink,
                    "<< /Type /StructElem /S /Link /P " + Ref(nElement) + " /K [" + objr(nUnseen) + "] >>");
  builder.SetObject(nRoot, "<< /Type /StructTreeRoot /K " + Ref(nElement) + " /ParentTree << /Nums [7 " +
                               Ref(nUnseen) + "] >> >>");
  builder.SetCatalogEntries("/StructTreeRoot " + Ref(nRoot));
  TSaved saved(builder.Build(), PDF::eStripHiddenAnnots);
  EXPECT_EQ(ListMarks(saved), TNames{"seen"});
  const CObjectPtr kids = saved.Catalog()["StructTreeRoot"]["K"]["K"];
  ASSERT_EQ(kids.GetSize(), 3);
  EXPECT_EQ(kids[1]["Obj"], saved.Page()["Annots"][0]);
  EXPECT_TRUE(kids[2]["S"].IsName("Link"));
  EXPECT_TRUE(kids[2]["K"].IsNull());
}

// A form of a hidden field, and of a parent whose kids are a text, a hidden text, and two signed signatures,
// one of them apart from its widget.
std::string MakeForm()
{
  Support::CPdfBuilder builder;
  const int nParent = builder.ReserveObject();
  const auto addKid = [&](const std::string& sName, const std::string& sEntries)
  { return builder.AddObject("<< /NM (" + sName + ") /Parent " + Ref(nParent) + " " + sEntries + " >>"); };
  const std::string sWidget = "/Type /Annot /Subtype /Widget /Rect [0 0 9 9] ";
  const int nText = addKid("text", sWidget + "/FT /Tx");
  const int nHidden = addKid("hidden", sWidget + "/FT /Tx /F 2");
  const int nMerged = addKid("merged", sWidget + "/V << /Type /Sig >> /AP << /N " +
                                           Ref(builder.AddStream("", "/BBox [0 0 9 9]")) + " >>");
  const int nField = builder.ReserveObject();
  const int nWidget = builder.AddObject("<< /NM (widget) " + sWidget + "/Parent " + Ref(nField) + " >>");
  builder.SetObject(nField, "<< /NM (field) /Parent " + Ref(nParent) + " /V << /ByteRange [0] >> /Kids [" +
                                Ref(nWidget) + "] >>");
  const int nAlone = builder.AddObject("<< /NM (alone) " + sWidget + "/FT /Tx /F 2 >>");
  std::string sPage;
  for (const int n : {nText, nHidden, nMerged, nWidget, nAlone})
    sPage += Ref(n) + " ";
  builder.SetObject(nParent, "<< /NM (parent) /T (p) /FT /Sig /Kids [" + Ref(nText) + " " + Ref(nHidden) +
                                 " " + Ref(nMerged) + " " + Ref(nField) + "] >>");
  builder.AddPage("", "/Annots [" + sPage + "]");
  builder.SetCatalogEntries("/AcroForm << /Fields [" + Ref(nAlone) + " " + Ref(nParent) + "] /CO [" +
                            Ref(nHidden) + " " + Ref(nText) + "] >>");
  return builder.Build();
}

TEST(ObjectStripper, FieldsLeadToNoDroppedWidget)
{
  TSaved plain(MakeForm());
  EXPECT_EQ(ListMarks(plain), (TNames{"parent", "text", "hidden", "alone"})) << "signed fields go";
  EXPECT_EQ(plain.m_nCode, PDF::g_nSignatureNotCopied);
  EXPECT_EQ(plain.Catalog()["AcroForm"]["Fields"][1]["Kids"].GetSize(), 2);

  TSaved saved(MakeForm(), PDF::eStripHiddenAnnots);
  EXPECT_EQ(ListMarks(saved), (TNames{"parent", "text"}));
  const CObjectPtr form = saved.Catalog()["AcroForm"];
  ASSERT_EQ(form["Fields"].GetSize(), 1);
  ASSERT_EQ(form["Fields"][0]["Kids"].GetSize(), 1);
  EXPECT_EQ(form["Fields"][0]["Kids"][0], saved.Page()["Annots"][0]);
  EXPECT_EQ(form["CO"].GetSize(), 1);

  TSaved flattened(MakeForm(), 0, &PDF::TOptimizerOptions::m_bFlattenSignatureFields);
  EXPECT_EQ(ListMarks(flattened).count("merged"), 1U) << "its look is needed";
}

// Deeper than any search of one widget may go, and with more widgets than such searches could serve.
TEST(ObjectStripper, SignedFieldFarAboveItsWidgets)
{
  constexpr int nDepth = 3000;
  constexpr int nWidgets = 3000;
  Support::CPdfBuilder builder;
  const int nTop = builder.AddObject("<< /T (s) /FT /Sig /V << /Type /Sig >> >>");
  int nParent = nTop;
  for (int i = 0; i < nDepth; ++i)
    nParent = builder.AddObject("<< /Parent " + Ref(nParent) + " >>");
  std::string sAnnots;
  for (int i = 0; i < nWidgets; ++i)
    sAnnots += Ref(builder.AddObject(std::string("<< /Subtype /Widget ") + g_szShown + "/Parent " +
                                     Ref(nParent) + " >>")) +
               " ";
  builder.AddPage("", "/Annots [" + sAnnots + "<< /NM (own) /FT /Tx /Subtype /Widget " + g_szShown +
                          "/Parent " + Ref(nParent) + " >>]");
  builder.SetCatalogEntries("/AcroForm << /Fields [" + Ref(nTop) + "] >>");
  TSaved saved(builder.Build());
  ASSERT_EQ(saved.Page()["Annots"].GetSize(), 1);
  EXPECT_TRUE(saved.Page()["Annots"][0]["FT"].IsName("Tx")) << "the type of the widget itself counts";
  EXPECT_TRUE(saved.Catalog()["AcroForm"].IsNull());
}

TEST(ObjectStripper, ElementsThatShareAnArrayOfKids)
{
  Support::CPdfBuilder builder;
  const int nRoot = builder.ReserveObject();
  const int nPage = builder.AddPage("");
  const int nKids = builder.AddObject("[0 << /Type /MCR /MCID 1 >>]");
  std::string sElements;
  for (int i = 0; i < 3; ++i)
    sElements += Ref(builder.AddObject("<< /Type /StructElem /S /P /P " + Ref(nRoot) + " /Pg " + Ref(nPage) +
                                       " /K " + Ref(nKids) + " >>")) +
                 " ";
  builder.SetObject(nRoot, "<< /Type /StructTreeRoot /K [" + sElements + "] >>");
  builder.SetCatalogEntries("/StructTreeRoot " + Ref(nRoot));
  TSaved saved(builder.Build());
  const CObjectPtr elements = saved.Catalog()["StructTreeRoot"]["K"];
  ASSERT_EQ(elements.GetSize(), 3);
  for (int i = 0; i < 3; ++i)
    EXPECT_EQ(elements[i]["K"].GetSize(), 2);
  EXPECT_EQ(elements[1]["K"], elements[2]["K"]) << "copied anew for every element";
}

TEST(ObjectStripper, StrippedStructureIsNotReachedFromDestinations)
{
  Support::CPdfBuilder builder;
  const int nRoot = builder.ReserveObject();
  const int nElement = builder.AddObject("<< /NM (element) /S /P /K 0 /P " + Ref(nRoot) + " >>");
  builder.SetObject(nRoot, "<< /NM (root) /Type /StructTreeRoot /K " + Ref(nElement) + " >>");
  const int nPage = builder.AddPage("");
  builder.SetCatalogEntries("/StructTreeRoot " + Ref(nRoot) + " /OpenAction << /S /GoTo /D [" + Ref(nPage) +
                            " /Fit] /SD [" + Ref(nElement) + " /Fit] >>");
  TSaved saved(builder.Build(), PDF::eStripStructure);
  EXPECT_EQ(ListMarks(saved), TNames());
  EXPECT_EQ(saved.Catalog()["OpenAction"]["D"][0], saved.Page());
  EXPECT_TRUE(saved.Catalog()["OpenAction"]["SD"].IsNull());
  TSaved plain(builder.Build());
  EXPECT_EQ(plain.Catalog()["OpenAction"]["SD"][0], plain.Catalog()["StructTreeRoot"]["K"]);
}

TEST(ObjectStripper, PagesThatShareAnArrayOfDroppedAnnotations)
{
  Support::CPdfBuilder builder;
  const int nAnnots = builder.AddObject(std::string("[<< /Subtype /Text ") + g_szHidden + ">>]");
  for (int i = 0; i < 3; ++i)
    builder.AddPage("", "/Annots " + Ref(nAnnots));
  TSaved saved(builder.Build(), PDF::eStripHiddenAnnots);
  for (int i = 0; i < 3; ++i)
    EXPECT_TRUE(saved.Page(i)["Annots"].IsNull()) << i;
}

// Dictionaries that are copied apart from the others lose the same entries.
TEST(ObjectStripper, PrivateKeysOfOutlinesAndThreads)
{
  const std::string sPrivate = "/CREO 1 /HDAG << /CREO 2 >> /Metadata 1 0 R /Alternates [] /StructParent 1 ";
  Support::CPdfBuilder builder;
  const int nOutlines = builder.ReserveObject();
  const int nThread = builder.ReserveObject();
  const int nBead = builder.ReserveObject();
  const int nPage = builder.AddPage("", "/B [" + Ref(nBead) + "]");
  const int nItem = builder.AddObject("<< /Title (t) " + sPrivate + "/Parent " + Ref(nOutlines) + " >>");
  builder.SetObject(nOutlines,
                    "<< " + sPrivate + "/Count -1 /First " + Ref(nItem) + " /Last " + Ref(nItem) + " >>");
  builder.SetObject(nThread, "<< " + sPrivate + "/F " + Ref(nBead) + " >>");
  builder.SetObject(nBead, "<< " + sPrivate + "/R [0 0 9 9] /N " + Ref(nBead) + " /V " + Ref(nBead) + " /T " +
                               Ref(nThread) + " /P " + Ref(nPage) + " >>");
  builder.SetCatalogEntries("/Outlines " + Ref(nOutlines) + " /Threads [" + Ref(nThread) + "]");
  builder.SetTrailerEntries("/Info " + Ref(builder.AddObject("<< /Title (t) " + sPrivate + ">>")));
  for (const unsigned nStrip :
       {0U, unsigned{PDF::eStripMetadata | PDF::eStripAlternates | PDF::eStripStructure}})
  {
    TSaved saved(builder.Build(), nStrip);
    const CObjectPtr outlines = saved.Catalog()["Outlines"];
    const CObjectPtr thread = saved.Catalog()["Threads"][0];
    EXPECT_EQ(outlines["Count"].GetIntegerValue(), 1) << "the root is always open";
    EXPECT_TRUE(outlines["First"]["Title"].IsString());
    EXPECT_EQ(thread["F"]["T"], thread);
    for (const CObjectPtr& object :
         {outlines, outlines["First"], thread, thread["F"], saved.m_result.GetInfo()})
    {
      EXPECT_TRUE(object["CREO"].IsNull());
      EXPECT_TRUE(object["HDAG"].IsNull());
      EXPECT_EQ(object["Metadata"].IsNull(), nStrip != 0);
      EXPECT_EQ(object["Alternates"].IsNull(), nStrip != 0);
      EXPECT_EQ(object["StructParent"].IsNull(), nStrip != 0);
    }
  }
}

// Merged with its widget, below a field of its own, and reached from the structure tree: nothing of a
// signature stays, but for what a flattened one shows.
TEST(ObjectStripper, NothingOfASignatureStays)
{
  Support::CPdfBuilder builder;
  const int nValue = builder.AddObject("<</Type/Sig/ByteRange[0 1 2 3]/Contents<00>/NM(value)>>");
  const int nLook = builder.AddStream("0 0 9 9 re f", "/Subtype/Form/BBox[0 0 9 9]");
  const std::string sWidget = "<</Subtype/Widget/Rect[0 0 9 9]/NM(widget)/AP<</N " + Ref(nLook) + ">>";
  const int nMerged = builder.AddObject(sWidget + "/FT/Sig/T(a)/V " + Ref(nValue) + ">>");
  const int nField = builder.ReserveObject();
  const int nKid = builder.AddObject(sWidget + "/Parent " + Ref(nField) + ">>");
  builder.SetObject(nField, "<</FT/Sig/T(b)/NM(field)/V " + Ref(nValue) + "/Kids[" + Ref(nKid) + "]>>");
  const int nText = builder.AddObject("<</FT/Tx/T(c)/NM(text)>>");
  const int nElement =
      builder.AddObject("<</S/P/K[<</Type/OBJR/Obj " + Ref(nKid) + ">>]/A " + Ref(nValue) + ">>");
  builder.AddPage("", "/Annots [" + Ref(nMerged) + " " + Ref(nKid) + "]");
  const std::string sFields = Ref(nMerged) + " " + Ref(nField) + " " + Ref(nText);
  builder.SetCatalogEntries("/Perms<</DocMDP " + Ref(nValue) + ">>/StructTreeRoot<</K " + Ref(nElement) +
                            ">>/AcroForm " +
                            Ref(builder.AddObject("<</SigFlags 3/Fields[" + sFields + "]>>")));
  bool PDF::TOptimizerOptions::*const ways[] = {nullptr, &PDF::TOptimizerOptions::m_bFlattenSignatureFields,
                                                &PDF::TOptimizerOptions::m_bFlattenSignedFields};
  for (bool PDF::TOptimizerOptions::*pFlatten : ways)
  {
    const bool bFlatten = pFlatten != nullptr;
    TSaved saved(builder.Build(), 0, pFlatten);
    EXPECT_EQ(ListMarks(saved), (bFlatten ? TNames{"widget", "text"} : TNames{"text"}));
    EXPECT_EQ(saved.m_nCode, PDF::g_nSignatureNotCopied);
    EXPECT_EQ(saved.Catalog()["AcroForm"]["Fields"].GetSize(), 1);
    EXPECT_TRUE(saved.Catalog()["AcroForm"]["SigFlags"].IsNull());
    const CObjectPtr annots = saved.Page()["Annots"];
    EXPECT_EQ(annots.GetSize(), bFlatten ? 2 : 0);
    for (int i = 0; i < annots.GetSize(); ++i)
    {
      EXPECT_TRUE(annots[i]["AP"]["N"].IsStream());
      EXPECT_TRUE(annots[i]["Subtype"].IsName("Stamp"));
      for (const char* szKey : {"FT", "V", "T", "Parent"})
        EXPECT_TRUE(annots[i][szKey].IsNull()) << szKey;
    }
  }
}

// An outline, or a link on a page, that leads to an element before the tree is copied changes nothing in it.
TEST(ObjectStripper, ElementsReachedBeforeTheirTree)
{
  for (const bool bReached : {false, true})
  {
    Support::CPdfBuilder builder;
    const int nElement = builder.ReserveObject();
    const int nLink =
        builder.AddObject(std::string("<</Subtype/Link") + g_szShown +
                          (bReached ? "/A<</S/GoTo/SD[" + Ref(nElement) + "/Fit]>>" : "") + ">>");
    const int nPage = builder.AddPage("", "/Annots [" + Ref(nLink) + "]");
    const int nOutside = builder.AddObject("<</Type/Page>>");
    const int nStray = builder.AddObject("<</Type/StructElem/S/P/P 1 0 R/Title(stray)>>");
    builder.SetObject(nElement, "<</Type/StructElem/S/P/P 1 0 R/Pg " + Ref(nPage) +
                                    "/K[0<</Type/MCR/MCID 1/Pg " + Ref(nOutside) + ">><</S/Span/Pg " +
                                    Ref(nOutside) + "/K 3>>]>>");
    builder.SetCatalogEntries("/Outlines<</First<</Title(t)" +
                              (bReached ? "/SE " + Ref(nElement) + "/X " + Ref(nStray) : "") +
                              ">>>>/StructTreeRoot<</K " + Ref(nElement) + ">>");
    TSaved saved(builder.Build());
    const CObjectPtr element = saved.Catalog()["StructTreeRoot"]["K"];
    EXPECT_EQ(element["K"].GetSize(), 1);
    EXPECT_EQ(element["K"][0].GetIntegerValue(), 0);
    const CObjectPtr item = saved.Catalog()["Outlines"]["First"];
    EXPECT_EQ(bReached, item["SE"] == element);
    EXPECT_EQ(bReached, item["X"]["Title"].IsString()) << "the tree does not lead to it";
  }
}

}  // namespace
