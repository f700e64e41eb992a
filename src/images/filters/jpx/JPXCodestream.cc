#include "images/filters/jpx/JPXCodestream.h"

#include "base/ByteCursor.h"
#include "base/Limits.h"

#include <algorithm>
#include <cstring>

namespace BSE
{

namespace
{

constexpr unsigned g_nSOC = 0xFF4F;
constexpr unsigned g_nSIZ = 0xFF51;
constexpr unsigned char g_nCOD = 0x52;
constexpr unsigned char g_nCOC = 0x53;
constexpr unsigned char g_nSOT = 0x90;

constexpr int g_nMaxComponents = 255;
constexpr std::int64_t g_nMaxTiles = 65535;
constexpr int g_nMaxLevels = 32;

// Bytes of memory that the codec takes for each, about: a tile and its components, a sample in a tile and in
// the image, a block of samples, a precinct.
constexpr std::int64_t g_nTileSize = 6000;
constexpr std::int64_t g_nTileComponentSize = 1200;
constexpr std::int64_t g_nSampleSize = 8;
constexpr std::int64_t g_nBlockSize = 600;
constexpr std::int64_t g_nPrecinctSize = 1000;

std::int64_t DivideUp(std::int64_t n, std::int64_t nDivisor)
{
  return (n + nDivisor - 1) / nDivisor;
}

// Costs stay far below the largest number: each sum is cut here.
constexpr std::int64_t g_nMuch = std::int64_t{1} << 60;

std::int64_t AddCost(std::int64_t nCost, std::int64_t nCount, std::int64_t nEach)
{
  std::int64_t n = 0;
  return CheckedMul(nCount, nEach, n) && CheckedAdd(nCost, n, n) ? std::min(n, g_nMuch) : g_nMuch;
}

struct TComponent
{
  std::int64_t m_nStepX;
  std::int64_t m_nStepY;
};

// A coding style: how a component, or all of them, is divided.
struct TStyle
{
  int m_nLevels;
  int m_nBlockBits;  // logarithm of the samples of a block
  std::int64_t m_nLayers;
  unsigned char m_precincts[g_nMaxLevels + 1];  // logarithms of width and height
};

class CCostCounter
{
public:
  bool ReadSize(CByteCursor cursor);
  const TJPXSize& GetSize() const { return m_size; }

  // Adds what each style in the data costs: those before the first tile for the image, others for one tile.
  void AddStyles(std::span<const unsigned char> codestream);

  bool IsInProportion(std::int64_t nSize) const
  {
    return m_nMemory <= g_nMaxJPXMemory &&
           !IsOutOfProportion(m_nMemory, g_nFreeJPXMemory, g_nMaxDecodeRatio, nSize) &&
           !IsOutOfProportion(m_nPackets, g_nFreeJPXPackets, g_nJPXPacketRatio, nSize);
  }

private:
  bool ReadComponents(CByteCursor& cursor);
  bool ReadStyle(CByteCursor cursor, bool bComponent, TStyle& style, int& nComponent) const;
  void AddStyle(const TStyle& style, int nComponent, bool bImage);

  TJPXSize m_size;
  std::int64_t m_nTileTop = 0;
  std::int64_t m_nTileWidth = 0;
  std::int64_t m_nTileHeight = 0;
  std::int64_t m_nLayers = 1;  // most of any style, for those that tell none
  TComponent m_components[g_nMaxComponents] = {};
  std::int64_t m_nMemory = 0;
  std::int64_t m_nPackets = 0;
};

bool CCostCounter::ReadSize(CByteCursor cursor)
{
  if (cursor.Card16() != g_nSOC || cursor.Card16() != g_nSIZ)
    return false;
  cursor.Skip(4);
  std::int64_t values[8];
  for (std::int64_t& nValue : values)
    nValue = cursor.Card32();
  const auto [nRight, nBottom, nLeft, nTop, nTileWidth, nTileHeight, nTileLeft, nTileTop] = values;
  if (cursor.HasFailed() || nRight <= nLeft || nBottom <= nTop || nTileWidth == 0 || nTileHeight == 0 ||
      nTileLeft > nLeft || nTileTop > nTop)
    return false;
  m_size.m_nWidth = nRight - nLeft;
  m_size.m_nHeight = nBottom - nTop;
  const std::int64_t nAcross = DivideUp(nRight - nTileLeft, nTileWidth);
  const std::int64_t nDown = DivideUp(nBottom - nTileTop, nTileHeight);
  m_size.m_nTiles = nAcross > g_nMaxTiles || nDown > g_nMaxTiles ? g_nMaxTiles + 1 : nAcross * nDown;
  m_size.m_nTileHeight = nTileHeight;
  m_size.m_nFirstTileEnd = nTileTop + nTileHeight - nTop;
  m_nTileTop = nTileTop;
  m_nTileWidth = std::min(nTileWidth, m_size.m_nWidth);
  m_nTileHeight = std::min(nTileHeight, m_size.m_nHeight);
  return ReadComponents(cursor);
}

bool CCostCounter::ReadComponents(CByteCursor& cursor)
{
  m_size.m_nComponents = static_cast<int>(cursor.Card16());
  if (m_size.m_nComponents == 0 || m_size.m_nComponents > g_nMaxComponents || m_size.m_nTiles > g_nMaxTiles ||
      m_size.m_nWidth > g_nMaxImagePixels / m_size.m_nHeight)
    return false;
  m_nMemory = AddCost(0, m_size.m_nTiles, g_nTileSize + m_size.m_nComponents * g_nTileComponentSize);
  for (int i = 0; i < m_size.m_nComponents; ++i)
  {
    cursor.Skip(1);
    TComponent& component = m_components[i];
    component.m_nStepX = cursor.Card8();
    component.m_nStepY = cursor.Card8();
    if (component.m_nStepX == 0 || component.m_nStepY == 0)
      return false;
    m_size.m_bTilesApart = m_size.m_bTilesApart && m_nTileTop % component.m_nStepY == 0 &&
                           m_size.m_nTileHeight % component.m_nStepY == 0;
    const std::int64_t nSamples =
        (m_size.m_nWidth / component.m_nStepX + 1) * (m_size.m_nHeight / component.m_nStepY + 1);
    m_nMemory = AddCost(m_nMemory, nSamples, g_nSampleSize);
  }
  return !cursor.HasFailed();
}

bool CCostCounter::ReadStyle(CByteCursor cursor, bool bComponent, TStyle& style, int& nComponent) const
{
  constexpr int nWholePrecinct = 0xFF;
  const int nLength = static_cast<int>(cursor.Card16());
  nComponent = bComponent ? static_cast<int>(cursor.Card8()) : -1;
  const bool bPrecincts = (cursor.Card8() & 1) != 0;
  if (!bComponent)
    cursor.Skip(1);
  style.m_nLayers = bComponent ? m_nLayers : cursor.Card16();
  if (!bComponent)
    cursor.Skip(1);
  style.m_nLevels = static_cast<int>(cursor.Card8());
  style.m_nBlockBits = 4 + static_cast<int>(cursor.Card8() & 0xF) + static_cast<int>(cursor.Card8() & 0xF);
  cursor.Skip(2);
  if (cursor.HasFailed() || style.m_nLevels > g_nMaxLevels || style.m_nBlockBits > 12 ||
      nComponent >= m_size.m_nComponents)
    return false;
  const int nFixed = bComponent ? 9 : 12;
  if (nLength != nFixed + (bPrecincts ? style.m_nLevels + 1 : 0))
    return false;
  for (int i = 0; i <= style.m_nLevels; ++i)
    style.m_precincts[i] = static_cast<unsigned char>(bPrecincts ? cursor.Card8() : nWholePrecinct);
  return !cursor.HasFailed();
}

// What a range of positions is divided into; one more where it does not begin at a border.
std::int64_t GetPieces(std::int64_t nRange, int nBits)
{
  return (nRange >> nBits) + (nRange > 1 ? 2 : 1);
}

void CCostCounter::AddStyle(const TStyle& style, int nComponent, bool bImage)
{
  const std::int64_t nTiles = bImage ? m_size.m_nTiles : 1;
  for (int i = 0; i < m_size.m_nComponents; ++i)
  {
    if (nComponent >= 0 && i != nComponent)
      continue;
    const std::int64_t nWidth = DivideUp(m_nTileWidth, m_components[i].m_nStepX);
    const std::int64_t nHeight = DivideUp(m_nTileHeight, m_components[i].m_nStepY);
    std::int64_t nPrecincts = 0;
    for (int n = 0; n <= style.m_nLevels; ++n)
    {
      const int nReduced = style.m_nLevels - n;
      const std::int64_t nAcross = GetPieces((nWidth >> nReduced) + 1, style.m_precincts[n] & 0xF);
      const std::int64_t nDown = GetPieces((nHeight >> nReduced) + 1, style.m_precincts[n] >> 4);
      nPrecincts = AddCost(nPrecincts, nAcross, nDown);
    }
    const std::int64_t nBlocks = AddCost(3 * style.m_nLevels + 1, nWidth, nHeight) >> style.m_nBlockBits;
    nPrecincts = AddCost(0, nPrecincts, nTiles);
    m_nPackets = AddCost(m_nPackets, nPrecincts, std::max<std::int64_t>(style.m_nLayers, 1));
    m_nMemory = AddCost(m_nMemory, nPrecincts, g_nPrecinctSize);
    m_nMemory = AddCost(m_nMemory, AddCost(0, nBlocks, nTiles), g_nBlockSize);
  }
}

void CCostCounter::AddStyles(std::span<const unsigned char> codestream)
{
  const CByteCursor cursor(codestream);
  bool bImage = true;
  const unsigned char* const pEnd = codestream.data() + codestream.size();
  for (const unsigned char* p = codestream.data(); p < pEnd;)
  {
    p = static_cast<const unsigned char*>(std::memchr(p, 0xFF, static_cast<std::size_t>(pEnd - p)));
    if (!p || ++p == pEnd)
      return;
    bImage = bImage && *p != g_nSOT;
    TStyle style = {};
    int nComponent = -1;
    if ((*p == g_nCOD || *p == g_nCOC) &&
        ReadStyle(cursor.GetPart(p + 1 - codestream.data()), *p == g_nCOC, style, nComponent))
    {
      m_nLayers = std::max(m_nLayers, style.m_nLayers);
      AddStyle(style, nComponent, bImage);
      if (!IsInProportion(static_cast<std::int64_t>(codestream.size())))
        return;
    }
  }
}

}  // namespace

bool CheckJPXCodestream(std::span<const unsigned char> codestream, TJPXSize& size, TJPXStatus& status)
{
  CCostCounter counter;
  status = eJPXInvalidHeader;
  if (!counter.ReadSize(CByteCursor(codestream)))
    return false;
  size = counter.GetSize();
  counter.AddStyles(codestream);
  status = eJPXInvalidSize;
  return counter.IsInProportion(static_cast<std::int64_t>(codestream.size()));
}

}  // namespace BSE
