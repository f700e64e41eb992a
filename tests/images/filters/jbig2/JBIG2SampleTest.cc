#include "base/Hash.h"
#include "tests/images/filters/jbig2/JBIG2Fixture.h"

#include <filesystem>

namespace BSE
{
namespace
{

// Takes what a number tells the length of; the same as before for the highest one.
std::string Take(std::string_view& rest, const std::string& before)
{
  std::uint32_t nLength = 0;
  for (const char c : rest.substr(0, 4))
    nLength = nLength << 8 | static_cast<unsigned char>(c);
  rest.remove_prefix(4);
  if (nLength == 0xFFFFFFFF)
    return before;
  const std::string taken(rest.substr(0, nLength));
  rest.remove_prefix(nLength);
  return taken;
}

TEST(JBIG2Samples, ShowTheirPictures)
{
  int nPictures = 0;
  for (const auto& entry : std::filesystem::directory_iterator(BREVEX_SAMPLES))
  {
    if (entry.path().extension() != ".bin")
      continue;
    const std::string sFile = Support::ReadFile(entry.path());
    std::string globals;
    int nRecord = 0;
    for (std::string_view rest = sFile; !rest.empty(); ++nRecord)
    {
      SCOPED_TRACE(entry.path().filename().string() + " " + std::to_string(nRecord));
      globals = Take(rest, globals);
      const std::string data = Take(rest, "");
      CReports reports;
      const std::string rows = DecodeJBIG2(data, reports, globals);
      const auto digest =
          ComputeHash<CHashSHA256>({reinterpret_cast<const unsigned char*>(rows.data()), rows.size()});
      EXPECT_EQ(std::string(digest.begin(), digest.begin() + 8), rest.substr(0, 8));
      EXPECT_EQ(reports.GetTexts(), std::vector<std::u16string>());
      rest.remove_prefix(8);
    }
    nPictures += nRecord;
  }
  EXPECT_EQ(nPictures, 428);
}

}  // namespace
}  // namespace BSE
