// What is found in folders and kept in the cache: by several threads and processes, and whatever is in the
// way.

#include <gtest/gtest.h>

#include "base/MemoryStream.h"
#include "base/Tracer.h"
#include "fonts/installed/FontFile.h"
#include "fonts/installed/InstalledFontCollection.h"
#include "fonts/pdf/StandardFonts.h"
#include "tests/support/TempFolder.h"

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <thread>
#include <vector>

namespace PDF
{

namespace
{

constexpr const char* g_szSample = "tests/fonts/installed/samples/variable.ttf";
constexpr const char* g_szName = "NotoSans-Regular";

std::string ToText(const BSE::CStr16& text)
{
  return {text.GetSpan().begin(), text.GetSpan().end()};
}

// The fonts of files, without the one that is compiled in.
std::vector<std::string> GetNames(const CInstalledFontCollection& fonts)
{
  std::vector<std::string> names;
  for (int i = 0; i < fonts.GetFontCount(); ++i)
    if (!fonts.GetFont(i)->IsFromMemory())
      names.push_back(ToText(fonts.GetFont(i)->m_sName));
  return names;
}

// A folder of fonts and one for the cache, with nothing of the machine, and what is traced meanwhile.
class Catalogue : public testing::Test
{
protected:
  void SetUp() override
  {
    std::filesystem::create_directories(m_folder / "fonts/deep");
    Support::WriteFile(m_folder / "fonts/deep/a.TTF", m_sFont);
    setenv("HOME", m_folder.GetPath().c_str(), 1);
    unsetenv("PDFFONTDIR");
    BSE::CTracer::SetOutput(m_trace.c_str());
  }
  void TearDown() override { BSE::CTracer::Close(); }

  std::vector<std::string> Load(const std::vector<std::string>& folders = {"fonts"}, bool bCache = true) const
  {
    CInstalledFontCollection fonts;
    for (const std::string& sFolder : folders)
      fonts.AddFontDirectory((m_folder / sFolder).c_str());
    fonts.Load(bCache ? m_cache.c_str() : nullptr);
    return GetNames(fonts);
  }

  // Whether a text has been traced since the last call.
  bool WasTraced(const char* szText)
  {
    const std::string sTrace = Support::ReadFile(m_trace);
    const bool bFound = sTrace.find(szText, m_nTraced) != std::string::npos;
    m_nTraced = sTrace.size();
    return bFound;
  }

  Support::CTempFolder m_folder;
  std::filesystem::path m_cache = m_folder / "settings/fonts.dat";
  std::filesystem::path m_trace = m_folder / "trace.csv";
  std::size_t m_nTraced = 0;
  std::string m_sFont = Support::ReadFile(g_szSample);
};

const std::vector<std::string> g_one = {g_szName};

// Of a font that says no more than its name.
TEST_F(Catalogue, KnowsSerifsByNames)
{
  for (const auto& [sName, bSerif] : {std::pair<std::string, bool>{"C059-Bold", true},
                                      {"NimbusSans-Bold", false},
                                      {"NimbusRoman-Bold", true},
                                      {"MSSansSerif", false}})
  {
    Support::WriteFile(m_folder / "own.pfa", "%!PS-AdobeFont-1.0\n/FontName /" + sName + " def");
    CInstalledFontCollection fonts;
    fonts.AddFontDirectory((m_folder / "own.pfa").c_str());
    fonts.Load(nullptr);
    const CInstalledFont* pFont =
        fonts.FindFont(BSE::CStr16(std::u16string(sName.begin(), sName.end()).c_str()).GetText());
    ASSERT_TRUE(pFont) << sName;
    EXPECT_EQ(pFont->m_bSerif != 0, bSerif) << sName;
  }
}

TEST_F(Catalogue, PassesOverWhatIsNoFont)
{
  const auto folder = m_folder / "fonts";
  std::filesystem::create_directory_symlink(folder, folder / "deep/loop");
  std::filesystem::create_symlink(folder / "deep/a.TTF", folder / "again.ttf");
  std::filesystem::create_symlink("nowhere", folder / "gone.ttf");
  std::filesystem::create_directory(folder / "folder.ttf");
  ASSERT_EQ(mkfifo((folder / "pipe.ttf").c_str(), 0600), 0);
  Support::WriteFile(folder / "empty.pfb", "");
  Support::WriteFile(folder / "text.otf", "no font");
  Support::WriteFile(folder / "zeros.ttc", std::string("ttcf\0\1\0\0\xFF\xFF\xFF\xFF", 12));
  std::filesystem::resize_file(folder / "zeros.ttc", std::uintmax_t{1} << 33);
  Support::WriteFile(folder / "secret.ttf", m_sFont.substr(0, 50));
  std::filesystem::permissions(folder / "secret.ttf", std::filesystem::perms::none);
  EXPECT_EQ(Load({"fonts", "fonts", "absent", "fonts/deep"}, false), g_one);
  EXPECT_TRUE(WasTraced("Font directory is already loaded, skipping"));
}

// Whatever is cut or changed in a font, it is read or not.
TEST_F(Catalogue, ReadsDamagedFonts)
{
  const auto read = [](const std::string& sData)
  {
    BSE::CMemoryStream stream(sData.data(), static_cast<std::int64_t>(sData.size()));
    BSE::CObjectArray<CInstalledFont> fonts;
    return CFontFileReader(stream, "font").Read(fonts);
  };
  BSE::CTracer::Close();
  for (std::size_t i = 0; i < m_sFont.size(); ++i)
  {
    std::string sFont = m_sFont;
    sFont[i] = static_cast<char>(~sFont[i]);
    EXPECT_LE(read(sFont), 1);
    EXPECT_LE(read(m_sFont.substr(0, i)), 1);
  }
  std::string sNoHead = m_sFont;
  sNoHead.replace(sNoHead.find("\x5F\x0F\x3C\xF5"), 1, "x");
  BSE::CTracer::SetOutput(m_trace.c_str());
  EXPECT_EQ(read(sNoHead), 0);
  EXPECT_TRUE(WasTraced("has invalid head table."));
  // The same font a hundred times.
  std::string sMany("ttcf\0\1\0\0\0\0\0\x64", 12);
  for (int i = 0; i < 100; ++i)
    sMany += std::string("\0\0\x01\x9C", 4);
  std::string sShifted = m_sFont;
  for (std::size_t nEntry = 12 + 8; nEntry < 12 + 12 * 16; nEntry += 16)
  {
    const unsigned nOffset = (static_cast<unsigned char>(sShifted[nEntry + 2]) << 8 |
                              static_cast<unsigned char>(sShifted[nEntry + 3])) +
                             412;
    sShifted[nEntry + 2] = static_cast<char>(nOffset >> 8);
    sShifted[nEntry + 3] = static_cast<char>(nOffset);
  }
  EXPECT_EQ(read(sMany + sShifted), 100);
}

TEST_F(Catalogue, IsKeptInItsCache)
{
  EXPECT_EQ(Load(), g_one);
  EXPECT_TRUE(WasTraced("Successfully created font cache"));
  const std::string sCache = Support::ReadFile(m_cache);
  const std::string sPath = (m_folder / "fonts/deep/a.TTF").string();
  ASSERT_EQ(sCache.size(), 33 + 72 + 4 + sPath.size() + 1 + 4 + 2 * 17 + 4 + 2 * 10 + 4);
  EXPECT_EQ(sCache.substr(0, 9), std::string("\7\x48\0\0\0\x14\0\0\0", 9));
  EXPECT_EQ(sCache.substr(29, 4), std::string("\1\0\0\0", 4));
  CFontCharacteristics font;
  std::memcpy(static_cast<void*>(&font), sCache.data() + 33, sizeof font);
  EXPECT_EQ(font.m_nCoverage[0], 1U);
  EXPECT_EQ(font.m_dAscent, 800);
  EXPECT_EQ(font.m_dXHeight, 500);
  EXPECT_EQ(font.m_dWidth, 500);
  EXPECT_FALSE(font.m_bBold || font.m_bItalic || font.m_bSerif || font.m_bSymbol);
  // Nobody looks at the fonts any more.
  std::filesystem::remove_all(m_folder / "fonts");
  EXPECT_EQ(Load(), g_one);
  EXPECT_TRUE(WasTraced("Loaded 1 fonts from cache"));
  EXPECT_EQ(Load({"fonts", "other"}), std::vector<std::string>());
  EXPECT_TRUE(WasTraced("Font cache is outdated (different digest)."));
  EXPECT_EQ(Support::ReadFile(m_cache).size(), 33U);
  EXPECT_EQ(Load({"fonts", "other"}), std::vector<std::string>());
  EXPECT_TRUE(WasTraced("Loaded 0 fonts from cache"));
}

TEST_F(Catalogue, MakesADamagedCacheAnew)
{
  ASSERT_EQ(Load(), g_one);
  const std::string sCache = Support::ReadFile(m_cache);
  const struct
  {
    std::size_t m_nAt;
    const char* m_szTrace;
  } aDamages[] = {{0, "Font cache has incompatible version."},
                  {1, "Font cache has incompatible size of font characteristics structure."},
                  {5, "Font cache has incompatible digest length."},
                  {9, "Font cache is outdated (different digest)."},
                  {29, "Error reading from font cache."},
                  {31, "Invalid number of fonts in cache."},
                  {33 + 8 + 6, "Error reading from font cache."},
                  {33 + 71, "Error reading from font cache."},
                  {33 + 72 + 3, "Error reading from font cache."}};
  for (const auto& damage : aDamages)
  {
    std::string sDamaged = sCache;
    sDamaged[damage.m_nAt] = static_cast<char>(damage.m_nAt == 0    ? 6
                                               : damage.m_nAt == 47 ? 0xF0
                                               : damage.m_nAt == 29 ? 2
                                                                    : 0x7F);
    if (damage.m_nAt == 47)
      sDamaged[48] = 0x7F;
    Support::WriteFile(m_cache, sDamaged);
    WasTraced("");
    EXPECT_EQ(Load(), g_one) << damage.m_nAt;
    EXPECT_TRUE(WasTraced(damage.m_szTrace)) << damage.m_nAt;
    EXPECT_EQ(Support::ReadFile(m_cache), sCache) << damage.m_nAt;
  }
  BSE::CTracer::Close();
  for (std::size_t i = 0; i < sCache.size(); ++i)
  {
    Support::WriteFile(m_cache, sCache.substr(0, i));
    EXPECT_EQ(Load(), g_one) << i;
  }
  std::filesystem::remove(m_cache);
  std::filesystem::create_directory(m_cache);
  BSE::CTracer::SetOutput(m_trace.c_str());
  EXPECT_EQ(Load(), g_one);
  EXPECT_TRUE(WasTraced("Error creating font cache"));
}

// They see a whole cache or none, and leave nothing else in the folder.
TEST_F(Catalogue, IsLoadedByManyAtOnce)
{
  BSE::CTracer::Close();
  std::vector<pid_t> children;
  for (int i = 0; i < 4; ++i)
    if (const pid_t nChild = fork(); nChild == 0)
    {
      bool bGood = true;
      for (int n = 0; n < 50; ++n)
      {
        bGood = bGood && Load() == g_one;
        if (n % 10 == i)
          unlink(m_cache.c_str());
      }
      _exit(bGood ? 0 : 1);
    }
    else
      children.push_back(nChild);
  std::vector<std::thread> threads;
  for (int i = 0; i < 2; ++i)
    threads.emplace_back(
        [this]
        {
          for (int n = 0; n < 50; ++n)
            EXPECT_EQ(Load(), g_one);
        });
  for (std::thread& thread : threads)
    thread.join();
  for (const pid_t nChild : children)
  {
    int nStatus = -1;
    EXPECT_EQ(waitpid(nChild, &nStatus, 0), nChild);
    EXPECT_EQ(nStatus, 0);
  }
  EXPECT_EQ(Load(), g_one);
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(m_cache.parent_path()), {}), 1);
}

TEST_F(Catalogue, WorksWithoutAHome)
{
  EXPECT_EQ(CInstalledFontCollection::GetDefaultCache(),
            BSE::CStr8((m_folder / ".norvane/fonts/fonts.dat").c_str()));
  unsetenv("HOME");
  EXPECT_TRUE(CInstalledFontCollection::GetDefaultCache().IsEmpty());
  EXPECT_EQ(Load({"fonts"}, false), g_one);
  EXPECT_TRUE(WasTraced("There is no place for a font cache."));
}

TEST_F(Catalogue, HasDingbats)
{
  CInstalledFontCollection fonts;
  fonts.Load(nullptr);
  const CInstalledFont* pFont = fonts.FindFont(u"zapfdingbats");
  ASSERT_TRUE(pFont != nullptr && pFont == fonts.FindFont(u"D050000L"));
  const BSE::CScopedPtr<CFontProgram> pProgram = CInstalledFontCollection::LoadProgram(*pFont, nullptr);
  const TStandardFont* pStandard = FindStandardFont("ZapfDingbats");
  ASSERT_TRUE(pProgram && pStandard);
  FONT::CGlyph outline;
  for (const TGlyphWidth& width : pStandard->GetWidths())
  {
    const char* szName = GetGlyphName(width.m_nName);
    const int nGlyph = pProgram->GetGlyphIndexByName(szName);
    EXPECT_GT(nGlyph, 0) << szName;
    EXPECT_EQ(pProgram->GetWidth(nGlyph), width.m_nWidth) << szName;
    EXPECT_TRUE(pProgram->GetOutline(nGlyph, outline)) << szName;
    EXPECT_EQ(outline.m_segments.IsEmpty(), std::strcmp(szName, "space") == 0) << szName;
  }
  EXPECT_STREQ(pProgram->GetIntrinsicName(0x21), "a1");
  // The sparkles are made of parts, the asterisk of balloons is in one piece.
  for (const auto& [szName, nContours] : {std::pair("a66", 9), std::pair("a67", 9), std::pair("a68", 1)})
  {
    EXPECT_TRUE(pProgram->GetOutline(pProgram->GetGlyphIndexByName(szName), outline));
    const std::span<const FONT::TSegment> segments = outline.m_segments.GetSpan();
    EXPECT_EQ(
        std::count_if(segments.begin(), segments.end(),
                      [](const FONT::TSegment& segment) { return segment.m_nKind == FONT::TSegment::eMove; }),
        nContours)
        << szName;
  }
}

}  // namespace

}  // namespace PDF
