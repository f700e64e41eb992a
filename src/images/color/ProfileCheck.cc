// A profile is a list of tags, and a tag may announce tables of any size. What reads it later allocates what
// is announced, so everything that a conversion would use is measured here first, by the layouts of
// ICC.1:2010, clause 10: each table has to lie in its tag with all its entries. A tag that does not, and
// every tag that no conversion uses, gets a name that no reader knows, in a copy whose data and offsets stay
// as they are.

#include "images/color/ProfileCheck.h"

#include "base/ByteCursor.h"
#include "base/ByteOrder.h"
#include "base/Limits.h"

#include <algorithm>

namespace DOC
{

namespace
{

constexpr std::uint32_t MakeSignature(const char (&szText)[5])
{
  std::uint32_t n = 0;
  for (int i = 0; i < 4; ++i)
    n = n << 8 | static_cast<unsigned char>(szText[i]);
  return n;
}

constexpr std::uint32_t g_nUnknownTag = MakeSignature("zz00");
constexpr unsigned g_nMaxTags = 100;
constexpr int g_nHeaderSize = 128;

// Tags with tables of colours, and the others that take part in a conversion.
constexpr std::uint32_t g_tableTags[] = {MakeSignature("A2B0"), MakeSignature("A2B1"), MakeSignature("A2B2"),
                                         MakeSignature("B2A0"), MakeSignature("B2A1"), MakeSignature("B2A2")};
constexpr std::uint32_t g_simpleTags[] = {
    MakeSignature("rXYZ"), MakeSignature("gXYZ"), MakeSignature("bXYZ"), MakeSignature("rTRC"),
    MakeSignature("gTRC"), MakeSignature("bTRC"), MakeSignature("kTRC"), MakeSignature("wtpt"),
    MakeSignature("bkpt"), MakeSignature("chad"), MakeSignature("desc"), MakeSignature("cprt")};

bool FindKind(std::uint32_t nSpace, TProfileKind& kind)
{
  static constexpr struct
  {
    std::uint32_t m_nSpace;
    TProfileKind m_kind;
  } spaces[] = {{MakeSignature("GRAY"), eProfileGray},   {MakeSignature("RGB "), eProfileRGB},
                {MakeSignature("CMYK"), eProfileCMYK},   {MakeSignature("Lab "), eProfileLab},
                {MakeSignature("XYZ "), eProfileOther3}, {MakeSignature("YCbr"), eProfileOther3},
                {MakeSignature("Luv "), eProfileOther3}, {MakeSignature("Yxy "), eProfileOther3},
                {MakeSignature("HSV "), eProfileOther3}, {MakeSignature("HLS "), eProfileOther3},
                {MakeSignature("CMY "), eProfileOther3}, {MakeSignature("3CLR"), eProfileOther3},
                {MakeSignature("4CLR"), eProfileOther4}};
  for (const auto& space : spaces)
    if (space.m_nSpace == nSpace)
    {
      kind = space.m_kind;
      return true;
    }
  return false;
}

// Entries of a grid of colours; -1 where there are too many.
std::int64_t CountGrid(std::span<const unsigned char> points, int nOutputs)
{
  std::int64_t n = nOutputs;
  for (const unsigned char nPoints : points)
    if (nPoints < 2 || !BSE::CheckedMul(n, std::int64_t{nPoints}, n))
      return -1;
  return n;
}

// Types mft1 and mft2 (ICC.1:2010, 10.8 and 10.9): tables one after the other.
bool IsWholeTable(BSE::CByteCursor tag, bool bWords)
{
  tag.Skip(8);
  const unsigned nInputs = tag.Card8();
  const unsigned nOutputs = tag.Card8();
  const auto nPoints = static_cast<unsigned char>(tag.Card8());
  tag.Skip(1 + 9 * 4);
  if (tag.HasFailed() || nInputs < 1 || nInputs > 4 || nOutputs < 1 || nOutputs > 4)
    return false;
  const unsigned nInputEntries = bWords ? tag.Card16() : 256;
  const unsigned nOutputEntries = bWords ? tag.Card16() : 256;
  const unsigned char points[4] = {nPoints, nPoints, nPoints, nPoints};
  const std::int64_t nGrid = CountGrid({points, nInputs}, static_cast<int>(nOutputs));
  const std::int64_t nEntries =
      std::int64_t{nInputEntries} * nInputs + std::int64_t{nOutputEntries} * nOutputs;
  if (nGrid < 0 || nInputEntries < 2 || nOutputEntries < 2)
    return false;
  tag.Take(nGrid, bWords ? 2 : 1);
  tag.Take(nEntries, bWords ? 2 : 1);
  return !tag.HasFailed();
}

// Curves one after the other, each padded to four bytes but for the last.
bool AreWholeCurves(BSE::CByteCursor curves, unsigned nCount)
{
  // Of the function types 0 to 4 of a parametricCurveType.
  constexpr int parameters[] = {1, 3, 4, 5, 7};
  for (; nCount > 0; --nCount)
  {
    const std::uint32_t nType = curves.Card32();
    curves.Skip(4);
    if (nType == MakeSignature("curv"))
    {
      const std::int64_t nEntries = curves.Card32();
      curves.Take(nEntries, 2);
      if (nEntries % 2 == 1 && nCount > 1)
        curves.Skip(2);
    }
    else if (nType == MakeSignature("para"))
    {
      const unsigned nFunction = curves.Card16();
      curves.Skip(2);
      curves.Take(nFunction < std::size(parameters) ? parameters[nFunction] : -1, 4);
    }
    else
      return false;
  }
  return !curves.HasFailed();
}

// Types mAB and mBA (ICC.1:2010, 10.10 and 10.11): parts at offsets from the start of the tag.
bool HasWholeParts(const BSE::CByteCursor& tag, bool bFromDevice)
{
  BSE::CByteCursor fields(tag);
  fields.Skip(8);
  const unsigned nInputs = fields.Card8();
  const unsigned nOutputs = fields.Card8();
  fields.Skip(2);
  const std::uint32_t nB = fields.Card32();
  const std::uint32_t nMatrix = fields.Card32();
  const std::uint32_t nM = fields.Card32();
  const std::uint32_t nGrid = fields.Card32();
  const std::uint32_t nA = fields.Card32();
  if (fields.HasFailed() || nInputs < 1 || nInputs > 4 || nOutputs < 1 || nOutputs > 4)
    return false;
  if (nB != 0 && !AreWholeCurves(tag.GetPart(nB), bFromDevice ? nOutputs : nInputs))
    return false;
  if (nM != 0 && !AreWholeCurves(tag.GetPart(nM), bFromDevice ? nOutputs : nInputs))
    return false;
  if (nA != 0 && !AreWholeCurves(tag.GetPart(nA), bFromDevice ? nInputs : nOutputs))
    return false;
  if (nMatrix != 0 && tag.GetPart(nMatrix, 48).HasFailed())
    return false;
  if (nGrid == 0)
    return nInputs == nOutputs;
  BSE::CByteCursor grid = tag.GetPart(nGrid);
  const std::span<const unsigned char> points = grid.Take(16);
  const unsigned nBytes = grid.Card8();
  grid.Skip(3);
  if (grid.HasFailed() || (nBytes != 1 && nBytes != 2))
    return false;
  grid.Take(CountGrid(points.first(nInputs), static_cast<int>(nOutputs)), nBytes);
  return !grid.HasFailed();
}

bool IsWholeColorTag(const BSE::CByteCursor& tag)
{
  BSE::CByteCursor type(tag);
  switch (type.Card32())
  {
  case MakeSignature("mft1"):
    return IsWholeTable(tag, false);
  case MakeSignature("mft2"):
    return IsWholeTable(tag, true);
  case MakeSignature("mAB "):
    return HasWholeParts(tag, true);
  case MakeSignature("mBA "):
    return HasWholeParts(tag, false);
  default:
    return false;
  }
}

bool IsWholeSimpleTag(std::uint32_t nName, const BSE::CByteCursor& tag)
{
  const std::uint32_t nLast = nName & 0xFFFFFF;
  if (nLast == (MakeSignature("rTRC") & 0xFFFFFF))
    return AreWholeCurves(tag, 1);
  // "chad" is a matrix of nine numbers after 8 bytes.
  return tag.GetRemaining() >= 8 && (nName != MakeSignature("chad") || tag.GetRemaining() == 44);
}

template <std::size_t n>
bool IsOneOf(std::uint32_t nName, const std::uint32_t (&names)[n])
{
  return std::find(names, names + n, nName) != names + n;
}

bool ReadHeader(BSE::CByteCursor cursor, TProfileHeader& header)
{
  cursor.Skip(8);
  const unsigned nVersion = cursor.Card8();
  cursor.Skip(3);
  const std::uint32_t nClass = cursor.Card32();
  const std::uint32_t nSpace = cursor.Card32();
  const std::uint32_t nConnection = cursor.Card32();
  cursor.Skip(12);
  const std::uint32_t nMagic = cursor.Card32();
  cursor.Skip(24);
  const std::uint32_t nIntent = cursor.Card32();
  constexpr std::uint32_t classes[] = {MakeSignature("scnr"), MakeSignature("mntr"), MakeSignature("prtr"),
                                       MakeSignature("spac")};
  if (cursor.HasFailed() || nMagic != MakeSignature("acsp") || nVersion > 4 || !IsOneOf(nClass, classes) ||
      (nConnection != MakeSignature("XYZ ") && nConnection != MakeSignature("Lab ")))
    return false;
  header.m_intent = nIntent <= eIntentAbsolute ? static_cast<TIntent>(nIntent) : eIntentPerceptual;
  return FindKind(nSpace, header.m_kind);
}

}  // namespace

bool CheckProfile(std::span<const unsigned char> data, TProfileHeader& header,
                  BSE::CBasicArray<unsigned char>& copy)
{
  if (std::cmp_greater(data.size(), BSE::g_nMaxProfile) || !ReadHeader(BSE::CByteCursor(data), header))
    return false;
  const BSE::CByteCursor profile(data);
  BSE::CByteCursor table = profile.GetPart(g_nHeaderSize);
  const std::uint32_t nTags = table.Card32();
  if (nTags > g_nMaxTags || std::cmp_less(table.GetRemaining(), std::int64_t{12} * nTags))
    return false;
  copy.SetSize(0);
  copy.Append(data);
  BSE::StoreBigEndian(static_cast<std::uint32_t>(data.size()), copy.GetData());
  for (std::uint32_t nTag = 0; nTag < nTags; ++nTag)
  {
    unsigned char* pName = copy.GetData() + g_nHeaderSize + 4 + std::size_t{12} * nTag;
    const std::uint32_t nName = table.Card32();
    const std::uint32_t nOffset = table.Card32();
    const std::uint32_t nLength = table.Card32();
    const BSE::CByteCursor tag = profile.GetPart(nOffset, nLength);
    const bool bTable = IsOneOf(nName, g_tableTags);
    const bool bKeep = !tag.HasFailed() && (bTable                         ? IsWholeColorTag(tag)
                                            : IsOneOf(nName, g_simpleTags) ? IsWholeSimpleTag(nName, tag)
                                                                           : false);
    if (!bKeep)
      BSE::StoreBigEndian(g_nUnknownTag + (nTag / 10 << 8) + nTag % 10, pName);
    header.m_bTables = header.m_bTables || (bKeep && bTable);
  }
  return true;
}

}  // namespace DOC
