// The pictures of documents from the field, decoded here and by programs that others wrote: mutool, and
// opj_decompress for JPEG 2000, of which mutool shows the encoded bytes.

#include "base/ErrorHandler.h"
#include "images/ImageFilters.h"
#include "pdf/File.h"
#include "pdf/FilterFactory.h"
#include "tests/pdf/WriterSupport.h"
#include "tests/support/Corpus.h"
#include "tests/support/Process.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <set>

namespace PDF
{
namespace
{

constexpr int g_nMaxPictures = 12;  // of each filter in one file

struct TPicture
{
  int m_nNumber = 0;
  CObjectPtr m_object;
  std::string m_sFilter;  // the last
};

std::vector<TPicture> FindPictures(CFile& file)
{
  std::vector<TPicture> pictures;
  std::map<std::string, int> counts;
  CXRefTable& table = file.GetXRef();
  for (int i = table.GetNextNumber(0); i < table.GetSize(); i = table.GetNextNumber(i))
  {
    if (table.GetEntry(i).m_nType == eXRefFree)
      continue;
    const CObjectPtr object = file.GetObject(i, 0);
    const int nFilters = object && object.IsStream() ? GetFilterCount(object.Get()) : 0;
    const CObjectPtr name = nFilters > 0 ? GetFilterName(object.Get(), nFilters - 1) : CObjectPtr();
    if (name && FindFilter(GetImageFilters(), name.GetNameValue()) &&
        counts[name.GetNameValue()]++ < g_nMaxPictures)
      pictures.push_back({i, object, name.GetNameValue()});
  }
  return pictures;
}

std::string GetDecoded(const TPicture& picture)
{
  const BSE::CObjectPtr<BSE::IByteStream> pData = picture.m_object.GetDecodedStream();
  // Decoders of pictures give whole rows only.
  std::string bytes;
  std::string block(pData ? static_cast<std::size_t>(pData->GetBlockSize()) : 0, '\0');
  for (std::int64_t n = 1; pData && n > 0; bytes.append(block, 0, static_cast<std::size_t>(n)))
    n = pData->Read(reinterpret_cast<unsigned char*>(block.data()), static_cast<std::int64_t>(block.size()));
  return bytes;
}

// The samples of a file of one channel, the upper bytes of those of 16 bits.
std::string ReadChannel(const std::string& sFile)
{
  const std::string file = Support::ReadFile(sFile);
  std::string samples = file.substr(file.find('\n') + 1);
  if (!file.starts_with("PG ML + 16 "))
    return samples;
  for (std::size_t i = 0; i < samples.size(); i += 2)
    samples[i / 2] = samples[i];
  return samples.substr(0, samples.size() / 2);
}

// The samples that opj_decompress writes, one file for each channel, of as many channels.
std::string DecodeJpx(const std::string& data, std::size_t nChannels, const Support::CTempFolder& folder)
{
  const bool bBoxes = !data.starts_with("\xFF\x4F");
  Support::WriteFile(folder / (bBoxes ? "in.jp2" : "in.j2k"), data);
  Support::RunProgram(
      {"opj_decompress", "-i", folder / (bBoxes ? "in.jp2" : "in.j2k"), "-o", folder / "out.pgx"});
  std::vector<std::string> channels;
  for (int i = 0; std::filesystem::exists(folder / ("out_" + std::to_string(i) + ".pgx")); ++i)
  {
    channels.push_back(ReadChannel(folder / ("out_" + std::to_string(i) + ".pgx")));
    std::filesystem::remove(folder / ("out_" + std::to_string(i) + ".pgx"));
  }
  channels.resize(std::min(channels.size(), nChannels));
  std::string samples;
  for (std::size_t i = 0; !channels.empty() && i < channels[0].size(); ++i)
    for (const std::string& channel : channels)
      samples.push_back(channel[i]);
  return samples;
}

// What another program makes of a picture; empty where it gives up.
std::string DecodeElsewhere(const TPicture& picture, const std::filesystem::path& path, std::size_t nSize,
                            const Support::CTempFolder& folder)
{
  const Support::TProcessResult shown =
      Support::RunProgram({"mutool", "show", "-b", path, std::to_string(picture.m_nNumber)});
  if (shown.sErr.find("error") != std::string::npos)
    return {};
  if (picture.m_sFilter != "JPXDecode")
    return shown.sOut;
  const auto nPixels = static_cast<std::size_t>(picture.m_object["Width"].GetIntegerValue() *
                                                picture.m_object["Height"].GetIntegerValue());
  // Palettes are resolved there, and left to the colour space here.
  const bool bIndices = picture.m_object["ColorSpace"][0].IsName("Indexed");
  return bIndices ? std::string() : DecodeJpx(shown.sOut, nSize / nPixels, folder);
}

bool OpenFile(CFile& file, const std::string& bytes)
{
  file.SetImageFilters(GetImageFilters());
  return file.Open(MakeStream(bytes).Get()) && (!file.GetEncrypt() || file.Authenticate(nullptr));
}

// One picture, each time coded with another part of JBIG2, goes into the set.
void CompareFile(const std::filesystem::path& path, std::map<std::string, int>& counts,
                 std::set<std::string>& bitmaps)
{
  BSE::CErrorHandler handler;
  CFile file(&handler);
  const std::string bytes = Support::ReadFile(path);
  if (!OpenFile(file, bytes))
    return;
  const Support::CTempFolder folder;
  for (const TPicture& picture : FindPictures(file))
  {
    const int nErrors = file.GetErrorCount();
    const std::string decoded = GetDecoded(picture);
    EXPECT_FALSE(decoded.empty()) << path << " " << picture.m_nNumber;
    EXPECT_EQ(file.GetErrorCount(), nErrors) << path << " " << picture.m_nNumber;
    if (path.filename().string().find("-bitmap-") != std::string::npos)
      bitmaps.insert(decoded);
    const std::string wanted = DecodeElsewhere(picture, path, decoded.size(), folder);
    EXPECT_TRUE(wanted.empty() || decoded == wanted)
        << path << " " << picture.m_nNumber << " " << picture.m_sFilter;
    counts[picture.m_sFilter] += wanted.empty() ? 0 : 1;
  }
}

TEST(ImageCorpus, DecodesAsOthersDo)
{
  const auto files = Support::ListFiles("real");
  if (files.empty() || !Support::HasProgram("mutool") || !Support::HasProgram("opj_decompress"))
    GTEST_SKIP() << "needs documents in BREVEX_CORPUS, mutool and opj_decompress";
  std::map<std::string, int> counts;
  std::set<std::string> bitmaps;
  for (const auto& path : files)
    CompareFile(path, counts, bitmaps);
  EXPECT_EQ(bitmaps.size(), 1U);
  for (const auto& [sFilter, nCount] : counts)
    RecordProperty(sFilter, nCount);
  EXPECT_EQ(counts.size(), 4U);
}

// Nothing is known of these pictures but that decoding them ends.
TEST(ImageCorpus, EndsOnDamagedPictures)
{
  const auto files = Support::ListFiles("damaged");
  if (files.empty())
    GTEST_SKIP() << "needs documents in BREVEX_CORPUS";
  for (const auto& path : files)
  {
    BSE::CErrorHandler handler;
    CFile file(&handler);
    const std::string bytes = Support::ReadFile(path);
    if (OpenFile(file, bytes))
      for (const TPicture& picture : FindPictures(file))
        GetDecoded(picture);
  }
}

}  // namespace
}  // namespace PDF
