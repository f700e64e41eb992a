#include "tests/support/PdfDamager.h"

#include <ostream>
#include <random>

#include "tests/support/PdfBuilder.h"

namespace Support
{
namespace
{

constexpr int g_nLast = -1;
constexpr int g_nAll = -2;

std::string Repeat(std::string_view sText, int nCount)
{
  std::string sOut;
  for (int i = 0; i < nCount; ++i)
    sOut += sText;
  return sOut;
}

size_t FindOr(std::string_view sText, std::string_view sWhat, size_t nElse, size_t nFrom = 0)
{
  const size_t nFound = sText.find(sWhat, nFrom);
  return nFound == std::string_view::npos ? nElse : nFound;
}

// Puts text in place of the rest of the line after a mark.
std::string ReplaceRestOfLine(std::string_view sPdf, std::string_view sMark, std::string_view sNew)
{
  const size_t nMark = sPdf.rfind(sMark);
  if (nMark == std::string_view::npos)
    return std::string(sPdf);
  const size_t nFrom = nMark + sMark.size();
  const size_t nTo = FindOr(sPdf, "\n", sPdf.size(), nFrom);
  return std::string(sPdf.substr(0, nFrom)) + std::string(sNew) + std::string(sPdf.substr(nTo));
}

// Adds to every offset of the table.
std::string ShiftOffsets(std::string_view sPdf, int nBy)
{
  std::string sOut(sPdf);
  for (size_t nAt = sOut.find(" 00000 n"); nAt != std::string::npos; nAt = sOut.find(" 00000 n", nAt + 1))
  {
    const std::string sDigits = std::to_string(std::stoll(sOut.substr(nAt - 10, 10)) + nBy);
    sOut.replace(nAt - 10, 10, std::string(10 - sDigits.size(), '0') + sDigits);
  }
  return sOut;
}

// Writes another object after the file, which a reader that scans takes for the newer one.
std::string AppendObject(std::string_view sPdf, int nNumber, const std::string& sBody)
{
  return ReplaceText(sPdf, "xref\n", std::to_string(nNumber) + " 0 obj\n" + sBody + "\nendobj\nxrex\n", 0);
}

std::string OpenNesting(std::string_view sPdf, std::string_view sOpen, int nDepth)
{
  return ReplaceText(sPdf, "/Type /Catalog", "/Type /Catalog /Deep " + Repeat(sOpen, nDepth));
}

std::string ClosedNesting(std::string_view sPdf, int nDepth)
{
  return ReplaceText(sPdf, "/Type /Catalog",
                     "/Type /Catalog /Deep " + Repeat("[", nDepth) + Repeat("]", nDepth));
}

std::string CutStream(std::string_view sPdf, size_t nKeep)
{
  const size_t nStart = FindOr(sPdf, "stream\n", sPdf.size());
  const size_t nEnd = FindOr(sPdf, "\nendstream", sPdf.size(), nStart);
  if (nStart + 7 + nKeep >= nEnd)
    return std::string(sPdf);
  return std::string(sPdf.substr(0, nStart + 7 + nKeep)) + std::string(sPdf.substr(nEnd));
}

using S = std::string_view;
constexpr auto Harmless = TDamageEffect::Harmless;
constexpr auto Partial = TDamageEffect::Partial;
constexpr auto Destructive = TDamageEffect::Destructive;

const TDamage g_damages[] = {
    // The end of the file and the way to the objects.
    {"StartXRefZero", Harmless, [](S s) { return ReplaceRestOfLine(s, "startxref\n", "0"); }},
    {"StartXRefBeyondEnd", Harmless, [](S s) { return ReplaceRestOfLine(s, "startxref\n", "99999999"); }},
    {"StartXRefNegative", Harmless, [](S s) { return ReplaceRestOfLine(s, "startxref\n", "-17"); }},
    {"StartXRefHuge", Harmless, [](S s) { return ReplaceRestOfLine(s, "startxref\n", Repeat("9", 40)); }},
    {"StartXRefOffByOne", Harmless, [](S s) { return ReplaceText(s, "xref\n0", "\nxref\n0"); }},
    {"StartXRefMissing", Harmless, [](S s) { return ReplaceText(s, "startxref", "", g_nLast); }},
    {"EndMarkerMissing", Harmless, [](S s) { return ReplaceText(s, "%%EOF\n", "", g_nLast); }},
    {"GarbageBehindEnd", Harmless, [](S s) { return std::string(s) + Repeat("garbage \x01\n", 200); }},
    {"TailCut", Partial, [](S s) { return std::string(s.substr(0, FindOr(s, "xref\n", s.size()))); }},
    {"HalfCut", Partial, [](S s) { return std::string(s.substr(0, s.size() / 2)); }},
    {"HeaderOnly", Destructive, [](S s) { return std::string(s.substr(0, 9)); }},
    {"HeaderMissing", Partial, [](S s) { return std::string(s.substr(FindOr(s, "\n", 0) + 1)); }},
    {"HeaderVersionBad", Partial, [](S s) { return ReplaceText(s, "%PDF-1.", "%PDF-x."); }},

    // The cross-reference table and the trailer.
    {"OffsetsTooLarge", Harmless, [](S s) { return ShiftOffsets(s, 3); }},
    {"OffsetsTooSmall", Harmless, [](S s) { return ShiftOffsets(s, -3); }},
    {"OffsetsBeyondEnd", Harmless, [](S s) { return ShiftOffsets(s, 1000000000); }},
    {"TableCountHuge", Harmless, [](S s) { return ReplaceText(s, "xref\n0 ", "xref\n0 99999999"); }},
    {"TableCountWraps", Harmless, [](S s) { return ReplaceText(s, "xref\n0 ", "xref\n4294967290 "); }},
    {"TableFirstWrong", Partial, [](S s) { return ReplaceText(s, "xref\n0 ", "xref\n1 "); }},
    {"TableGarbage", Harmless, [](S s) { return ReplaceText(s, " 00000 n", " 0x0#0 q", g_nAll); }},
    {"TableAllFree", Partial, [](S s) { return ReplaceText(s, " 00000 n", " 00000 f", g_nAll); }},
    {"TrailerMissing", Partial, [](S s) { return ReplaceText(s, "trailer", "tr", g_nLast); }},
    {"TrailerUnclosed", Harmless,
     [](S s) { return ReplaceText(s, ">>\nstartxref", "\nstartxref", g_nLast); }},
    {"TrailerSizeHuge", Harmless, [](S s) { return ReplaceText(s, "/Size ", "/Size 99999999", g_nLast); }},
    {"TrailerSizeSmall", Harmless, [](S s) { return ReplaceText(s, "/Size ", "/Size 2 /Was ", g_nLast); }},
    {"PrevToItself", Harmless,
     [](S s) {
       return ReplaceText(s, "/Root", "/Prev " + std::to_string(FindOr(s, "xref\n", 0)) + " /Root", g_nLast);
     }},
    {"PrevBeyondEnd", Harmless, [](S s) { return ReplaceText(s, "/Root", "/Prev 88888888 /Root", g_nLast); }},
    {"PrevNegative", Harmless, [](S s) { return ReplaceText(s, "/Root", "/Prev -5 /Root", g_nLast); }},
    {"XRefStreamMissing", Harmless, [](S s) { return ReplaceText(s, "/Root", "/XRefStm 9 /Root", g_nLast); }},
    {"RootMissing", Partial, [](S s) { return ReplaceText(s, "/Root", "/Toor", g_nLast); }},
    {"RootWrong", Partial, [](S s) { return ReplaceText(s, "/Root 1 0 R", "/Root 3 0 R", g_nLast); }},
    {"RootNoReference", Partial, [](S s) { return ReplaceText(s, "/Root 1 0 R", "/Root 1", g_nLast); }},

    // Objects.
    {"EndobjMissing", Harmless, [](S s) { return ReplaceText(s, "endobj\n", "", g_nAll); }},
    {"EndstreamMissing", Partial, [](S s) { return ReplaceText(s, "endstream", "", g_nAll); }},
    {"CarriageReturns", Harmless, [](S s) { return ReplaceText(s, " obj\n", " obj\r", g_nAll); }},
    {"ObjectNumberWrong", Partial, [](S s) { return ReplaceText(s, "\n3 0 obj", "\n4 0 obj"); }},
    {"ObjectNumberHuge", Partial, [](S s) { return ReplaceText(s, "\n3 0 obj", "\n99999999999 0 obj"); }},
    {"GenerationWrong", Harmless, [](S s) { return ReplaceText(s, "\n3 0 obj", "\n3 7 obj"); }},
    {"NumberHuge", Harmless, [](S s) { return ReplaceText(s, "595 842", Repeat("9", 400) + " 842"); }},
    {"NumberGarbage", Harmless, [](S s) { return ReplaceText(s, "595 842", "--5.9.5 8+4-2"); }},
    {"DictionaryUnclosed", Partial, [](S s) { return ReplaceText(s, ">>\nendobj", "\nendobj", g_nAll); }},
    {"StringUnclosed", Partial, [](S s) { return ReplaceText(s, "/Type /Catalog", "/Type /Catalog /S (x"); }},
    {"NullBytes", Partial, [](S s) { return ReplaceText(s, "/Kids", S("\0\0\0\0\0", 5)); }},
    {"DeepArrays", Partial, [](S s) { return OpenNesting(s, "[", 100000); }},
    {"DeepDictionaries", Partial, [](S s) { return OpenNesting(s, "<< /D ", 100000); }},
    {"DeepClosedArrays", Partial, [](S s) { return ClosedNesting(s, 2000); }},
    {"ReferenceToItself", Harmless,
     [](S s) { return ReplaceText(s, "/Type /Catalog", "/Type /Catalog /Me 1 0 R"); }},
    {"ObjectIsReference", Partial, [](S s) { return AppendObject(s, 3, "3 0 R"); }},

    // Streams.
    {"LengthShort", Harmless, [](S s) { return ReplaceText(s, "/Length ", "/Length 1 /Was "); }},
    {"LengthLong", Harmless, [](S s) { return ReplaceText(s, "/Length ", "/Length 9"); }},
    {"LengthHuge", Harmless, [](S s) { return ReplaceText(s, "/Length ", "/Length 99999999999999999999"); }},
    {"LengthNegative", Harmless, [](S s) { return ReplaceText(s, "/Length ", "/Length -"); }},
    {"LengthMissing", Harmless, [](S s) { return ReplaceText(s, "/Length ", "/Laenge "); }},
    {"LengthToItself", Harmless, [](S s) { return ReplaceText(s, "/Length ", "/Length 4 0 R /Was "); }},
    {"LengthToNothing", Harmless, [](S s) { return ReplaceText(s, "/Length ", "/Length 777 0 R /Was "); }},
    {"StreamCut", Harmless, [](S s) { return CutStream(s, 3); }},
    {"StreamEmpty", Harmless, [](S s) { return CutStream(s, 0); }},
    {"FilterUnknown", Harmless,
     [](S s) { return ReplaceText(s, "/Length ", "/Filter /Unknown /Length ", g_nAll); }},
    {"FilterChainLong", Harmless,
     [](S s)
     { return ReplaceText(s, "/Length ", "/Filter [" + Repeat("/FlateDecode ", 5000) + "] /Length "); }},
    {"FilterNotApplied", Harmless,
     [](S s) { return ReplaceText(s, "/Length ", "/Filter /FlateDecode /Length ", g_nAll); }},

    // The page tree.
    {"CountWrong", Partial,
     [](S s) { return ReplaceText(s, "/Type /Pages /Count ", "/Type /Pages /Count 9"); }},
    {"CountNegative", Partial,
     [](S s) { return ReplaceText(s, "/Type /Pages /Count ", "/Type /Pages /Count -"); }},
    {"CountMissing", Partial,
     [](S s) { return ReplaceText(s, "/Type /Pages /Count ", "/Type /Pages /Amount "); }},
    {"KidsToParent", Partial, [](S s) { return ReplaceText(s, "/Kids [", "/Kids [2 0 R "); }},
    {"KidsTwice", Partial, [](S s) { return ReplaceText(s, "/Kids [", "/Kids [5 0 R 5 0 R "); }},
    {"KidsToCatalog", Partial, [](S s) { return ReplaceText(s, "/Kids [", "/Kids [1 0 R "); }},
    {"KidsToNothing", Partial, [](S s) { return ReplaceText(s, "/Kids [", "/Kids [555 0 R null 7 "); }},
    {"KidsNoArray", Partial, [](S s) { return ReplaceText(s, "/Kids [", "/Kids 5 0 R /Was ["); }},
    {"PagesMissing", Partial, [](S s) { return ReplaceText(s, "/Pages 2 0 R", "/Pages 0 0 R"); }},
    {"ParentMissing", Harmless, [](S s) { return ReplaceText(s, "/Parent 2 0 R", "", g_nAll); }},
    {"ParentToItself", Harmless,
     [](S s) { return ReplaceText(s, "/Parent 2 0 R", "/Parent 5 0 R", g_nAll); }},
    {"PageTypeMissing", Harmless, [](S s) { return ReplaceText(s, "/Type /Page ", "", g_nAll); }},
    {"ContentsLoop", Partial,
     [](S s) { return ReplaceText(s, "/Contents 4 0 R", "/Contents [5 0 R [5 0 R]]"); }},
};

}  // namespace

std::span<const TDamage> GetDamages()
{
  return g_damages;
}

void PrintTo(const TDamage& damage, std::ostream* pOut)
{
  *pOut << damage.szName;
}

std::string FlipBytes(std::string_view sPdf, unsigned nSeed, int nCount)
{
  // The distributions of <random> differ between libraries, the generator does not.
  std::mt19937 random(nSeed);
  std::string sOut(sPdf);
  for (int i = 0; i < nCount && !sOut.empty(); ++i)
  {
    const size_t nAt = random() % sOut.size();
    sOut[nAt] = static_cast<char>(random() & 0xFF);
  }
  return sOut;
}

std::string ReplaceText(std::string_view sText, std::string_view sOld, std::string_view sNew, int nWhich)
{
  std::string sOut;
  size_t nDone = 0;
  int nSeen = 0;
  size_t nAt = nWhich == g_nLast ? sText.rfind(sOld) : sText.find(sOld);
  while (nAt != std::string_view::npos)
  {
    const bool bReplace = nWhich < 0 || nSeen == nWhich;
    sOut += sText.substr(nDone, nAt - nDone);
    sOut += bReplace ? sNew : sOld;
    nDone = nAt + sOld.size();
    ++nSeen;
    if (nWhich == g_nLast || (bReplace && nWhich >= 0))
      break;
    nAt = sText.find(sOld, nDone);
  }
  sOut += sText.substr(nDone);
  return sOut;
}

}  // namespace Support
