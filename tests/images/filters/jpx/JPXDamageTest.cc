#include "images/filters/jpx/JPXError.h"

#include <gtest/gtest.h>

#include "tests/images/filters/jpx/JPXFixture.h"

namespace BSE
{
namespace
{

using namespace std::string_literals;

CCodes Codes(TJPXStatus status)
{
  return {CJPXError::GetCodeOf(status)};
}

// With other bytes behind the marker that comes first.
std::string Change(std::string data, const std::string& marker, std::size_t nOffset, const std::string& bytes)
{
  return data.replace(data.find(marker) + nOffset, bytes.size(), bytes);
}

TEST(JPXDamage, SavesWhatItCan)
{
  const std::string whole = ReadCodestream("90x60-3-tiles");
  const TPicture sound = DecodePicture(whole);
  EXPECT_EQ(sound.m_codes, CCodes{});
  const TPicture cut = DecodePicture(whole.substr(0, whole.size() * 2 / 3));
  EXPECT_EQ(cut.m_codes, Codes(eJPXTruncated));
  EXPECT_TRUE(cut.m_bGap);
  EXPECT_EQ(cut.m_rows.size(), sound.m_rows.size());
  EXPECT_EQ(cut.m_rows.substr(0, sound.m_rows.size() / 2), sound.m_rows.substr(0, sound.m_rows.size() / 2));
  // Every cut ends with a picture or without one, and never in silence.
  const std::string small = MakeFile(MakeColor(16), ReadCodestream("16x16-3"));
  const TPicture all = DecodePicture(small);
  for (std::size_t n = 0; n + 3 < small.size(); ++n)
  {
    const TPicture part = DecodePicture(small.substr(0, n));
    EXPECT_FALSE(part.m_codes.empty()) << n;
    EXPECT_TRUE(part.m_rows.empty() || part.m_rows.size() == all.m_rows.size()) << n;
  }
}

TEST(JPXDamage, TellsWhatIsWrong)
{
  const std::string gray = ReadCodestream("4x3-1");
  EXPECT_EQ(DecodePicture("").m_codes, Codes(eJPXNoImage));
  EXPECT_EQ(DecodePicture("no picture at all").m_codes, Codes(eJPXNoImage));
  EXPECT_EQ(DecodePicture(gray.substr(0, 30)).m_codes, Codes(eJPXInvalidHeader));
  EXPECT_EQ(DecodePicture(Change(gray, "\xFF\x51", 8, "\0\0\0\0"s)).m_codes, Codes(eJPXInvalidHeader));
  // Damaged boxes do not count, and the image is there all the same.
  const std::string rows = DecodePicture(gray).m_rows;
  const std::string palettes[] = {"", "\0\0\3\7\7\7"s, "\0\4\3\7\7\7"s, "\0\1\1\x7F\0"s};
  for (const std::string& palette : palettes)
  {
    const TPicture result = DecodePicture(MakeFile(MakeBox("pclr", palette), gray));
    EXPECT_EQ(result.m_codes, Codes(eJPXInvalidPalette));
    EXPECT_EQ(result.m_rows, rows);
  }
  for (const std::string& mapping : {"\0\1\0\0"s, "\0\0\1\0"s})
    EXPECT_EQ(DecodePicture(MakeFile(MakeBox("cmap", mapping), gray)).m_codes, Codes(eJPXInvalidMapping));
  EXPECT_EQ(DecodePicture(MakeFile(MakeBox("cdef", "\0\1\0\0\0\1\0\0"s), gray)).m_codes,
            Codes(eJPXInvalidChannels));
}

TEST(JPXDamage, BoundsWorkAndMemory)
{
  const std::string gray = ReadCodestream("40x30-1");
  // Sizes, tiles, components, layers and precincts out of proportion.
  const std::string large = "\0\0\x70\0\0\0\x70\0"s;
  const std::string cases[] = {Change(gray, "\xFF\x51", 6, large + "\0\0\0\0\0\0\0\0"s + large),
                               Change(gray, "\xFF\x52", 6, "\xFF\xFF"s)
                                   .replace(gray.find("\xFF\x51") + 6, 8, "\0\0\x07\xD0\0\0\x07\xD0"s)};
  for (const std::string& file : cases)
    EXPECT_EQ(DecodePicture(file).m_codes, Codes(eJPXInvalidSize)) << &file - cases;
  EXPECT_EQ(DecodePicture(Change(gray, "\xFF\x51", 6, "\x7F\0\0\0\x7F\0\0\0"s)).m_codes,
            Codes(eJPXInvalidHeader));
  EXPECT_EQ(
      DecodePicture(Change(gray, "\xFF\x51", 22, "\0\0\0\1\0\0\0\1"s + "\0\0\0\0\0\0\0\0\x40\0"s)).m_codes,
      Codes(eJPXInvalidHeader));
  // One row and one column of precincts for each sample, in a large tile.
  std::string precincts = Change(gray, "\xFF\x51", 6, "\0\0\x0F\0\0\0\x0F\0"s);
  precincts = Change(precincts, "\xFF\x51", 22, "\0\0\x0F\0\0\0\x0F\0"s);
  precincts = Change(precincts, "\xFF\x52", 2, "\0\x0F\1"s);
  precincts.insert(precincts.find("\xFF\x52") + 14, "\0\0\0"s);
  EXPECT_EQ(DecodePicture(precincts).m_codes, Codes(eJPXInvalidSize));
}

}  // namespace
}  // namespace BSE
