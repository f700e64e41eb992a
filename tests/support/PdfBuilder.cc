#include "tests/support/PdfBuilder.h"

#include <utility>

#include "tests/support/Deflate.h"
#include "tests/support/PdfLayout.h"

namespace Support
{

CPdfBuilder::CPdfBuilder() : m_revisions(1)
{
  ReserveObject();
  ReserveObject();
  WriteCatalog();
  WritePageTree();
}

CPdfBuilder& CPdfBuilder::SetVersion(std::string sVersion)
{
  m_sVersion = std::move(sVersion);
  return *this;
}

CPdfBuilder& CPdfBuilder::SetXRefForm(TXRefForm form)
{
  m_form = form;
  return *this;
}

CPdfBuilder& CPdfBuilder::SetObjectStreams(int nPerStream)
{
  m_nPerObjectStream = nPerStream;
  return *this;
}

CPdfBuilder& CPdfBuilder::SetPrefix(std::string sPrefix)
{
  m_sPrefix = std::move(sPrefix);
  return *this;
}

CPdfBuilder& CPdfBuilder::SetLinearizedLike(bool bLinearized)
{
  m_bLinearizedLike = bLinearized;
  return *this;
}

CPdfBuilder& CPdfBuilder::SetIndirectLengths(bool bIndirect)
{
  m_bIndirectLengths = bIndirect;
  return *this;
}

CPdfBuilder& CPdfBuilder::SetCatalogEntries(std::string sEntries)
{
  m_sCatalogEntries = std::move(sEntries);
  WriteCatalog();
  return *this;
}

CPdfBuilder& CPdfBuilder::SetTrailerEntries(std::string sEntries)
{
  m_sTrailerEntries = std::move(sEntries);
  return *this;
}

int CPdfBuilder::ReserveObject()
{
  return m_nNextNumber++;
}

int CPdfBuilder::AddObject(std::string sBody)
{
  const int nNumber = ReserveObject();
  SetObject(nNumber, std::move(sBody));
  return nNumber;
}

void CPdfBuilder::SetObject(int nNumber, std::string sBody)
{
  TEntry entry;
  entry.bStream = sBody.find("\nstream\n") != std::string::npos;
  entry.sBody = std::move(sBody);
  GetRevision()[nNumber] = std::move(entry);
}

void CPdfBuilder::FreeObject(int nNumber)
{
  TEntry entry;
  entry.bFree = true;
  GetRevision()[nNumber] = entry;
}

int CPdfBuilder::AddStream(std::string sBytes, std::string sEntries)
{
  const int nNumber = ReserveObject();
  std::string sLength = std::to_string(sBytes.size());
  if (m_bIndirectLengths)
    sLength = std::to_string(AddObject(sLength)) + " 0 R";
  TEntry entry;
  entry.bStream = true;
  entry.sBody = "<< /Length " + sLength + " " + sEntries + " >>\nstream\n" + sBytes + "\nendstream";
  GetRevision()[nNumber] = std::move(entry);
  return nNumber;
}

int CPdfBuilder::AddFlateStream(std::string_view sData, const std::string& sEntries)
{
  return AddStream(Deflate(sData), "/Filter /FlateDecode " + sEntries);
}

int CPdfBuilder::AddPage(std::string sContent, std::string sEntries)
{
  if (m_nFont == 0)
    m_nFont = AddObject("<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica >>");
  const int nContent = AddStream(std::move(sContent));
  const int nPage =
      AddObject("<< /Type /Page /Parent " + std::to_string(g_nPageTree) +
                " 0 R /MediaBox [0 0 595 842] /Resources << /Font << /F1 " + std::to_string(m_nFont) +
                " 0 R >> >> /Contents " + std::to_string(nContent) + " 0 R " + sEntries + " >>");
  GetRevision()[nPage].bOutside = true;
  m_pages.push_back(nPage);
  WritePageTree();
  return nPage;
}

void CPdfBuilder::BeginUpdate()
{
  m_revisions.emplace_back();
}

std::string CPdfBuilder::Build() const
{
  return CPdfLayout(*this).Write();
}

void CPdfBuilder::WriteCatalog()
{
  SetObject(g_nCatalog,
            "<< /Type /Catalog /Pages " + std::to_string(g_nPageTree) + " 0 R " + m_sCatalogEntries + " >>");
  GetRevision()[g_nCatalog].bOutside = true;
}

void CPdfBuilder::WritePageTree()
{
  std::string sKids;
  for (const int nPage : m_pages)
    sKids += std::to_string(nPage) + " 0 R ";
  SetObject(g_nPageTree,
            "<< /Type /Pages /Count " + std::to_string(m_pages.size()) + " /Kids [" + sKids + "] >>");
  GetRevision()[g_nPageTree].bOutside = true;
}

}  // namespace Support
