#include "base/ErrorHandler.h"
#include "base/FileStream.h"
#include "tests/pdf/WriterSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <string>

namespace PDF
{
namespace
{

// Delivers a mark instead of a linearized file.
class CFakeLinearizer : public ILinearizer
{
public:
  bool KeepsObjectStreams(const CFile&) const override { return m_bPacks; }

  TLinearized LinearizeStream(BSE::IByteStream* pInput, BSE::IByteStream* pOutput, CFile&,
                              std::int64_t nMaxLength, std::int64_t& nWritten) override
  {
    m_input = GetBytes(*pInput);
    m_nMaxLength = nMaxLength;
    nWritten = 0;
    if (nMaxLength >= 0 && std::ssize(m_text) > nMaxLength)
      return TLinearized::TooLong;
    nWritten = m_bResult ? std::ssize(m_text) : m_nPart;
    const bool bWritten =
        pOutput->WriteAll(reinterpret_cast<const unsigned char*>(m_text.data()), nWritten) && m_bResult;
    return bWritten ? TLinearized::Done : TLinearized::Failed;
  }

  std::string m_input;
  std::string m_text = "linearized";
  std::int64_t m_nPart = 0;  // written before a failure
  std::int64_t m_nMaxLength = 0;
  bool m_bResult = true;
  bool m_bPacks = false;
};

// A target that only takes bytes in order.
class CPipe : public BSE::CMemoryStream
{
public:
  bool IsSeekable() const override { return false; }
  bool Rewind() override { return false; }
};

std::string GetContents(BSE::CMemoryStream& stream)
{
  stream.Seek(0);
  std::string bytes(static_cast<std::size_t>(stream.GetLength()), '\0');
  stream.Read(reinterpret_cast<unsigned char*>(bytes.data()), stream.GetLength());
  return bytes;
}

bool EndsInMarker(const std::string& bytes)
{
  return bytes.size() > 6 && bytes.substr(bytes.size() - 6) == "%%EOF\n";
}

TEST(FileFinisher, WritesNothingForACleanFile)
{
  BSE::CObjectPtr<BSE::CMemoryStream> pOutput(new BSE::CMemoryStream);
  CFile file(nullptr);
  EXPECT_FALSE(file.Create(nullptr, CString(), true, true));
  ASSERT_TRUE(file.Create(pOutput.Get(), CString(), true, true));
  EXPECT_TRUE(file.Close());
  EXPECT_EQ(pOutput->GetLength(), 0);
}

TEST(FileFinisher, AppendsARevisionOfWhatChanged)
{
  for (const int nMinor : {4, 5})
  {
    BSE::CObjectPtr<BSE::CMemoryStream> pOutput(new BSE::CMemoryStream);
    CFile file(nullptr);
    file.InitVersion(1, nMinor);
    ASSERT_TRUE(file.Create(pOutput.Get(), CString(), true, true));
    AddPages(file, 3, 0);
    const CObjectPtr removed = AddObject(file, 3, MakeInteger(1));
    ASSERT_TRUE(file.FinishRevision());
    const std::string first = GetBytes(*pOutput);
    ASSERT_TRUE(file.FinishRevision());
    EXPECT_EQ(GetBytes(*pOutput), first);

    const CObjectPtr info = AddObject(file, 0, MakeDictionary({{"Title", MakeString("second")}}));
    file.SetInfo(info.Get());
    file.GetRoot()->AddEntry("Lang", MakeString("en").Get());
    file.GetRoot()->SetDirty(true);
    file.GetXRef().Remove(removed.GetObjNumber());
    EXPECT_TRUE(file.Close());
    const std::string bytes = GetBytes(*pOutput);
    EXPECT_EQ(bytes.substr(0, first.size()), first);
    EXPECT_NE(bytes.find("/Prev ", first.size()), std::string::npos);
    EXPECT_EQ(bytes.find("/MediaBox", first.size()), std::string::npos);
    ExpectSound(first);
    ExpectSound(bytes);

    CFile reader(nullptr);
    ASSERT_TRUE(reader.Open(pOutput.Get()));
    EXPECT_EQ(reader.GetInfo()["Title"].GetStringValue(), CString("second"));
    EXPECT_EQ(reader.GetRoot()["Pages"]["Count"].GetIntegerValue(), 3);
    EXPECT_TRUE(reader.GetObject(removed.GetObjNumber(), -1).GetValueObject().IsNull());
    EXPECT_FALSE(reader.WasRecovered());
  }
}

TEST(FileFinisher, UpdatesAnOpenedFile)
{
  BSE::CObjectPtr<BSE::CMemoryStream> pStream(new BSE::CMemoryStream);
  // Positions count from the header, not from the stream's start.
  pStream->WriteAll(reinterpret_cast<const unsigned char*>("junk\n"), 5);
  {
    CFile file(nullptr);
    ASSERT_TRUE(file.Create(pStream.Get(), CString(), true, false));
    AddPages(file, 2, 0);
    ASSERT_TRUE(file.Close());
  }
  {
    CFile file(nullptr);
    ASSERT_TRUE(file.Open(pStream.Get(), true));
    EXPECT_FALSE(file.WasRecovered());
    file.SetInfo(AddObject(file, 0, MakeDictionary({{"Title", MakeString("updated")}})).Get());
    ASSERT_TRUE(file.Close());
  }
  CFile file(nullptr);
  ASSERT_TRUE(file.Open(pStream.Get()));
  EXPECT_FALSE(file.WasRecovered());
  EXPECT_EQ(file.GetHeaderOffset(), 5);
  EXPECT_EQ(file.GetInfo()["Title"].GetStringValue(), CString("updated"));
  EXPECT_EQ(file.GetRoot()["Pages"]["Kids"][1]["MediaBox"][2].GetIntegerValue(), 101);
}

TEST(FileFinisher, ReportsAFailingOutput)
{
  for (const std::int64_t nLimit : {0, 100, 400, 70000})
  {
    for (const bool bDirect : {true, false})
    {
      BSE::CErrorHandler errors;
      CFile file(&errors);
      BSE::CObjectPtr<CLimitedStream> pOutput(new CLimitedStream(nLimit));
      ASSERT_TRUE(file.Create(pOutput.Get(), CString(), bDirect, nLimit > 100));
      AddPages(file, nLimit > 1000 ? 1000 : 1, 0);
      file.SetLinearize(!bDirect, false, nullptr);
      EXPECT_FALSE(file.Close()) << nLimit;
      EXPECT_EQ(errors.GetEndCode(), BSE::g_nOutOfMemory) << "memory that takes no more";
    }
  }
  for (const bool bDirect : {true, false})
  {
    BSE::CErrorHandler errors;
    CFile file(&errors);
    const BSE::CObjectPtr<BSE::CFileStream> pFull(
        new BSE::CFileStream("/dev/full", BSE::eFileWrite, &errors));
    ASSERT_TRUE(file.Create(pFull.Get(), CString(), bDirect, true));
    AddPages(file, 1, 0);
    EXPECT_FALSE(file.Close());
    BSE::ReportError(&file, 0x80410112U);
    EXPECT_EQ(errors.GetEndCode(), static_cast<unsigned>(ENOSPC)) << "whatever is reported after it";
  }
  // Without a catalogue there is no file.
  CFile file(nullptr);
  ASSERT_TRUE(file.Create(MakeStream("").Get(), CString(), true, false));
  AddObject(file, 0, MakeInteger(1));
  EXPECT_FALSE(file.Close());
}

TEST(FileFinisher, DeliversThePlainFileWhereLinearizingFails)
{
  for (const bool bResult : {true, false})
  {
    BSE::CObjectPtr<BSE::CMemoryStream> pTarget(new BSE::CMemoryStream);
    CFakeLinearizer linearizer;
    linearizer.m_bResult = bResult;
    CFile file(nullptr);
    ASSERT_TRUE(file.Create(pTarget.Get(), CString(), false, false));
    AddPages(file, 1, 0);
    file.SetLinearize(true, false, &linearizer);
    EXPECT_EQ(pTarget->GetLength(), 0);
    EXPECT_EQ(file.Close(), bResult);
    EXPECT_TRUE(EndsInMarker(linearizer.m_input));
    EXPECT_EQ(GetBytes(*pTarget), bResult ? "linearized" : linearizer.m_input);
  }
}

// In automatic mode the form with object streams is written only if it is hardly longer.
TEST(FileFinisher, LeavesTheOrderWhereItCostsTooMuch)
{
  for (const bool bPacks : {false, true})
  {
    for (const bool bAuto : {false, true})
    {
      BSE::CObjectPtr<BSE::CMemoryStream> pTarget(new BSE::CMemoryStream);
      BSE::CErrorHandler errors;
      CFakeLinearizer linearizer;
      linearizer.m_bPacks = bPacks;
      linearizer.m_text.assign(20000, 'l');
      CFile file(&errors);
      ASSERT_TRUE(file.Create(pTarget.Get(), CString(), false, false));
      AddPages(file, 1, 0);
      file.SetLinearize(true, bAuto, &linearizer);
      EXPECT_TRUE(file.Close());
      const bool bLeft = bPacks && bAuto;
      EXPECT_EQ(GetBytes(*pTarget), bLeft ? linearizer.m_input : linearizer.m_text);
      EXPECT_EQ(linearizer.m_nMaxLength < 0, !bLeft);
      EXPECT_EQ(errors.GetLastCode(), 0U);
    }
  }
}

TEST(FileFinisher, BeginsTheTargetAnew)
{
  BSE::CObjectPtr<BSE::CMemoryStream> pTarget(new BSE::CMemoryStream);
  CFakeLinearizer linearizer;
  CFile file(nullptr);
  ASSERT_TRUE(file.Create(pTarget.Get(), CString(), false, false));
  AddPages(file, 1, 0);
  file.SetLinearize(true, false, &linearizer);
  pTarget->WriteAll(reinterpret_cast<const unsigned char*>("head"), 4);
  EXPECT_TRUE(file.Close());
  EXPECT_EQ(GetBytes(*pTarget), "linearized");
}

// What a failed linearizer has left in the target is gone, however long it is; where that cannot be, nothing
// follows it.
TEST(FileFinisher, NeverDeliversBehindABrokenPart)
{
  for (const std::int64_t nPart : {0, 10, 5000, 50000})
  {
    for (const bool bPipe : {false, true})
    {
      SCOPED_TRACE(std::to_string(nPart) + (bPipe ? ", pipe" : ""));
      BSE::CObjectPtr<BSE::CMemoryStream> pTarget(bPipe ? new CPipe : new BSE::CMemoryStream);
      BSE::CErrorHandler errors;
      CFakeLinearizer linearizer;
      linearizer.m_bResult = false;
      linearizer.m_nPart = nPart;
      linearizer.m_text.assign(static_cast<std::size_t>(nPart), '(');
      CFile file(&errors);
      ASSERT_TRUE(file.Create(pTarget.Get(), CString(), false, false));
      AddPages(file, 9, 0);
      file.SetLinearize(true, false, &linearizer);
      EXPECT_FALSE(file.Close());
      EXPECT_EQ(errors.GetEndCode(), bPipe && nPart > 0 ? 0x80410102U : 0x83410544U);
      const std::string bytes = GetContents(*pTarget);
      if (bPipe && nPart > 0)
      {
        EXPECT_EQ(bytes, linearizer.m_text);
        continue;
      }
      EXPECT_EQ(bytes.substr(0, linearizer.m_input.size()), linearizer.m_input);
      EXPECT_EQ(std::ssize(bytes), std::max<std::int64_t>(nPart, std::ssize(linearizer.m_input)));
      ExpectSound(bytes);
    }
  }
}

TEST(FileFinisher, ReplacesAFileOnlyByACompleteOne)
{
  const std::string path = testing::TempDir() + "brevex_finisher" + std::to_string(getpid()) + ".pdf";
  for (const bool bResult : {true, false})
  {
    CFakeLinearizer linearizer;
    linearizer.m_bResult = bResult;
    CFile file(nullptr);
    ASSERT_TRUE(file.Create(new BSE::CFileStream(path.c_str(), BSE::eFileWrite), CString(), false, false));
    AddPages(file, 1, 0);
    file.SetLinearize(true, false, &linearizer);
    EXPECT_TRUE(file.Close());
    std::ifstream input(path, std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(input)), std::istreambuf_iterator<char>());
    EXPECT_EQ(bytes, bResult ? "linearized" : linearizer.m_input);
    EXPECT_FALSE(std::ifstream(path + ".tmp").good());
  }
  std::remove(path.c_str());
}

// What replaces a file is as private as the file was from its first byte on, and a link keeps pointing to it.
TEST(FileFinisher, KeepsTheModeOfAFileAndItsLinks)
{
  const std::string path = testing::TempDir() + "brevex_finisher_mode" + std::to_string(getpid()) + ".pdf";
  const std::string link = path + ".link";
  std::filesystem::create_symlink(path, link);
  struct CWatchingLinearizer : CFakeLinearizer
  {
    TLinearized LinearizeStream(BSE::IByteStream* pInput, BSE::IByteStream* pOutput, CFile& file,
                                std::int64_t nMaxLength, std::int64_t& nWritten) override
    {
      m_mode = std::filesystem::status(pOutput->GetFileName()).permissions();
      return CFakeLinearizer::LinearizeStream(pInput, pOutput, file, nMaxLength, nWritten);
    }
    std::filesystem::perms m_mode = std::filesystem::perms::unknown;
  };
  for (const auto mode : {std::filesystem::perms(0600), std::filesystem::perms(0644)})
  {
    std::filesystem::remove(path);
    CWatchingLinearizer linearizer;
    CFile file(nullptr);
    ASSERT_TRUE(file.Create(new BSE::CFileStream(link.c_str(), BSE::eFileWrite), CString(), false, false));
    std::filesystem::permissions(path, mode);
    AddPages(file, 1, 0);
    file.SetLinearize(true, false, &linearizer);
    EXPECT_TRUE(file.Close());
    EXPECT_EQ(linearizer.m_mode, std::filesystem::perms(0600));
    EXPECT_EQ(std::filesystem::status(path).permissions(), mode);
    EXPECT_TRUE(std::filesystem::is_symlink(link));
    EXPECT_EQ(std::filesystem::file_size(path), linearizer.m_text.size());
    EXPECT_FALSE(std::filesystem::exists(path + ".tmp"));
  }
  std::filesystem::remove(link);
  std::filesystem::remove(path);
}

// Whatever has the temporary name already is left alone, and so is a file that took the output's name.
TEST(FileFinisher, WritesThroughNoPlantedName)
{
  const std::string path = testing::TempDir() + "brevex_finisher_plant" + std::to_string(getpid()) + ".pdf";
  const std::string other = path + ".other";
  for (const bool bLink : {true, false})
  {
    std::ofstream(other) << "other";
    CFakeLinearizer linearizer;
    BSE::CErrorHandler errors;
    CFile file(&errors);
    ASSERT_TRUE(file.Create(new BSE::CFileStream(path.c_str(), BSE::eFileWrite), CString(), false, false));
    AddPages(file, 1, 0);
    file.SetLinearize(true, false, &linearizer);
    if (bLink)
      std::filesystem::create_symlink(other, path + ".tmp");
    else
      std::filesystem::rename(other, path);
    EXPECT_TRUE(file.Close());
    EXPECT_EQ(errors.GetLastCode(), 0x83410544U);
    EXPECT_EQ(std::filesystem::file_size(bLink ? other : path), 5U);
    EXPECT_EQ(std::filesystem::exists(std::filesystem::symlink_status(path + ".tmp")), bLink);
    std::filesystem::remove(path + ".tmp");
    std::filesystem::remove(path);
  }
  std::filesystem::remove(other);
}

// The automatic decision weighs what object streams saved, and the version.
TEST(FileFinisher, DecidesAutomatically)
{
  const struct
  {
    int m_nMajor;
    int m_nPages;
    std::size_t m_nContent;
    bool m_bAuto;
    bool m_bLinearized;
  } cases[] = {
      {1, 2, 100000, true, true},  {1, 500, 0, true, false},    {1, 500, 0, false, true},
      {2, 2, 100000, true, false}, {2, 2, 100000, false, true},
  };
  for (const auto& c : cases)
  {
    BSE::CObjectPtr<BSE::CMemoryStream> pTarget(new BSE::CMemoryStream);
    CFakeLinearizer linearizer;
    CFile file(nullptr);
    file.InitVersion(c.m_nMajor, c.m_nMajor == 1 ? 7 : 0);
    ASSERT_TRUE(file.Create(pTarget.Get(), CString(), false, true));
    AddPages(file, c.m_nPages, 0);
    AddObject(file, 3, MakeString(std::string(c.m_nContent, 'x').c_str()));
    file.SetLinearize(true, c.m_bAuto, &linearizer);
    EXPECT_TRUE(file.Close());
    EXPECT_EQ(GetBytes(*pTarget) == "linearized", c.m_bLinearized) << c.m_nMajor << " " << c.m_nPages;
  }
}

}  // namespace
}  // namespace PDF
