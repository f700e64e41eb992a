// Shows the first page of linearized files from their beginning alone.
//
//   first_page [--object-streams] FILE...
//
// Every file is linearized, with object streams if it is asked for, unless it is already, and cut after the
// end of its first page. A viewer that knows linearized files goes on with what it has: it knows the first
// page's object and the positions of the objects in front. The readers used here do not, so that the cut file
// gets a page tree of this one page and one cross-reference table of these objects after it; everything else
// is missing. Both files are rendered by mutool and pdftoppm, and the pictures have to be equal. One line a
// file: the bytes needed, those of the whole, and what each reader says. Ends with 1 if a picture differs.

#include "base/BufferedInputStream.h"
#include "base/ErrorHandler.h"
#include "pdf/File.h"
#include "pdf/linearize/DocumentLinearizer.h"
#include "tests/support/Process.h"
#include "tests/support/TempFolder.h"

#include <cstdio>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{

using Support::CTempFolder;

// An entry of a cross-reference section (ISO 32000-1, Table 18).
struct TEntry
{
  long nType = 1;
  long nValue = 0;
  long nIndex = 0;
};

// Objects of the first section.
struct TFront
{
  std::string sBytes;    // up to the end of the first page
  std::string sTrailer;  // its entries but those that lead elsewhere
  std::vector<TEntry> entries;
  bool bStream = false;  // they are from a cross-reference stream
  long nFirstNumber = 0;
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

void ReadTable(TFront& front)
{
  const size_t nXRef = front.sBytes.find("xref\n");
  const size_t nEntries = front.sBytes.find('\n', nXRef + 5) + 1;
  size_t nCount = 0;
  std::istringstream(front.sBytes.substr(nXRef + 5)) >> front.nFirstNumber >> nCount;
  for (size_t i = 0; i < nCount; ++i)
    front.entries.push_back({1, std::stol(front.sBytes.substr(nEntries + 20 * i, 10)), 0});
}

// The stream itself is of use for the whole file alone.
void ReadXRefStream(const std::string& sPdf, TFront& front)
{
  const size_t nStart = sPdf.find("endobj\n") + 7;
  const std::string sHead = sPdf.substr(nStart, sPdf.find("stream", nStart) - nStart);
  front.nFirstNumber = GetNumber(sHead, "/Index[");
  size_t widths[3] = {};
  if (std::sscanf(sHead.c_str() + sHead.find("/W["), "/W[%zu %zu %zu]", &widths[0], &widths[1], &widths[2]) !=
      3)
    throw std::runtime_error("there are no widths");
  PDF::CFile file(nullptr);
  const BSE::CObjectPtr<BSE::IByteStream> pInput(
      new BSE::CMemoryInputStream(sPdf.data(), static_cast<std::int64_t>(sPdf.size())));
  BSE::CBasicArray<unsigned char> rows;
  if (!file.Open(pInput.Get()) || !file.GetObject(std::stoi(sHead), 0).GetDecodedStream()->ReadToArray(rows))
    throw std::runtime_error("the cross-reference stream cannot be read");
  for (int nAt = 0; nAt < rows.GetSize();)
  {
    long fields[3] = {};
    for (size_t i = 0; i < 3; ++i)
      for (size_t n = 0; n < widths[i]; ++n)
        fields[i] = fields[i] << 8 | rows[nAt++];
    front.entries.push_back({fields[0], fields[1], fields[2]});
  }
  front.entries[1] = {0, 0, 0};
}

TFront ReadFront(const std::string& sPdf)
{
  TFront front;
  const std::string sHead = sPdf.substr(0, 1024);
  front.nPage = GetNumber(sHead, "/O ");
  front.sBytes = sPdf.substr(0, static_cast<size_t>(GetNumber(sHead, "/E ")));
  front.bStream = front.sBytes.find("/XRef") < front.sBytes.find("startxref");
  if (front.bStream)
    ReadXRefStream(sPdf, front);
  else
    ReadTable(front);
  const size_t nTrailer = front.sBytes.find(front.bStream ? "/XRef" : "trailer");
  const std::string sTrailer =
      front.sBytes.substr(nTrailer, front.sBytes.find("startxref", nTrailer) - nTrailer);
  front.nCatalogue = GetNumber(sTrailer, "/Root ");
  front.sTrailer = GetEntry(sTrailer, "/ID", "]") + GetEntry(sTrailer, "/Encrypt ", " 0 R");
  return front;
}

// The catalogue stays, but for the page tree that it leads to.
std::string GetCatalogue(const TFront& front, long nTree)
{
  const auto nStart =
      static_cast<size_t>(front.entries[static_cast<size_t>(front.nCatalogue - front.nFirstNumber)].nValue);
  const size_t nBody = front.sBytes.find("obj", nStart) + 3;
  std::string sBody = front.sBytes.substr(nBody, front.sBytes.find("endobj", nBody) - nBody);
  const std::string sPages = GetEntry(sBody, "/Pages ", " 0 R");
  return sBody.replace(sBody.find(sPages), sPages.size(), "/Pages " + std::to_string(nTree) + " 0 R");
}

void WriteTable(const TFront& front, std::ostream& out)
{
  out << "xref\n0 1\n0000000000 65535 f \n";
  out << front.nFirstNumber << ' ' << front.entries.size() << '\n';
  char szEntry[24];
  for (const TEntry& entry : front.entries)
  {
    std::snprintf(szEntry, sizeof(szEntry), "%010ld 00000 n \n", entry.nValue);
    out << szEntry;
  }
  out << "trailer\n<<";
}

void WriteXRefStream(const TFront& front, const std::string& sTrailer, std::ostream& out)
{
  out << front.nFirstNumber + static_cast<long>(front.entries.size()) - 1
      << " 0 obj\n<</Type/XRef/W[1 4 2]/Index[" << front.nFirstNumber << ' ' << front.entries.size()
      << "]/Length " << 7 * front.entries.size() << sTrailer << ">>\nstream\n";
  for (const TEntry& entry : front.entries)
  {
    out.put(static_cast<char>(entry.nType));
    for (int i = 3; i >= 0; --i)
      out.put(static_cast<char>(entry.nValue >> (8 * i)));
    out.put(static_cast<char>(entry.nIndex >> 8)).put(static_cast<char>(entry.nIndex));
  }
  out << "\nendstream\nendobj\n";
}

std::string MakeFrontDocument(const std::string& sPdf)
{
  TFront front = ReadFront(sPdf);
  const long nNext = front.nFirstNumber + static_cast<long>(front.entries.size());
  std::ostringstream out;
  out << front.sBytes;
  front.entries.push_back({1, static_cast<long>(out.tellp()), 0});
  out << nNext << " 0 obj\n<</Type/Pages/Count 1/Kids[" << front.nPage << " 0 R]>>\nendobj\n";
  front.entries.push_back({1, static_cast<long>(out.tellp()), 0});
  out << nNext + 1 << " 0 obj" << GetCatalogue(front, nNext) << "endobj\n";
  const auto nXRef = static_cast<long>(out.tellp());
  const std::string sTrailer =
      "/Size " + std::to_string(nNext + 3) + "/Root " + std::to_string(nNext + 1) + " 0 R" + front.sTrailer;
  if (front.bStream)
  {
    front.entries.push_back({1, nXRef, 0});
    WriteXRefStream(front, sTrailer, out);
  }
  else
  {
    WriteTable(front, out);
    out << sTrailer << ">>\n";
  }
  out << "startxref\n" << nXRef << "\n%%EOF\n";
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

bool ShowFile(const std::string& sPath, bool bObjectStreams)
{
  const CTempFolder folder;
  std::string sWhole = sPath;
  if (Support::ReadFile(sPath).substr(0, 1024).find("/Linearized") == std::string::npos)
  {
    BSE::CErrorHandler errors;
    sWhole = folder / "whole.pdf";
    if (!PDF::LinearizeDocument(sPath.c_str(), PDF::CTextString(), sWhole.c_str(), nullptr, &errors,
                                bObjectStreams))
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
  const bool bObjectStreams = nArguments > 1 && pszArguments[1] == std::string("--object-streams");
  for (int i = bObjectStreams ? 2 : 1; i < nArguments; ++i)
  {
    try
    {
      bSame = ShowFile(pszArguments[i], bObjectStreams) && bSame;
    }
    catch (const std::exception& error)
    {
      std::printf("%s: %s\n", pszArguments[i], error.what());
      bSame = false;
    }
  }
  return bSame ? 0 : 1;
}
