// Shows the first page of linearized files from their beginning alone.
//
//   first_page FILE...
//
// Every file is linearized, unless it is already, and cut after the end of its first page. A viewer that
// knows linearized files goes on with what it has: it knows the first page's object and the positions of the
// objects in front. The readers used here do not, so that the cut file gets a page tree of this one page and
// one cross-reference table of these objects after it; everything else is missing. Both files are rendered
// by mutool and pdftoppm, and the pictures have to be equal. One line a file: the bytes needed, those of the
// whole, and what each reader says. Ends with 1 if a picture differs.

#include "base/ErrorHandler.h"
#include "pdf/linearize/DocumentLinearizer.h"
#include "tests/support/Process.h"
#include "tests/support/TempFolder.h"

#include <cstdio>
#include <sstream>
#include <stdexcept>
#include <string>

namespace
{

using Support::CTempFolder;

// Objects of the first section: number and position of each are in its table.
struct TFront
{
  std::string sBytes;    // up to the end of the first page
  std::string sTrailer;  // its entries but those that lead elsewhere
  std::string sEntries;  // of the table
  long nFirstNumber = 0;
  long nCount = 0;
  long nPage = 0;
  long nCatalogue = 0;
};

// The number after a mark.
long GetNumber(const std::string& sText, const std::string& sMark)
{
  const size_t nMark = sText.find(sMark);
  if (nMark == std::string::npos)
    throw std::runtime_error("there is no " + sMark);
  return std::stol(sText.substr(nMark + sMark.size(), 20));
}

// From a mark to the end of what it begins; empty without the mark.
std::string GetEntry(const std::string& sText, const std::string& sMark, const std::string& sEnd)
{
  const size_t nMark = sText.find(sMark);
  return nMark == std::string::npos ? "" : sText.substr(nMark, sText.find(sEnd, nMark) + sEnd.size() - nMark);
}

TFront ReadFront(const std::string& sPdf)
{
  TFront front;
  const std::string sHead = sPdf.substr(0, 1024);
  front.nPage = GetNumber(sHead, "/O ");
  front.sBytes = sPdf.substr(0, static_cast<size_t>(GetNumber(sHead, "/E ")));
  const size_t nXRef = front.sBytes.find("xref\n");
  const size_t nEntries = front.sBytes.find('\n', nXRef + 5) + 1;
  std::istringstream(front.sBytes.substr(nXRef + 5)) >> front.nFirstNumber >> front.nCount;
  const size_t nLength = 20 * static_cast<size_t>(front.nCount);
  front.sEntries = front.sBytes.substr(nEntries, nLength);
  const size_t nTrailer = nEntries + nLength;
  const std::string sTrailer =
      front.sBytes.substr(nTrailer, front.sBytes.find("startxref", nTrailer) - nTrailer);
  front.nCatalogue = GetNumber(sTrailer, "/Root ");
  front.sTrailer = GetEntry(sTrailer, "/ID", "]") + GetEntry(sTrailer, "/Encrypt ", " 0 R");
  return front;
}

// The catalogue stays, but for the page tree that it leads to.
std::string GetCatalogue(const TFront& front, long nTree)
{
  const auto nEntry = static_cast<size_t>(20 * (front.nCatalogue - front.nFirstNumber));
  const size_t nStart = std::stoul(front.sEntries.substr(nEntry, 10));
  const size_t nBody = front.sBytes.find("obj", nStart) + 3;
  std::string sBody = front.sBytes.substr(nBody, front.sBytes.find("endobj", nBody) - nBody);
  const std::string sPages = GetEntry(sBody, "/Pages ", " 0 R");
  return sBody.replace(sBody.find(sPages), sPages.size(), "/Pages " + std::to_string(nTree) + " 0 R");
}

std::string MakeFrontDocument(const std::string& sPdf)
{
  const TFront front = ReadFront(sPdf);
  const long nNext = front.nFirstNumber + front.nCount;
  std::ostringstream out;
  char szEntry[24];
  out << front.sBytes;
  const auto nTree = static_cast<long>(out.tellp());
  out << nNext << " 0 obj\n<</Type/Pages/Count 1/Kids[" << front.nPage << " 0 R]>>\nendobj\n";
  const auto nCatalogue = static_cast<long>(out.tellp());
  out << nNext + 1 << " 0 obj" << GetCatalogue(front, nNext) << "endobj\n";
  const auto nXRef = static_cast<long>(out.tellp());
  out << "xref\n0 1\n0000000000 65535 f \n";
  out << front.nFirstNumber << ' ' << front.nCount + 2 << '\n' << front.sEntries;
  for (const long nPosition : {nTree, nCatalogue})
  {
    std::snprintf(szEntry, sizeof(szEntry), "%010ld 00000 n \n", nPosition);
    out << szEntry;
  }
  out << "trailer\n<</Size " << nNext + 2 << "/Root " << nNext + 1 << " 0 R" << front.sTrailer
      << ">>\nstartxref\n"
      << nXRef << "\n%%EOF\n";
  return out.str();
}

std::string RenderByMutool(const std::string& sPath)
{
  return Support::RunProgram({"mutool", "draw", "-q", "-r", "50", "-F", "pnm", "-o", "-", sPath, "1"}).sOut;
}

std::string RenderByPoppler(const std::string& sPath)
{
  return Support::RunProgram({"pdftoppm", "-r", "50", "-f", "1", "-l", "1", sPath}).sOut;
}

// Whether the picture from the beginning is that of the whole.
const char* Compare(std::string (*pfRender)(const std::string&), const std::string& sWhole,
                    const std::string& sFront, bool& bSame)
{
  const std::string sExpected = pfRender(sWhole);
  if (sExpected.empty())
    return "cannot";
  if (pfRender(sFront) == sExpected)
    return "same";
  bSame = false;
  return "DIFFERENT";
}

bool ShowFile(const std::string& sPath)
{
  const CTempFolder folder;
  std::string sWhole = sPath;
  if (Support::ReadFile(sPath).substr(0, 1024).find("/Linearized") == std::string::npos)
  {
    BSE::CErrorHandler errors;
    sWhole = folder / "whole.pdf";
    if (!PDF::LinearizeDocument(sPath.c_str(), PDF::CTextString(), sWhole.c_str(), nullptr, &errors))
      throw std::runtime_error("cannot be linearized");
  }
  const std::string sPdf = Support::ReadFile(sWhole);
  const std::string sFront = folder / "front.pdf";
  Support::WriteFile(sFront, MakeFrontDocument(sPdf));
  bool bSame = true;
  const char* szMutool = Compare(&RenderByMutool, sWhole, sFront, bSame);
  const char* szPoppler = Compare(&RenderByPoppler, sWhole, sFront, bSame);
  std::printf("%s: %ld of %zu bytes, mutool %s, pdftoppm %s\n", sPath.c_str(),
              GetNumber(sPdf.substr(0, 1024), "/E "), sPdf.size(), szMutool, szPoppler);
  return bSame;
}

}  // namespace

int main(int nArguments, char** pszArguments)
{
  bool bSame = true;
  for (int i = 1; i < nArguments; ++i)
  {
    try
    {
      bSame = ShowFile(pszArguments[i]) && bSame;
    }
    catch (const std::exception& error)
    {
      std::printf("%s: %s\n", pszArguments[i], error.what());
      bSame = false;
    }
  }
  return bSame ? 0 : 1;
}
