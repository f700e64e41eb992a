#include "tests/support/FeatureDocument.h"

#include "tests/support/PdfBuilder.h"

namespace Support
{
namespace
{

std::string Ref(int nNumber)
{
  return std::to_string(nNumber) + " 0 R";
}

constexpr const char* g_szImage =
    "/Type /XObject /Subtype /Image /Width 1 /Height 1 /ColorSpace /DeviceRGB /BitsPerComponent 8";
constexpr const char* g_szPieceInfo = "/PieceInfo << /Other << /LastModified (D:2020) >> >> ";

class CFeatureDocument
{
public:
  std::string Build()
  {
    AddPages();
    AddThread();
    AddStructure();
    AddOutlines();
    SetCatalog();
    return m_builder.Build();
  }

private:
  int Reserve() { return m_builder.ReserveObject(); }
  void AddPages();
  std::string MakeAnnots();
  std::string MakeResources();
  void AddThread();
  void AddStructure();
  void AddOutlines();
  void SetCatalog();

  CPdfBuilder m_builder;
  int m_nMetadata = m_builder.AddStream("<x/>", "/Type /Metadata /Subtype /XML");
  int m_nAlternate = m_builder.AddStream("abc", g_szImage);
  int m_nGroup = m_builder.AddObject("<< /Type /OCG /Name (Layer) >>");
  int m_nThread = Reserve();
  int m_nBead1 = Reserve();
  int m_nBead2 = Reserve();
  int m_nRoot = Reserve();
  int m_nElement = Reserve();
  int m_nOutlines = Reserve();
  int m_nItem = Reserve();
  int m_nWidget = Reserve();
  int m_nPage = 0;
  int m_nLast = Reserve();
};

void CFeatureDocument::AddPages()
{
  m_nPage = m_builder.AddPage("/P << /MCID 0 >> BDC BT /F1 9 Tf (Page 1) Tj ET EMC",
                              "/Thumb " + Ref(m_nAlternate) + " /Metadata " + Ref(m_nMetadata) + " /B [" +
                                  Ref(m_nBead1) + "] " + g_szPieceInfo +
                                  "/StructParents 0 /Tabs /S /CREO 1 /HDAG 2 /Annots [" + MakeAnnots() + "]");
  const int nContent =
      m_builder.AddStream("BT /F1 9 Tf (Page 2) Tj ET /I Do /X Do /OC /L BDC 0 0 9 9 re f EMC");
  m_builder.SetObject(m_nLast,
                      "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 99 99] /StructParents 1 /Tabs /R "
                      "/Contents " +
                          Ref(nContent) + " /Resources << " + MakeResources() + " >> >>");
  m_builder.SetObject(CPdfBuilder::g_nPageTree,
                      "<< /Type /Pages /Count 2 /Kids [" + Ref(m_nPage) + " " + Ref(m_nLast) + "] >>");
}

std::string CFeatureDocument::MakeAnnots()
{
  const std::string sRect = "/Type /Annot /Rect [0 0 9 9] ";
  m_builder.SetObject(m_nWidget,
                      "<< " + sRect + "/Subtype /Widget /NM (field) /FT /Tx /T (t) /StructParent 1 >>");
  return Ref(m_nWidget) + " << " + sRect + "/Subtype /Link /NM (framed) /Dest [" + Ref(m_nLast) +
         " /Fit] >> << " + sRect + "/Subtype /Link /NM (plain) /Border [0 0 0] /Dest (here) >> << " + sRect +
         "/Subtype /Text /NM (note) >> << " + sRect + "/Subtype /Text /NM (hidden) /F 2 >> << " + sRect +
         "/Subtype /Link /NM (unseen) /F 32 >> null";
}

std::string CFeatureDocument::MakeResources()
{
  const int nImage =
      m_builder.AddStream("abc", std::string(g_szImage) + " /StructParent 9 /Metadata " + Ref(m_nMetadata) +
                                     " /Alternates [<< /Image " + Ref(m_nAlternate) + " >>]");
  const int nForm = m_builder.AddStream("", "/Type /XObject /Subtype /Form /BBox [0 0 9 9] /StructParents 3");
  return "/Font << /F1 << /Type /Font /Subtype /Type1 /BaseFont /Helvetica >> >> /XObject << /I " +
         Ref(nImage) + " /X " + Ref(nForm) + " >> /Properties << /L " + Ref(m_nGroup) + " >>";
}

void CFeatureDocument::AddThread()
{
  m_builder.SetObject(m_nThread, "<< /Type /Thread /F " + Ref(m_nBead1) +
                                     " /I << /Title (Article) >> /Metadata " + Ref(m_nMetadata) + " >>");
  m_builder.SetObject(m_nBead1, "<< /T " + Ref(m_nThread) + " /N " + Ref(m_nBead2) + " /V " + Ref(m_nBead2) +
                                    " /P " + Ref(m_nPage) + " /R [0 0 9 9] >>");
  m_builder.SetObject(m_nBead2, "<< /N " + Ref(m_nBead1) + " /V " + Ref(m_nBead1) + " /P " + Ref(m_nLast) +
                                    " /R [0 0 9 9] >>");
}

void CFeatureDocument::AddStructure()
{
  m_builder.SetObject(m_nRoot, "<< /Type /StructTreeRoot /K " + Ref(m_nElement) +
                                   " /ParentTree << /Nums [0 [" + Ref(m_nElement) + "] 1 " + Ref(m_nElement) +
                                   "] >> >>");
  m_builder.SetObject(m_nElement, "<< /Type /StructElem /S /P /CREO 1 /P " + Ref(m_nRoot) + " /Pg " +
                                      Ref(m_nPage) + " /K [0 << /Type /OBJR /Obj " + Ref(m_nWidget) +
                                      " >>] >>");
}

void CFeatureDocument::AddOutlines()
{
  m_builder.SetObject(m_nOutlines, "<< /First " + Ref(m_nItem) + " /Last " + Ref(m_nItem) + " /Count 1 >>");
  m_builder.SetObject(m_nItem, "<< /Title (One) /Parent " + Ref(m_nOutlines) + " /Dest [" + Ref(m_nLast) +
                                   " /Fit] /SE " + Ref(m_nElement) + " >>");
}

void CFeatureDocument::SetCatalog()
{
  const int nFile = m_builder.AddStream("attached", "/Type /EmbeddedFile /Params << /Size 8 >>");
  m_builder.SetCatalogEntries(
      "/Treads 1 /Threads [" + Ref(m_nThread) + "] " + g_szPieceInfo + "/StructTreeRoot " + Ref(m_nRoot) +
      " /MarkInfo << /Marked true >> /Spider << >> /Outlines " + Ref(m_nOutlines) +
      " /AcroForm << /Fields [" + Ref(m_nWidget) +
      "] >> /OutputIntents [<< /S /GTS_PDFX >>] /Perms << >> /CREO 1 /HDAG 2 /Metadata " + Ref(m_nMetadata) +
      " /OCProperties << /OCGs [" + Ref(m_nGroup) + "] /D << /Order [" + Ref(m_nGroup) +
      "] >> >> /Names << /Dests << /Names [(here) [" + Ref(m_nLast) +
      " /Fit]] >> /EmbeddedFiles << /Names [(a) << /Type /Filespec /F (a) /EF << /F " + Ref(nFile) +
      " >> >>] >> >>");
}

}  // namespace

std::string MakeFeatureDocument()
{
  return CFeatureDocument().Build();
}

}  // namespace Support
