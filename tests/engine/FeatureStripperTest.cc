// What strip flags take out of a document, and that everything else still leads where it led.

#include "engine/FeatureStripper.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

#include "base/ErrorHandler.h"
#include "base/MemoryStream.h"
#include "engine/AnnotationStripper.h"
#include "engine/Optimizer.h"
#include "tests/support/PdfBuilder.h"

namespace
{

using PDF::CObjectPtr;
using TNames = std::set<std::string>;

std::string Ref(int nNumber)
{
  return std::to_string(nNumber) + " 0 R";
}

// A document saved with options, and read back.
struct TSaved
{
  explicit TSaved(const std::string& sPdf, unsigned nStrip = 0, bool bFlattenSignatures = false)
      : m_result(&m_handler)
  {
    BSE::CErrorHandler handler;
    PDF::COptimizer optimizer(&handler);
    optimizer.GetOptions().m_nStrip = nStrip;
    optimizer.GetOptions().m_bFlattenSignatureFields = bFlattenSignatures;
    const BSE::CObjectPtr<BSE::IByteStream> pInput(
        new BSE::CMemoryStream(sPdf.data(), static_cast<std::int64_t>(sPdf.size())));
    const BSE::CObjectPtr<BSE::IByteStream> pOutput(new BSE::CMemoryStream);
    EXPECT_TRUE(optimizer.Open(pInput.Get(), nullptr));
    EXPECT_TRUE(optimizer.Save(pOutput.Get(), {}));
    m_nCode = handler.GetLastCode();
    EXPECT_TRUE(m_result.Open(pOutput.Get(), nullptr));
  }

  CObjectPtr Catalog() { return m_result.GetCatalog(); }
  CObjectPtr Page(int nIndex = 0) { return m_result.GetPage(nIndex); }

  BSE::CErrorHandler m_handler;
  PDF::CDocument m_result;
  unsigned m_nCode = 0;
};

void AddKeys(TNames& names, const std::string& sPrefix, const CObjectPtr& dictionary)
{
  for (int i = dictionary.GetBegin(); i != dictionary.GetEnd(); i = dictionary.GetNext(i))
    names.insert(sPrefix + dictionary.GetKey(i));
}

std::string GetText(const CObjectPtr& string)
{
  const std::span<const unsigned char> bytes = string.GetStringValue().GetSpan();
  return {bytes.begin(), bytes.end()};
}

// Two pages that have something of every feature.
std::string MakeFullDocument()
{
  Support::CPdfBuilder builder;
  const int nMetadata = builder.AddStream("<x/>", "/Type /Metadata /Subtype /XML");
  const int nAlternate = builder.AddStream("abc",
                                           "/Type /XObject /Subtype /Image /Width 1 /Height 1 "
                                           "/ColorSpace /DeviceRGB /BitsPerComponent 8");
  const int nImage = builder.AddStream(
      "abc",
      "/Type /XObject /Subtype /Image /Width 1 /Height 1 /ColorSpace /DeviceRGB /BitsPerComponent 8 "
      "/StructParent 9 /Metadata " +
          Ref(nMetadata) + " /Alternates [<< /Image " + Ref(nAlternate) + " >>]");
  const int nForm = builder.AddStream("", "/Type /XObject /Subtype /Form /BBox [0 0 9 9] /StructParents 3");
  const int nGroup = builder.AddObject("<< /Type /OCG /Name (Layer) >>");
  const int nThread = builder.ReserveObject();
  const int nBead1 = builder.ReserveObject();
  const int nBead2 = builder.ReserveObject();
  const int nRoot = builder.ReserveObject();
  const int nElement = builder.ReserveObject();
  const int nOutlines = builder.ReserveObject();
  const int nItem = builder.ReserveObject();
  const int nWidget = builder.ReserveObject();
  const int nLast = builder.ReserveObject();
  const std::string sRect = "/Type /Annot /Rect [0 0 9 9] ";
  const int nPage = builder.AddPage(
      "/Tag << /MCID 0 >> BDC BT /F1 9 Tf (Page 1) Tj ET EMC",
      "/Thumb " + Ref(nAlternate) + " /Metadata " + Ref(nMetadata) + " /B [" + Ref(nBead1) +
          "] /PieceInfo << /Other << /LastModified (D:2020) >> >> /StructParents 0 /Tabs /S /CREO 1 /HDAG 2 "
          "/Annots [" +
          Ref(nWidget) + " << " + sRect + "/Subtype /Link /NM (framed) /Dest [" + Ref(nLast) +
          " /Fit] >> << " + sRect + "/Subtype /Link /NM (plain) /Border [0 0 0] /Dest (here) >> << " + sRect +
          "/Subtype /Text /NM (note) >> << " + sRect + "/Subtype /Text /NM (hidden) /F 2 >> << " + sRect +
          "/Subtype /Link /NM (unseen) /F 32 >> null]");
  builder.SetObject(nLast,
                    "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 99 99] /StructParents 1 /Tabs /R "
                    "/Resources << /XObject << /I " +
                        Ref(nImage) + " /X " + Ref(nForm) + " >> /Properties << /L " + Ref(nGroup) +
                        " >> >> >>");
  builder.SetObject(Support::CPdfBuilder::g_nPageTree,
                    "<< /Type /Pages /Count 2 /Kids [" + Ref(nPage) + " " + Ref(nLast) + "] >>");
  builder.SetObject(nWidget,
                    "<< " + sRect + "/Subtype /Widget /NM (field) /FT /Tx /T (t) /StructParent 1 >>");
  builder.SetObject(nThread, "<< /Type /Thread /F " + Ref(nBead1) + " /I << /Title (Article) >> /Metadata " +
                                 Ref(nMetadata) + " >>");
  builder.SetObject(nBead1, "<< /T " + Ref(nThread) + " /N " + Ref(nBead2) + " /V " + Ref(nBead2) + " /P " +
                                Ref(nPage) + " /R [0 0 9 9] >>");
  builder.SetObject(nBead2,
                    "<< /N " + Ref(nBead1) + " /V " + Ref(nBead1) + " /P " + Ref(nLast) + " /R [0 0 9 9] >>");
  builder.SetObject(nRoot, "<< /Type /StructTreeRoot /K " + Ref(nElement) + " /ParentTree << /Nums [0 [" +
                               Ref(nElement) + "] 1 " + Ref(nElement) + "] >> >>");
  builder.SetObject(nElement, "<< /Type /StructElem /S /P /CREO 1 /P " + Ref(nRoot) + " /Pg " + Ref(nPage) +
                                  " /K [0 << /Type /OBJR /Obj " + Ref(nWidget) + " >>] >>");
  builder.SetObject(nOutlines, "<< /First " + Ref(nItem) + " /Last " + Ref(nItem) + " /Count 1 >>");
  builder.SetObject(nItem, "<< /Title (One) /Parent " + Ref(nOutlines) + " /Dest [" + Ref(nLast) +
                               " /Fit] /SE " + Ref(nElement) + " >>");
  const int nFile = builder.AddStream("attached", "/Type /EmbeddedFile /Params << /Size 8 >>");
  builder.SetCatalogEntries("/Treads 1 /Threads [" + Ref(nThread) +
                            "] /PieceInfo << /Other << /LastModified (D:2020) >> >> "
                            "/StructTreeRoot " +
                            Ref(nRoot) + " /MarkInfo << /Marked true >> /Spider << >> /Outlines " +
                            Ref(nOutlines) + " /AcroForm << /Fields [" + Ref(nWidget) +
                            "] >> /OutputIntents [<< /S /GTS_PDFX >>] /Perms << >> "
                            "/CREO 1 /HDAG 2 /Metadata " +
                            Ref(nMetadata) + " /OCProperties << /OCGs [" + Ref(nGroup) + "] /D << /Order [" +
                            Ref(nGroup) + "] >> >> /Names << /Dests << /Names [(here) [" + Ref(nLast) +
                            " /Fit]] >> /EmbeddedFiles << /Names [(a) << /Type /Filespec /F (a) /EF << /F " +
                            Ref(nFile) + " >> >>] >> >>");
  return builder.Build();
}

// Every place where a feature can stand, by name.
TNames ListFeatures(TSaved& saved)
{
  TNames names;
  AddKeys(names, "catalog ", saved.Catalog());
  AddKeys(names, "page ", saved.Page());
  AddKeys(names, "last ", saved.Page(1));
  const CObjectPtr annots = saved.Page()["Annots"];
  for (int i = 0; i < annots.GetSize(); ++i)
    names.insert("annotation " + GetText(annots[i]["NM"]));
  AddKeys(names, "widget ", annots[0]["Subtype"].IsName("Widget") ? annots[0] : CObjectPtr());
  AddKeys(names, "item ", saved.Catalog()["Outlines"]["First"]);
  AddKeys(names, "thread ", saved.Catalog()["Threads"][0]);
  AddKeys(names, "element ", saved.Catalog()["StructTreeRoot"]["K"]);
  const CObjectPtr objects = saved.Page(1)["Resources"]["XObject"];
  AddKeys(names, "image ", objects["I"]);
  AddKeys(names, "form ", objects["X"]);
  return names;
}

const struct
{
  unsigned m_nFlag;
  TNames m_gone;
} g_flags[] = {
    {PDF::eStripThreads, {"catalog Treads", "page B"}},
    {PDF::eStripMetadata, {"catalog Metadata", "page Metadata", "image Metadata", "thread Metadata"}},
    {PDF::eStripPieceInfo, {"catalog PieceInfo", "page PieceInfo"}},
    {PDF::eStripStructure,
     {"catalog StructTreeRoot", "catalog MarkInfo", "page StructParents", "page Tabs", "last StructParents",
      "image StructParent", "form StructParents", "widget StructParent", "item SE", "element Type",
      "element S", "element P", "element Pg", "element K"}},
    {PDF::eStripThumbnails, {"page Thumb"}},
    {PDF::eStripSpider, {"catalog Spider"}},
    {PDF::eStripAlternates, {"image Alternates"}},
    {PDF::eStripForms, {"catalog AcroForm"}},
    {PDF::eStripLinks, {"annotation plain", "annotation unseen"}},
    {PDF::eStripAnnots, {"annotation hidden"}},
    {PDF::eStripOutputIntents, {"catalog OutputIntents"}},
    {PDF::eStripHiddenAnnots, {"annotation hidden", "annotation unseen"}},
};

TEST(FeatureStripper, EachFlagAloneAndAllTogether)
{
  const std::string sPdf = MakeFullDocument();
  TSaved plain(sPdf);
  const TNames features = ListFeatures(plain);
  for (const char* szPlace : {"catalog ", "page ", "element "})
    for (const char* szKey : {"CREO", "HDAG", "Perms"})
      EXPECT_EQ(features.count(std::string(szPlace) + szKey), 0U) << szPlace << szKey;
  TNames allGone;
  for (const auto& [nFlag, gone] : g_flags)
  {
    SCOPED_TRACE(nFlag);
    TNames expected = features;
    for (const std::string& sName : gone)
      EXPECT_EQ(expected.erase(sName), 1U) << sName << " is not there without the flag";
    TSaved saved(sPdf, nFlag);
    EXPECT_EQ(ListFeatures(saved), expected);
    allGone.insert(gone.begin(), gone.end());
  }
  TNames expected;
  for (const std::string& sName : features)
    if (allGone.count(sName) == 0)
      expected.insert(sName);
  TSaved saved(sPdf, 0xFFF);
  EXPECT_EQ(ListFeatures(saved), expected);
}

// The parts that no flag of the set touches, as far as they lead.
void ExpectLinksHold(TSaved& saved, bool bStructure, bool bBeads)
{
  const CObjectPtr catalog = saved.Catalog();
  const CObjectPtr page = saved.Page();
  const CObjectPtr last = saved.Page(1);
  const CObjectPtr item = catalog["Outlines"]["First"];
  EXPECT_EQ(item["Dest"][0], last);
  EXPECT_EQ(item["Parent"], catalog["Outlines"]);
  EXPECT_EQ(catalog["Names"]["Dests"]["Names"][1][0], last);
  EXPECT_EQ(catalog["OCProperties"]["OCGs"][0], last["Resources"]["Properties"]["L"]);
  const CObjectPtr file = catalog["Names"]["EmbeddedFiles"]["Names"][1]["EF"]["F"];
  EXPECT_EQ(file["Params"]["Size"].GetIntegerValue(), file.GetDecodedStream()->GetLength());
  const CObjectPtr thread = catalog["Threads"][0];
  const CObjectPtr bead = thread["F"];
  EXPECT_EQ(bead["T"], thread);
  EXPECT_EQ(bead["P"], page);
  EXPECT_EQ(bead["N"]["P"], last);
  EXPECT_EQ(bead["N"]["N"], bead);
  EXPECT_EQ(bead["V"]["V"], bead);
  EXPECT_EQ(page["B"][0], bBeads ? bead : CObjectPtr());
  if (!bStructure)
    return;
  const CObjectPtr root = catalog["StructTreeRoot"];
  const CObjectPtr element = root["K"];
  EXPECT_EQ(element["Pg"], page);
  EXPECT_EQ(element["K"].GetSize(), 2);
  EXPECT_EQ(element["K"][1]["Obj"], page["Annots"][0]);
  EXPECT_EQ(root["ParentTree"]["Nums"][1][0], element);
  EXPECT_EQ(item["SE"], element);
}

TEST(FeatureStripper, WhatStaysLeadsWhereItLed)
{
  const std::string sPdf = MakeFullDocument();
  for (unsigned nStrip = 0; nStrip <= 0x800; nStrip = nStrip == 0 ? 1 : nStrip * 2)
  {
    SCOPED_TRACE(nStrip);
    TSaved saved(sPdf, nStrip);
    ExpectLinksHold(saved, nStrip != PDF::eStripStructure, nStrip != PDF::eStripThreads);
  }
  TSaved saved(sPdf, 0xFFF);
  ExpectLinksHold(saved, false, false);
  TSaved several(sPdf, PDF::eStripStructure | PDF::eStripLinks | PDF::eStripThreads);
  for (int i = 0, n = several.m_result.GetFile().GetXRef().GetSize(); i < n; ++i)
    EXPECT_FALSE(several.m_result.GetFile().GetObject(i, -1)["Type"].IsName("StructElem"))
        << "structure is still reached from somewhere";
}

// A page with the widgets, and a form with the fields, of these objects.
std::string MakeForm(const std::vector<std::string>& fields, const std::string& sFormEntries = "/SigFlags 3")
{
  Support::CPdfBuilder builder;
  std::string sNumbers;
  for (const std::string& sField : fields)
    sNumbers +=
        Ref(builder.AddObject("<< /Type /Annot /Subtype /Widget /Rect [0 0 9 9] " + sField + " >>")) + " ";
  builder.AddPage("", "/Annots [" + sNumbers + "]");
  const int nFields = builder.AddObject("[" + sNumbers + "]");
  builder.SetCatalogEntries("/AcroForm << /Fields " + Ref(nFields) + " /DA (/F1 0 Tf) " + sFormEntries +
                            " >>");
  return builder.Build();
}

const std::string g_signed = "/FT /Sig /T (s) /V << /Type /Sig /Contents <00> >>";
const std::string g_unsigned = "/FT /Sig /T (u)";
const std::string g_text = "/FT /Tx /T (t) /V (text)";

TEST(FeatureStripper, SignedSignatureFields)
{
  const struct
  {
    const char* m_szName;
    std::string m_sPdf;
    unsigned m_nStrip;
    int m_nFields;  // -1: no form
    int m_nWidgets;
    bool m_bReported;
  } cases[] = {
      {"signed only", MakeForm({g_signed, g_signed}), 0, -1, 0, true},
      {"signed only, with XFA", MakeForm({g_signed}, "/XFA (x)"), 0, 0, 0, true},
      {"signed and text", MakeForm({g_signed, g_text}), 0, 1, 1, true},
      {"text and signed", MakeForm({g_text, g_signed}), 0, 1, 1, true},
      {"to be signed", MakeForm({g_unsigned}), 0, 1, 1, false},
      {"a form of nothing", MakeForm({}), 0, -1, 0, false},
      {"stripped form", MakeForm({g_signed, g_unsigned, g_text}), PDF::eStripForms, -1, 1, false},
  };
  for (const auto& c : cases)
  {
    SCOPED_TRACE(c.m_szName);
    TSaved saved(c.m_sPdf, c.m_nStrip);
    const CObjectPtr form = saved.Catalog()["AcroForm"];
    EXPECT_EQ(form.IsDictionary() ? form["Fields"].GetSize() : -1, c.m_nFields);
    EXPECT_TRUE(form["SigFlags"].IsNull());
    EXPECT_EQ(form["DA"].IsNull(), c.m_nFields < 0);
    EXPECT_EQ(saved.Page()["Annots"].GetSize(), c.m_nWidgets);
    EXPECT_EQ(saved.m_nCode == PDF::g_nSignatureNotCopied, c.m_bReported) << std::hex << saved.m_nCode;
  }
  TSaved flattened(MakeForm({g_signed, g_text}), 0, true);
  EXPECT_EQ(flattened.Page()["Annots"].GetSize(), 2) << "the look of the signature stays";
}

TEST(FeatureStripper, TypesAndValuesOfFieldsAreInherited)
{
  Support::CPdfBuilder builder;
  const int nField = builder.ReserveObject();
  const int nLoop = builder.ReserveObject();
  const std::string sWidget = "<< /Type /Annot /Subtype /Widget /Rect [0 0 9 9] /Parent ";
  const int nKid = builder.AddObject(sWidget + Ref(nField) + " >>");
  const int nLost = builder.AddObject(sWidget + Ref(nLoop) + " >>");
  builder.SetObject(nField, "<< " + g_signed + " /Kids [" + Ref(nKid) + "] >>");
  builder.SetObject(nLoop, "<< /T (l) /Kids [" + Ref(nLost) + "] /Parent " + Ref(nLoop) + " >>");
  builder.AddPage("", "/Annots [" + Ref(nKid) + " " + Ref(nLost) + "]");
  builder.SetCatalogEntries("/AcroForm << /Fields [" + Ref(nField) + " " + Ref(nLoop) + "] >>");
  TSaved saved(builder.Build());
  EXPECT_EQ(saved.Page()["Annots"].GetSize(), 1) << "the widget of the signed field goes, the other stays";
  EXPECT_EQ(saved.Catalog()["AcroForm"]["Fields"].GetSize(), 1);
}

TEST(AnnotationStripper, Visibility)
{
  const struct
  {
    const char* m_szSubtype;
    int m_nFlags;
    bool m_bVisible;
  } cases[] = {
      {"Text", 0, true},   {"Text", 1, true},        {"Own", 1, false},   {"Own", 0, true},
      {"Text", 2, false},  {"Text", 4, true},        {"Text", 32, false}, {"Text", 32 + 256, true},
      {"Text", 256, true}, {"Text", 2 + 256, false},
  };
  for (const auto& [szSubtype, nFlags, bVisible] : cases)
  {
    Support::CPdfBuilder builder;
    builder.AddPage("", std::string("/Annots [<< /Type /Annot /Rect [0 0 9 9] /Subtype /") + szSubtype +
                            " /F " + std::to_string(nFlags) + " >>]");
    TSaved saved(builder.Build(), PDF::eStripHiddenAnnots);
    EXPECT_EQ(saved.Page()["Annots"].GetSize() == 1, bVisible) << szSubtype << ' ' << nFlags;
    EXPECT_EQ(saved.Page()["Annots"].IsNull(), !bVisible) << "no page keeps an empty array";
  }
}

TEST(AnnotationStripper, PagesThatShareAnArray)
{
  Support::CPdfBuilder builder;
  const int nAnnots =
      builder.AddObject("[<< /Subtype /Link /F 2 /Rect [0 0 9 9] >> << /Subtype /Text /Rect [0 0 9 9] >>]");
  for (int i = 0; i < 4; ++i)
    builder.AddPage("", "/Annots " + Ref(nAnnots));
  TSaved saved(builder.Build(), PDF::eStripHiddenAnnots);
  for (int i = 0; i < 4; ++i)
    EXPECT_EQ(saved.Page(i)["Annots"].GetSize(), 1);
  EXPECT_EQ(saved.Page(2)["Annots"], saved.Page(3)["Annots"]) << "copied anew for every page";
}

}  // namespace
