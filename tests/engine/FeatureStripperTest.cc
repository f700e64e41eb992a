// What strip flags take out of a document, and that everything else still leads where it led.

#include "engine/FeatureStripper.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

#include "engine/AnnotationStripper.h"
#include "tests/engine/SavedDocument.h"
#include "tests/support/FeatureDocument.h"
#include "tests/support/PdfBuilder.h"

namespace
{

using Engine::Ref;
using Engine::TSaved;
using PDF::CObjectPtr;
using TNames = std::set<std::string>;

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

// Every place where a feature can be, by name.
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
  const std::string sPdf = Support::MakeFeatureDocument();
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
  const std::string sPdf = Support::MakeFeatureDocument();
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
  TSaved flattened(MakeForm({g_signed, g_text}), 0, &PDF::TOptimizerOptions::m_bFlattenSignatureFields);
  EXPECT_EQ(flattened.Page()["Annots"].GetSize(), 1) << "a signature without a look leaves nothing";

  const std::string sBoth = MakeForm({g_signed, g_unsigned});
  TSaved all(sBoth, 0, &PDF::TOptimizerOptions::m_bFlattenSignatureFields);
  EXPECT_TRUE(all.Catalog()["AcroForm"].IsNull());
  TSaved signedOnes(sBoth, 0, &PDF::TOptimizerOptions::m_bFlattenSignedFields);
  EXPECT_EQ(signedOnes.Catalog()["AcroForm"]["Fields"].GetSize(), 1) << "one still waits for its signature";
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
