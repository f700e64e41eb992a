#include "base/File.h"

#include "base/FileCache.h"
#include "base/FileStream.h"
#include "base/TempFileStream.h"
#include "base/Tracer.h"
#include "tests/base/TestStreams.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <optional>
#include <set>

namespace test
{

namespace
{

// Sets an environment variable for a scope; null removes it.
class CVariable
{
public:
  CVariable(const char* szName, const char* szValue) : m_szName(szName)
  {
    if (const char* szOld = std::getenv(szName))
      m_old = szOld;
    Set(szValue);
  }
  ~CVariable() { Set(m_old ? m_old->c_str() : nullptr); }

private:
  void Set(const char* szValue) const
  {
    if (szValue)
      setenv(m_szName, szValue, 1);
    else
      unsetenv(m_szName);
  }

  const char* m_szName;
  std::optional<std::string> m_old;
};

TEST(File, PathsComeApart)
{
  struct TCase
  {
    const char* m_szPath;
    const char* m_szFolder;
    const char* m_szName;
    const char* m_szExtension;
    const char* m_szRenamed;
  };
  for (const TCase& c :
       {TCase{"a/b.c/d.e.pdf", "a/b.c", "d.e.pdf", "pdf", "a/b.c/d.e.x"},
        TCase{"a.b/c", "a.b", "c", "", "a.b/c.x"}, TCase{"/c.", "/", "c.", "", "/c.x"},
        TCase{"c", "", "c", "", "c.x"}, TCase{"a/", "a", "", "", "a/.x"}, TCase{"", "", "", "", ".x"}})
  {
    BSE::CFile file(c.m_szPath);
    EXPECT_STREQ(file.GetFolder().GetText(), c.m_szFolder) << c.m_szPath;
    EXPECT_STREQ(file.GetName(), c.m_szName) << c.m_szPath;
    EXPECT_STREQ(file.GetExtension(), c.m_szExtension) << c.m_szPath;
    file.SetExtension("x");
    EXPECT_STREQ(file.GetPath(), c.m_szRenamed);
    file.SetExtension("");
    EXPECT_EQ(std::string(file.GetPath()) + ".x", c.m_szRenamed);
  }
  EXPECT_STREQ(BSE::CFile("a", "b").GetPath(), "a/b");
  EXPECT_STREQ(BSE::CFile("a/", "b").GetPath(), "a/b");
  EXPECT_STREQ(BSE::CFile(nullptr, "b").GetPath(), "b");
}

TEST(File, WorksOnTheFileSystem)
{
  const CTestFolder folder;
  const BSE::CFile deep((folder / "x//y/z/").c_str());
  EXPECT_FALSE(deep.Exists());
  EXPECT_TRUE(deep.MakeFolder());
  EXPECT_TRUE(deep.MakeFolder()) << "it exists already";
  EXPECT_TRUE(deep.IsFolder());
  EXPECT_FALSE(BSE::CFile((folder / "x").c_str()).Remove()) << "it is not empty";
  EXPECT_TRUE(deep.Remove());

  folder.MakeFile("a", {1});
  folder.MakeFile("b", {2});
  EXPECT_FALSE(BSE::CFile((folder / "a/c").c_str()).MakeFolder()) << "below a file";
  BSE::CFile file((folder / "a").c_str());
  EXPECT_FALSE(file.IsFolder());
  EXPECT_TRUE(file.Rename((folder / "b").c_str()));
  EXPECT_STREQ(file.GetName(), "b");
  EXPECT_EQ(ReadFile(folder / "b"), TBytes{1});
  EXPECT_FALSE(file.Rename((folder / "none/b").c_str()));
  EXPECT_STREQ(file.GetName(), "b") << "the path follows only what happened";

  // A link is removed itself, not what it leads to.
  ASSERT_EQ(symlink((folder / "x").c_str(), (folder / "link").c_str()), 0);
  EXPECT_TRUE(BSE::CFile((folder / "link").c_str()).Remove());
  std::set<std::string> names;
  BSE::CFileFinder finder((folder / "").c_str());
  while (finder.FindNext(file))
  {
    EXPECT_TRUE(file.Exists());
    names.insert(file.GetName());
  }
  EXPECT_EQ(names, (std::set<std::string>{"b", "x"}));
  EXPECT_FALSE(BSE::CFileFinder((folder / "none").c_str()).FindNext(file));
}

TEST(TempFileStream, LivesAndGoes)
{
  const CTestFolder folder;
  const CVariable place("PDFTMPDIR", (folder / "").c_str());
  BSE::CObjectPtr<BSE::CTempFileStream> pFirst(new BSE::CTempFileStream);
  BSE::CObjectPtr<BSE::CTempFileStream> pSecond(new BSE::CTempFileStream);
  ASSERT_TRUE(pFirst->IsValid() && pSecond->IsValid());
  EXPECT_TRUE(pFirst->IsFile());
  BSE::CFile file;
  EXPECT_FALSE(BSE::CFileFinder((folder / "").c_str()).FindNext(file)) << "its name is gone at once";
  CheckRandomWriting(*pFirst, 200);
  EXPECT_EQ(pSecond->GetLength(), 0);

  ASSERT_TRUE(pFirst->Seek(3));
  BSE::CObjectPtr<BSE::CDelegateFilter> pDup(dynamic_cast<BSE::CDelegateFilter*>(pFirst->Dup()));
  const TBytes expected = ReadRest(*pFirst);
  pFirst.Reset();
  EXPECT_EQ(ReadRest(*pDup), expected) << "a duplicate stays usable, at its own position";
}

TEST(TempFileStream, FailsWhereThereIsNoPlace)
{
  const CTestFolder folder;
  const CVariable fallback("TMP", (folder / "").c_str());
  {
    const CVariable place("PDFTMPDIR", nullptr);
    EXPECT_TRUE(BSE::CTempFileStream().IsValid());
  }
  for (const std::string& path : {folder / "none", std::string(400, 'x')})
  {
    const CVariable place("PDFTMPDIR", path.c_str());
    CRecordingContext context;
    BSE::CTempFileStream stream(&context);
    EXPECT_FALSE(stream.IsValid());
    EXPECT_EQ(context.m_codes.size(), 1U);
    EXPECT_FALSE(WriteBytes(stream, {1}));
    EXPECT_FALSE(stream.Seek(0));
  }
}

TEST(DelegateFilter, KeepsItsPositionAcrossSources)
{
  CFaultyPtr pFirst(new CFaultyStream(MakeBytes(100, 1)));
  CFaultyPtr pSecond(new CFaultyStream(MakeBytes(100, 2)));
  BSE::CDelegateFilter stream(pFirst.Get());
  BSE::CDelegateFilter other(pFirst.Get());
  unsigned char nByte = 0;
  ASSERT_TRUE(stream.Seek(10));
  EXPECT_EQ(other.Read(&nByte, 1), 1);
  EXPECT_EQ(nByte, pFirst->m_bytes[0]);
  EXPECT_FALSE(stream.Seek(-5)) << "refused by the source";
  EXPECT_EQ(stream.Tell(), 10);
  stream.SetSource(pSecond.Get());
  EXPECT_EQ(stream.Read(&nByte, 1), 1);
  EXPECT_EQ(nByte, pSecond->m_bytes[10]);
  pSecond->m_bFailSeek = true;
  EXPECT_EQ(stream.ReadEx(&nByte, 1), -1);
  stream.SetSource(nullptr);
  EXPECT_FALSE(stream.IsValid());
  EXPECT_EQ(stream.Read(&nByte, 1), 0);
}

TEST(FileCache, KeepsEntriesUntilTheyEnd)
{
  const CTestFolder folder;
  const CVariable home("HOME", (folder / "").c_str());
  const TBytes key = {'k', '\n', 0};
  const TBytes other = {'k'};
  const TBytes data = MakeBytes(100000);
  BSE::CBasicArray<unsigned char> found;
  {
    BSE::CFileCache<true> cache("answers");
    ASSERT_TRUE(cache.IsValid());
    EXPECT_FALSE(cache.Find(key, found));
    EXPECT_TRUE(cache.Add(key, data, 2000));
    EXPECT_TRUE(cache.Add(other, {}, 2000));
    EXPECT_TRUE(cache.Add(key, data, 3000));
    EXPECT_FALSE(cache.Add(key, data, std::time_t{1} << 60)) << "a time that has no stamp";
  }
  BSE::CFileCache<false> cache("answers");
  EXPECT_TRUE(cache.Find(key, found, 3000));
  EXPECT_TRUE(std::equal(data.begin(), data.end(), found.GetData(), found.GetData() + found.GetSize()));
  EXPECT_TRUE(cache.Find(other, found, 2000));
  EXPECT_TRUE(found.IsEmpty());
  EXPECT_FALSE(BSE::CFileCache<false>("questions").Find(key, found, 0));

  EXPECT_FALSE(cache.Find(key, found, 3001));
  EXPECT_FALSE(cache.Find(key, found, 0)) << "an outdated entry is removed";
  EXPECT_TRUE(cache.Remove(other));
  EXPECT_FALSE(cache.Remove(other));
  EXPECT_TRUE(std::filesystem::is_empty(folder / ".norvane/Caches/answers"));
}

TEST(FileCache, RefusesDamagedEntries)
{
  const CTestFolder folder;
  const CVariable home("HOME", (folder / "").c_str());
  BSE::CFileCache<true> cache("c");
  const TBytes key = {'k', 'e', 'y'};
  ASSERT_TRUE(cache.Add(key, TBytes{'d'}, 2000));
  const std::string path = std::filesystem::directory_iterator(folder / ".norvane/Caches/c")->path().string();
  const TBytes sound = ReadFile(path);
  ASSERT_EQ(std::string(sound.begin(), sound.end()), "19700101003320Z\n3\nkeyd");
  for (const std::string& damaged :
       {std::string(), std::string("19700101003320Z"), std::string("19700101003320Z\n3\nke"),
        std::string("19700101003320Z\n-3\nkeyd"), std::string("19700101003320Z\n99999999999999999999\nkeyd"),
        std::string("1970\n3\nkeyd"), std::string("19700101003320Z\n3\nkexd")})
  {
    std::ofstream(path) << damaged;
    BSE::CBasicArray<unsigned char> found;
    EXPECT_FALSE(cache.Find(key, found, 0)) << damaged;
  }

  const CVariable nowhere("HOME", nullptr);
  BSE::CFileCache<true> homeless("c");
  EXPECT_FALSE(homeless.IsValid());
  EXPECT_FALSE(homeless.Add(key, key, 2000));
}

TEST(File, FailuresAreTraced)
{
  const CTestFolder folder;
  const std::string none = folder / "none/x";
  ASSERT_TRUE(BSE::CTracer::SetOutput((folder / "trace").c_str()));
  BSE::CFileStream(none.c_str(), BSE::eFileRead);
  BSE::CFile file(none.c_str());
  file.Remove();
  file.Rename(none.c_str());
  BSE::CFile("/dev/null/x").MakeFolder();
  BSE::CFile((folder / "").c_str()).Remove();
  BSE::CFileFinder finder(none.c_str());
  EXPECT_FALSE(BSE::CFile(none.c_str()).Exists());
  {
    const CVariable place("PDFTMPDIR", none.c_str());
    BSE::CTempFileStream();
  }
  BSE::CTracer::Close();

  const TBytes bytes = ReadFile(folder / "trace");
  const std::string text(bytes.begin(), bytes.end());
  const std::string lines[] = {
      "File Stream,\"Error 2 while opening file '" + none + "': No such file or directory",
      "File,\"remove failed with error 2 (" + none + ")",
      "File,\"rename failed with error 2 (" + none + " --> " + none + ")",
      "File,\"mkdir failed with error 17 (/dev/null)\"",
      "File,\"rmdir failed with error 39 (" + (folder / "") + ")",
      "File,\"opendir failed with error 2 (" + none + ")",
      "File Stream,\"Failed to create temporary file."};
  for (const std::string& line : lines)
    EXPECT_NE(text.find(line), std::string::npos) << line;
  EXPECT_EQ(text.find("stat failed"), std::string::npos) << "absence is no failure";
}

}  // namespace

}  // namespace test
