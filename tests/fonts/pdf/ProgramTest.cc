// What is done to a program leaves the glyphs that are kept as they were, whatever its format: FreeType sees
// the same outlines, metrics and bitmaps before and after. Over the fonts of the system, or those of the
// folders in BREVEX_FONTS, and some of those that documents of the corpus embed; BREVEX_FONT_SETS has the
// number of glyph sets for each, and takes all programs of the documents.

#include "fonts/pdf/FontProgramOpenType.h"
#include "fonts/pdf/FontProgramTrueType.h"
#include "fonts/pdf/FontRegistry.h"
#include "tests/content/ContentPages.h"
#include "tests/fonts/common/FontFiles.h"

#include <cmath>
#include <cstdlib>
#include <numeric>
#include <optional>
#include <random>

namespace Fonts
{

namespace
{

using CProgram = BSE::CScopedPtr<PDF::CFontProgram>;

constexpr unsigned g_aUsages[] = {PDF::g_nUsedByCID, PDF::g_nUsedNonSymbolic,
                                  PDF::g_nUsedSymbolic | PDF::g_nUsedEncoding};

// Glyphs of each font that are compared one by one.
constexpr int g_nCompared = 200;

int GetSets()
{
  const char* szSets = std::getenv("BREVEX_FONT_SETS");
  return szSets ? std::max(1, std::atoi(szSets)) : 1;
}

CProgram Read(const CBytes& data)
{
  return PDF::CFontProgram::Create(ToArray(data), "", true, nullptr);
}

CBytes Write(PDF::CFontProgram& program, unsigned nUsage)
{
  const BSE::CObjectPtr<BSE::CMemoryStream> pStream(new BSE::CMemoryStream);
  int aLengths[3] = {};
  if (!program.Write(*pStream, nUsage, aLengths))
    return {};
  const std::int64_t nSum = std::accumulate(aLengths, aLengths + 3, std::int64_t{0});
  EXPECT_TRUE(nSum == 0 || nSum == pStream->GetLength());
  return TakeBytes(*pStream);
}

// A program as its file has it, and the same as FreeType sees it.
class CWritten
{
public:
  explicit CWritten(const CBytes& data) : m_data(data), m_pProgram(Read(data)), m_face(data) {}
  bool IsLoaded() const { return m_pProgram && m_face.IsLoaded(); }
  PDF::CFontProgram& operator*() const { return *m_pProgram; }
  PDF::CFontProgram* operator->() const { return m_pProgram.Get(); }
  const CFontFace& GetFace() const { return m_face; }

  bool GetGlyph(int nGlyph, bool bRender, TGlyph& glyph) const
  {
    return m_face.GetGlyph(GetNumber(nGlyph), bRender, glyph);
  }

  // The programs of glyphs may leave something that others find.
  std::vector<CBytes> DrawAlone(int nGlyph) const
  {
    TGlyph glyph;
    CFontFace(m_data).GetGlyph(GetNumber(nGlyph), true, glyph);
    return glyph.m_bitmaps;
  }

private:
  // FreeType knows the glyphs of bare outlines by their CIDs.
  int GetNumber(int nGlyph) const
  {
    auto* pBare = dynamic_cast<PDF::CFontProgramType1C*>(m_pProgram.Get());
    return pBare && pBare->IsCIDKeyed() ? pBare->GetFont().GetCID(nGlyph) : nGlyph;
  }

  CBytes m_data;
  CProgram m_pProgram;
  CFontFace m_face;
};

void ExpectSameGlyph(const CWritten& before, int nGlyph, const CWritten& after, int nNew, bool bRender = true)
{
  TGlyph expected;
  TGlyph found;
  ASSERT_LT(nNew, after->GetGlyphCount());
  // A repair may make a glyph loadable that was not.
  if (!before.GetGlyph(nGlyph, bRender, expected))
    return;
  ASSERT_TRUE(after.GetGlyph(nNew, bRender, found)) << "glyph " << nGlyph;
  ASSERT_EQ(expected.m_metrics, found.m_metrics) << "glyph " << nGlyph;
  ASSERT_TRUE(expected.m_points == found.m_points && expected.m_ends == found.m_ends) << "glyph " << nGlyph;
  ASSERT_TRUE(expected.m_bitmaps == found.m_bitmaps || before.DrawAlone(nGlyph) == after.DrawAlone(nNew))
      << "glyph " << nGlyph << " is drawn in another way";
  ASSERT_EQ(before->GetWidth(nGlyph), after->GetWidth(nNew)) << "glyph " << nGlyph;
}

// Whether the contour of a point has no other, and draws nothing.
bool IsInDot(const TGlyph& glyph, std::size_t nPoint)
{
  const auto end = std::ranges::lower_bound(glyph.m_ends, static_cast<int>(nPoint));
  const int nStart = end == glyph.m_ends.begin() ? 0 : *std::prev(end) + 1;
  return std::all_of(glyph.m_points.begin() + nStart, glyph.m_points.begin() + *end + 1,
                     [&](const auto& point) { return point == glyph.m_points[nPoint]; });
}

// Whether each point that the outline of a glyph goes through is one of the other glyph too: lines that take
// no way and points that draw nothing may be missing.
bool IsNear(const TGlyph& glyph, const TGlyph& other, double dScale = 1)
{
  for (std::size_t i = 0; i < glyph.m_points.size(); ++i)
  {
    const double dX = static_cast<double>(glyph.m_points[i].first) * dScale;
    const double dY = static_cast<double>(glyph.m_points[i].second) * dScale;
    const auto IsHere = [&](const std::pair<long, long>& point)
    {
      return std::abs(static_cast<double>(point.first) - dX) <= 1 &&
             std::abs(static_cast<double>(point.second) - dY) <= 1;
    };
    if (glyph.m_onCurve[i] != 0 && !IsInDot(glyph, i) && std::ranges::none_of(other.m_points, IsHere))
      return false;
  }
  return true;
}

// The codes that lead to the glyphs of a TrueType font, with the subtable that has them.
struct TCode
{
  int m_nPlatform;
  int m_nEncoding;
  std::uint32_t m_nCode;
  int m_nGlyph;
};

std::vector<TCode> ListCodes(const CWritten& font)
{
  std::vector<TCode> codes;
  auto& trueType = dynamic_cast<PDF::CFontProgramTrueType&>(*font);
  for (const auto& [nPlatform, nEncoding] : {std::pair(3, 1), {3, 0}, {1, 0}})
  {
    // FreeType makes mappings of names where there are none.
    std::map<std::uint32_t, std::uint32_t> mappings;
    if (trueType.HasCMap(nPlatform, nEncoding))
      font.GetFace().GetMappings(nPlatform, nEncoding, mappings);
    for (const auto& [nCode, nGlyph] : mappings)
      codes.push_back({nPlatform, nEncoding, nCode, static_cast<int>(nGlyph)});
  }
  return codes;
}

// Where glyphs of the whole font are in a result.
class CPlaces
{
public:
  CPlaces(const CWritten& whole, const CWritten& result, unsigned nUsage) : m_whole(whole), m_result(result)
  {
    auto* pTrueType = dynamic_cast<PDF::CFontProgramTrueType*>(&*result);
    m_bNumbers = pTrueType && (nUsage & PDF::g_nUsedByCID) != 0;
    for (const TCode& code : pTrueType && !m_bNumbers ? ListCodes(whole) : std::vector<TCode>())
      m_codes.emplace(code.m_nGlyph,
                      pTrueType->GetMappedGlyph(code.m_nPlatform, code.m_nEncoding, code.m_nCode));
  }

  std::optional<int> Find(int nGlyph) const
  {
    if (m_bNumbers || nGlyph == 0)
      return nGlyph;
    if (dynamic_cast<PDF::CFontProgramTrueType*>(&*m_result))
    {
      const auto place = m_codes.find(nGlyph);
      return place != m_codes.end() ? std::optional<int>(place->second) : std::nullopt;
    }
    auto* pWhole = dynamic_cast<PDF::CFontProgramType1C*>(&*m_whole);
    if (m_result->IsCIDKeyed())
      return m_result->GetGlyphIndexByCID(pWhole && pWhole->IsCIDKeyed() ? pWhole->GetFont().GetCID(nGlyph)
                                                                         : nGlyph);
    return m_result->GetGlyphIndexByName(m_whole->GetGlyphName(nGlyph));
  }

private:
  const CWritten& m_whole;
  const CWritten& m_result;
  std::map<int, int> m_codes;
  bool m_bNumbers = false;
};

// A subset of a program, in memory.
struct TSubset
{
  TSubset(const CBytes& data, const std::set<int>& glyphs, unsigned nUsage) : m_pProgram(Read(data))
  {
    for (const int nGlyph : glyphs)
      m_pProgram->GetUsedGlyphs()[static_cast<std::size_t>(nGlyph)] = 1;
    if (!m_pProgram->CanSubset())
      return;
    const std::span<unsigned char> used = m_pProgram->GetUsedGlyphs();
    for (std::size_t i = 0; i < used.size(); ++i)
      if (used[i] != 0)
        m_glyphs.insert(static_cast<int>(i));
    m_pProgram->Subset(nUsage);
  }

  CProgram m_pProgram;
  std::set<int> m_glyphs;  // what is left; empty where nothing can be left out
};

class CProperties
{
public:
  explicit CProperties(const CBytes& data) : m_data(data), m_whole(data) {}

  void Check()
  {
    const bool bLoaded = m_whole.GetFace().IsLoaded();
    EXPECT_TRUE(&*m_whole || !bLoaded);
    if (!&*m_whole || !bLoaded || m_whole->GetGlyphCount() < 1)
      return;
    ++s_nFonts;
    m_random.seed(static_cast<unsigned>(m_data.size()));
    const CWritten again(Write(*Read(m_data), 0));
    ASSERT_TRUE(again.IsLoaded());
    for (const int nGlyph : Choose(g_nCompared))
      ASSERT_NO_FATAL_FAILURE(ExpectSameGlyph(m_whole, nGlyph, again, nGlyph));
    for (int nSet = 0; nSet < GetSets(); ++nSet)
      for (const unsigned nUsage : g_aUsages)
        CheckSets(nUsage);
    CheckConversions();
  }

  static inline int s_nFonts = 0;
  static inline int s_nMerged = 0;
  static inline int s_nConverted = 0;
  static inline int s_nGlyphs = 0;
  static inline int s_nDifferent = 0;

private:
  std::set<int> Choose(int nCount)
  {
    std::set<int> glyphs;
    for (int i = 0; i < nCount; ++i)
      glyphs.insert(static_cast<int>(m_random() % static_cast<unsigned>(m_whole->GetGlyphCount())));
    return glyphs;
  }

  // Those that text can show in that usage: of several glyphs with one name only the first.
  std::set<int> ChooseUsed(unsigned nUsage)
  {
    std::set<int> glyphs = Choose(1 + static_cast<int>(m_random() % 60));
    if (nUsage == PDF::g_nUsedByCID || m_whole->IsCIDKeyed())
      return glyphs;
    std::set<int> shown = {0};
    if (m_whole->GetKind() == PDF::eFontTrueType)
      for (const TCode& code : ListCodes(m_whole))
        shown.insert(code.m_nGlyph);
    for (const int nGlyph : glyphs)
      if (m_whole->GetKind() != PDF::eFontTrueType &&
          m_whole->GetGlyphIndexByName(m_whole->GetGlyphName(nGlyph)) == nGlyph)
        shown.insert(nGlyph);
    std::erase_if(glyphs, [&](int nGlyph) { return !shown.contains(nGlyph); });
    glyphs.insert(0);
    return glyphs;
  }

  // Only the usual forms of cmap are written with more codes.
  bool CanMergeCodes(unsigned nUsage) const
  {
    auto* pTrueType = dynamic_cast<PDF::CFontProgramTrueType*>(&*m_whole);
    bool bUsual = true;
    for (int i = 0; pTrueType && i < pTrueType->GetFont().GetCMap().GetSubtableCount(); ++i)
      bUsual = bUsual && pTrueType->GetFont().GetCMap().GetSubtable(i).m_nFormat != 2;
    return bUsual || nUsage == PDF::g_nUsedByCID;
  }

  void CheckSets(unsigned nUsage)
  {
    SCOPED_TRACE("usage " + std::to_string(nUsage));
    const std::set<int> aGlyphs[] = {ChooseUsed(nUsage), ChooseUsed(nUsage)};
    TSubset first(m_data, aGlyphs[0], nUsage);
    TSubset second(m_data, aGlyphs[1], nUsage);
    if (first.m_glyphs.empty())
      return;
    BSE::CHashSHA1 hash;
    unsigned char aKeys[2][BSE::CHashSHA1::g_nDigestSize];
    first.m_pProgram->HashMergeKey(hash);
    hash.Final(aKeys[0]);
    hash.Reset();
    second.m_pProgram->HashMergeKey(hash);
    hash.Final(aKeys[1]);
    EXPECT_TRUE(std::equal(aKeys[0], std::end(aKeys[0]), aKeys[1]));
    ExpectGlyphs(TSubset(m_data, aGlyphs[0], nUsage), nUsage);
    const PDF::TMergeResult nResult = first.m_pProgram->Merge(*second.m_pProgram, nUsage);
    ASSERT_TRUE(nResult != PDF::eNotMerged || !CanMergeCodes(nUsage));
    if (nResult == PDF::eNotMerged)
      return;
    ++s_nMerged;
    EXPECT_EQ(first.m_pProgram->Merge(*second.m_pProgram, nUsage), PDF::eIdentical);
    first.m_glyphs.merge(second.m_glyphs);
    ExpectGlyphs(first, nUsage);
  }

  void ExpectGlyphs(const TSubset& subset, unsigned nUsage)
  {
    const CWritten result(Write(*subset.m_pProgram, nUsage));
    ASSERT_TRUE(result.IsLoaded());
    if (auto* pTrueType = dynamic_cast<PDF::CFontProgramTrueType*>(&*result);
        pTrueType && nUsage == PDF::g_nUsedByCID)
    {
      EXPECT_FALSE(pTrueType->GetFont().GetCMap().IsPresent() || pTrueType->GetFont().GetPost().IsPresent());
    }
    const CPlaces places(m_whole, result, nUsage);
    // Accents that are put in their places keep their hints, but FreeType places them together then.
    const bool bRender =
        m_whole->GetKind() == PDF::eFontTrueType || m_whole->IsCIDKeyed() || !result->IsCIDKeyed();
    for (const int nGlyph : subset.m_glyphs)
    {
      const std::optional<int> nNew = places.Find(nGlyph);
      ASSERT_NO_FATAL_FAILURE(ExpectSameGlyph(m_whole, nNew ? nGlyph : 0, result, nNew.value_or(0), bRender));
    }
    if (m_whole->GetKind() == PDF::eFontTrueType)
      return;
    EXPECT_EQ(result->GetGlyphCount(), static_cast<int>(subset.m_glyphs.size()));
    for (unsigned i = 0; i < 256 && !result->IsCIDKeyed(); ++i)
      if (const int nGlyph = m_whole->GetGlyphIndexByCode(i); subset.m_glyphs.contains(nGlyph) && nGlyph > 0)
      {
        EXPECT_STREQ(m_whole->GetIntrinsicName(i), result->GetIntrinsicName(i));
      }
  }

  // Outlines within a unit, since fractions are rounded in other places; what hints do to bitmaps is counted.
  void ExpectConverted(PDF::CFontProgram& made, double dTolerance)
  {
    ++s_nConverted;
    const CWritten result(Write(made, 0));
    ASSERT_TRUE(result.IsLoaded());
    for (unsigned i = 0; i < 256; ++i)
      EXPECT_EQ(m_whole->GetGlyphIndexByCode(i), result->GetGlyphIndexByCode(i));
    for (const int nGlyph : Choose(g_nCompared))
    {
      // Of several glyphs with one name the others get a name of their own.
      const int nNew =
          result->IsCIDKeyed() || m_whole->GetGlyphIndexByName(m_whole->GetGlyphName(nGlyph)) != nGlyph
              ? nGlyph
              : result->GetGlyphIndexByName(m_whole->GetGlyphName(nGlyph));
      TGlyph expected;
      TGlyph found;
      if ((nNew == 0 && nGlyph != 0) || !m_whole.GetGlyph(nGlyph, true, expected))
        continue;
      ASSERT_TRUE(result.GetGlyph(nNew, true, found)) << "glyph " << nGlyph;
      EXPECT_NEAR(m_whole->GetWidth(nGlyph), result->GetWidth(nNew), dTolerance) << "glyph " << nGlyph;
      EXPECT_TRUE(IsNear(expected, found) && IsNear(found, expected)) << "glyph " << nGlyph;
      ++s_nGlyphs;
      s_nDifferent += expected.m_bitmaps == found.m_bitmaps ? 0 : 1;
    }
  }

  // Names and codes of a Type 1 font of all that a TrueType font has first; curves are of another kind.
  void ExpectType1()
  {
    std::string aTexts[256];
    const char* aNames[256];
    std::uint16_t aGlyphs[256];
    for (std::uint16_t i = 0; i < 256; ++i)
    {
      aGlyphs[i] = static_cast<std::uint16_t>(i < m_whole->GetGlyphCount() ? i : 0);
      aTexts[i] = "n" + std::to_string(i);
      aNames[i] = aTexts[i].c_str();
    }
    const CProgram pMade = m_whole->ToType1(aNames, aGlyphs);
    if (!pMade)
      return;
    ++s_nConverted;
    const CWritten result(Write(*pMade, 0));
    ASSERT_TRUE(result.IsLoaded());
    const double dScale = 1000 / m_whole->GetUnitsPerEm();
    for (unsigned i = 1; i < 256; ++i)
    {
      TGlyph expected;
      TGlyph found;
      if (aGlyphs[i] == 0 || !m_whole.GetGlyph(aGlyphs[i], false, expected))
        continue;
      ASSERT_TRUE(result.GetGlyph(result->GetGlyphIndexByCode(i), false, found)) << "glyph " << i;
      EXPECT_STREQ(result->GetIntrinsicName(i), aNames[i]);
      EXPECT_NEAR(m_whole->GetWidth(aGlyphs[i]), result->GetWidth(result->GetGlyphIndexByCode(i)), 0.5);
      EXPECT_TRUE(IsNear(expected, found, dScale)) << "glyph " << i;
    }
  }

  void ExpectCopy()
  {
    const CProgram pCopied = Read(m_data);
    const int nGlyph = *Choose(1).begin();
    const int nCopy = pCopied->DuplicateGlyph(nGlyph, 256, nullptr);
    if (nCopy == 0)
      return;
    EXPECT_EQ(nCopy, m_whole->GetGlyphCount());
    const CWritten result(Write(*pCopied, 0));
    ASSERT_TRUE(result.IsLoaded());
    ExpectSameGlyph(m_whole, nGlyph, result, nCopy);
    ExpectSameGlyph(m_whole, nGlyph, result, nGlyph);
  }

  void CheckConversions()
  {
    ExpectCopy();
    if (m_whole->GetKind() == PDF::eFontTrueType)
      return ExpectType1();
    const char* aNames[256] = {};
    if (const CProgram pMade = m_whole->ToType1(aNames, {}))
      ExpectConverted(*pMade, 1e-3);
    for (const CProgram& pMade : {m_whole->ToCFF(), m_whole->ToBareCFF()})
      if (pMade)
      {
        ExpectConverted(*pMade, 1e-3);
        const CBytes made = Write(*pMade, 0);
        CProperties(made).Check();
      }
  }

  const CBytes& m_data;
  CWritten m_whole;
  std::minstd_rand m_random;
};

// The data of the programs that a document embeds.
std::vector<CBytes> ListPrograms(PDF::CDocument& document)
{
  std::vector<CBytes> programs;
  for (int i = 1; i < document.GetFile().GetObjectCount(); ++i)
    for (const char* szKey : {"FontFile", "FontFile2", "FontFile3"})
    {
      const PDF::CObjectPtr descriptor = document.GetFile().GetObject(i, 0);
      const PDF::CObjectPtr file = descriptor.IsDictionary() ? descriptor[szKey] : PDF::CObjectPtr();
      const BSE::CObjectPtr<BSE::IByteStream> pStream = file.IsStream() ? file.GetDecodedStream() : nullptr;
      BSE::CBasicArray<unsigned char> data;
      if (pStream && pStream->ReadToArray(data))
        programs.emplace_back(data.GetData(), data.GetData() + data.GetSize());
    }
  return programs;
}

// FreeType looks at the stems of all masks of a Type 2 charstring together, which Type 1 cannot say.
void ExpectFewDifferent()
{
  std::printf("%d fonts, %d subsets merged, %d converted; %d glyphs of which %d are drawn in another way\n",
              CProperties::s_nFonts, CProperties::s_nMerged, CProperties::s_nConverted,
              CProperties::s_nGlyphs, CProperties::s_nDifferent);
  EXPECT_LE(CProperties::s_nDifferent, CProperties::s_nGlyphs / 50);
}

}  // namespace

TEST(ProgramTest, FontsOfTheSystem)
{
  for (const char* szEnding : {".ttf", ".ttc", ".otf", ".cff", ".t1", ".pfb", ".pfa"})
    for (const std::filesystem::path& path : ListFonts(szEnding))
    {
      SCOPED_TRACE(path.string());
      CProperties(ReadBytes(path)).Check();
    }
  ExpectFewDifferent();
  if (CProperties::s_nFonts == 0)
    GTEST_SKIP() << "There are no fonts installed.";
}

TEST(ProgramTest, FontsOfDocuments)
{
  if (!std::filesystem::is_directory(Support::GetCorpus() / "real"))
    GTEST_SKIP() << "needs a folder of documents in BREVEX_CORPUS";
  const std::size_t nStep = std::getenv("BREVEX_FONT_SETS") ? 1 : 4;
  std::set<CBytes> known;
  Content::ForEachDocument("real",
                           [&](const std::filesystem::path&, const std::string&, PDF::CDocument& document)
                           {
                             for (const CBytes& data : ListPrograms(document))
                             {
                               SCOPED_TRACE("program of " + std::to_string(data.size()) + " bytes");
                               if (known.insert(data).second && known.size() % nStep == 0)
                                 CProperties(data).Check();
                             }
                           });
  ExpectFewDifferent();
}

}  // namespace Fonts
