#include "images/filters/jbig2/JBIG2Decoder.h"

#include <algorithm>
#include <cstdio>

namespace BSE
{

namespace
{

// Whether drawing on an untouched page gives what is drawn.
bool IsCopied(TJBIG2Operator op, bool bBlackPage)
{
  switch (op)
  {
  case eJBIG2Or:
  case eJBIG2Xor:
    return !bBlackPage;
  case eJBIG2And:
  case eJBIG2Xnor:
    return bBlackPage;
  default:
    return true;
  }
}

}  // namespace

void CJBIG2Decoder::Tell(TJBIG2Class messageClass, int nSegment, const char* szText)
{
  const TJBIG2Segment& segment = m_segments.Get(nSegment);
  char text[200];
  std::snprintf(text, sizeof(text), "%s %u: %s", GetJBIG2SegmentName(segment.m_nType), segment.m_nNumber,
                szText);
  m_messages.OnMessage(messageClass, text);
}

void CJBIG2Decoder::TellFailure(int nSegment)
{
  if (const char* szFailure = m_pRun->GetFailure())
    Tell(eJBIG2Fatal, nSegment, szFailure);
  m_pRun->ClearFailure();
}

bool CJBIG2Decoder::Open(std::span<const unsigned char> globals, std::span<const unsigned char> data)
{
  const bool bGlobals = m_segments.Add(globals);
  const bool bData = m_segments.Add(data);
  if (!bGlobals || !bData)
    m_messages.OnMessage(eJBIG2Fatal, bData ? "the header of a global segment is damaged"
                                            : "the header of a segment is damaged");
  if (!FindPage())
  {
    m_messages.OnMessage(eJBIG2Fatal, "there is no page");
    return false;
  }
  m_pRun.Reset(
      new CJBIG2Run(static_cast<std::int64_t>(globals.size()) + static_cast<std::int64_t>(data.size())));
  m_pDecoder.Reset(new CJBIG2SegmentDecoder(*m_pRun, m_segments));
  return true;
}

bool CJBIG2Decoder::FindPage()
{
  for (int i = 0; i < m_segments.GetCount() && m_nPageSegment < 0; ++i)
  {
    const TJBIG2Segment& segment = m_segments.Get(i);
    if (segment.m_nType != eJBIG2PageInformation || segment.m_data.size() < g_nJBIG2PageSize)
      continue;
    CByteCursor cursor(segment.m_data);
    m_information = ReadJBIG2Page(cursor);
    m_nPageSegment = i;
  }
  if (m_nPageSegment >= 0 && m_information.m_nHeight == g_nJBIG2UnknownHeight)
    FindHeight();
  return m_nPageSegment >= 0 && m_information.m_nWidth > 0 && m_information.m_nHeight > 0;
}

void CJBIG2Decoder::FindHeight()
{
  // The last stripe says its last row; without stripes the page ends where its regions do.
  std::int64_t nStripes = 0;
  std::int64_t nRegions = 0;
  for (int i = m_nPageSegment; i < m_segments.GetCount(); ++i)
  {
    const TJBIG2Segment& segment = m_segments.Get(i);
    CByteCursor cursor(segment.m_data);
    if (segment.m_nType == eJBIG2EndOfStripe && segment.m_data.size() >= 4)
      nStripes = std::max(nStripes, std::int64_t{cursor.Card32()} + 1);
    else if (IsJBIG2Immediate(segment.m_nType) && segment.m_data.size() >= g_nJBIG2RegionSize)
    {
      const TJBIG2Region region = ReadJBIG2Region(cursor);
      nRegions = std::max(nRegions, region.m_y + region.m_nHeight);
    }
  }
  const std::int64_t nHeight = nStripes > 0 ? nStripes : nRegions;
  m_information.m_nHeight =
      static_cast<std::uint32_t>(std::min<std::int64_t>(nHeight, g_nJBIG2UnknownHeight));
}

bool CJBIG2Decoder::MakePage()
{
  if (m_pPage)
    return true;
  m_pPage = CJBIG2Bitmap::Create(*m_pRun, m_information.m_nWidth, m_information.m_nHeight);
  if (m_pPage && m_information.IsBlack())
    m_pPage->Fill(true);
  return static_cast<bool>(m_pPage);
}

void CJBIG2Decoder::Decode()
{
  for (int i = 0; i < m_segments.GetCount() && DecodeSegment(i); ++i)
  {
    if (!m_pRun->IsExhausted())
      continue;
    m_messages.OnMessage(eJBIG2Fatal, "the rest of the page is left out: the data asks for too much work");
    break;
  }
  m_pRun->ClearFailure();
  if (!MakePage())
    TellFailure(m_nPageSegment);
}

bool CJBIG2Decoder::DecodeSegment(int nSegment)
{
  const TJBIG2Segment& segment = m_segments.Get(nSegment);
  const int nType = segment.m_nType;
  if (segment.m_bCut)
    Tell(eJBIG2Fatal, nSegment, "the data is shorter than its header says");
  if (IsJBIG2Immediate(nType) || IsJBIG2Intermediate(nType))
    DecodeRegion(nSegment);
  else if (nType == eJBIG2SymbolDictionary || nType == eJBIG2PatternDictionary || nType == eJBIG2Tables)
  {
    if (!m_pDecoder->DecodeDictionary(nSegment))
      TellFailure(nSegment);
  }
  else if (nType == eJBIG2ColourPalette)
    Tell(eJBIG2Fatal, nSegment, "the colour extension is not supported");
  else if (nType == eJBIG2PageInformation && nSegment != m_nPageSegment)
  {
    Tell(eJBIG2Warning, nSegment, "a second page is left out");
    return false;
  }
  else if (nType != eJBIG2PageInformation && nType != eJBIG2EndOfPage && nType != eJBIG2EndOfStripe &&
           nType != eJBIG2EndOfFile && nType != eJBIG2Profiles && nType != eJBIG2Extension)
    Tell(eJBIG2Warning, nSegment, "a segment of an unknown type is left out");
  return true;
}

void CJBIG2Decoder::DecodeRegion(int nSegment)
{
  const TJBIG2Segment& segment = m_segments.Get(nSegment);
  CByteCursor cursor(segment.m_data);
  const TJBIG2Region region = ReadJBIG2Region(cursor);
  const bool bRefinement =
      segment.m_nType >= eJBIG2IntermediateRefinement && segment.m_nType <= eJBIG2LosslessRefinement;
  if (cursor.HasFailed() || !region.HasOperator())
    return Tell(eJBIG2Fatal, nSegment, "the header is cut or impossible");
  if (region.HasColour())
    return Tell(eJBIG2Fatal, nSegment, "the colour extension is not supported");
  CJBIG2BitmapPtr pBitmap;
  if (!bRefinement || MakePage())
    pBitmap = m_pDecoder->DecodeRegion(nSegment, region, m_pPage.Get());
  TellFailure(nSegment);
  if (!pBitmap)
    return;
  if (IsJBIG2Intermediate(segment.m_nType))
    m_pDecoder->Keep(nSegment, pBitmap.Get());
  else
    DrawRegion(pBitmap, region);
  TellFailure(nSegment);
}

void CJBIG2Decoder::DrawRegion(const CJBIG2BitmapPtr& pBitmap, const TJBIG2Region& region)
{
  // The first region is most often the whole page; it becomes the page then, so that there is only one bitmap
  // of that size.
  const bool bWhole = region.m_x == 0 && region.m_y == 0 && region.m_nWidth == m_information.m_nWidth &&
                      pBitmap->GetHeight() == std::int64_t{m_information.m_nHeight};
  if (!m_pPage && bWhole && IsCopied(region.GetOperator(), m_information.IsBlack()))
    m_pPage = pBitmap;
  else if (MakePage() && m_pRun->Spend(pBitmap->GetWork()))
    m_pPage->Combine(*pBitmap, region.m_x, region.m_y, region.GetOperator());
}

}  // namespace BSE
