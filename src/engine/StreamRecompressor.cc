// Each stream is a race between its present form and its data deflated anew, with and without the predictor
// that it has; what counts is bytes in the file, the filter entries of the dictionary included. The
// compressor is told how many bytes would still win, and gives up where they are used up. Whatever cannot be
// decoded to its end without a fault is left byte for byte, since readers differ in what they make of it.

#include "engine/StreamRecompressor.h"

#include "base/MemoryStream.h"
#include "engine/StreamEncoding.h"
#include "pdf/DictionaryObject.h"
#include "pdf/FilterFactory.h"
#include "pdf/SimpleObjects.h"
#include "pdf/StreamObjects.h"

#include <algorithm>
#include <string_view>

namespace PDF
{

namespace
{

// "/Filter/FlateDecode"
constexpr std::size_t g_nFilterCost = 19;

// Large data that take no more than this part of their length have next to nothing to gain, and take long.
constexpr std::size_t g_nLargeData = 16 << 20;
constexpr std::size_t g_nDenseRatio = 500;

CObjectPtr CreateParameters(const BSE::CPredictionParameters& prediction)
{
  constexpr BSE::CPredictionParameters defaults;
  CObjectPtr parameters(new CDictionaryObject);
  const auto add = [&](const char* szKey, int nValue, int nDefault)
  {
    if (nValue != nDefault)
      parameters.AddEntry(szKey, new CIntegerObject(nValue));
  };
  add("Predictor", prediction.Predictor, defaults.Predictor);
  add("Colors", prediction.Colors, defaults.Colors);
  add("BitsPerComponent", prediction.BitsPerComponent, defaults.BitsPerComponent);
  add("Columns", prediction.Columns, defaults.Columns);
  return parameters;
}

bool IsBlank(unsigned char nByte)
{
  return nByte == ' ' || nByte == '\n' || nByte == '\r' || nByte == '\t';
}

// The blanks in front of the trailer of an XMP packet in UTF-8 (ISO 16684-1, 7.3.2), room for changes in
// place, but for one. Empty if there is no such trailer, or no more than a blank.
std::span<const unsigned char> FindPadding(std::span<const unsigned char> packet)
{
  constexpr std::string_view szTrailer = "<?xpacket end=";
  const auto pTrailer = std::find_end(packet.begin(), packet.end(), szTrailer.begin(), szTrailer.end());
  if (pTrailer == packet.end())
    return {};
  auto pFirst = pTrailer;
  while (pFirst != packet.begin() && IsBlank(pFirst[-1]))
    --pFirst;
  if (pTrailer - pFirst < 2 || pFirst == packet.begin() || pFirst[-1] != '>')
    return {};
  return {pFirst + 1, pTrailer};
}

}  // namespace

void CStreamRecompressor::Deflate(std::span<const unsigned char> data,
                                  BSE::CBasicArray<unsigned char>& encoded)
{
  if (m_deflater.Deflate(data, m_deflater.GetBound(data.size()) + 1, m_candidate))
    encoded.Append(m_candidate.GetSpan());
}

void CStreamRecompressor::HandleStream(const CObjectPtr& source, const CObjectPtr& target)
{
  // What has been decoded is the source's: another pass may have given the copy other data.
  const bool bSame = source && source.GetStreamObject() == target.GetStreamObject();
  if (!Decode(bSame ? source.GetObjNumber() : 0, *target))
    return;
  if (m_decoder.GetData().size() > g_nLargeData &&
      m_decoder.GetEncodedSize() < m_decoder.GetData().size() / g_nDenseRatio)
    return;
  if (target["Type"].IsName("Metadata") && GetFilterCount(target.Get()) == 0)
    TrimMetadata(*target);
  else
    Recompress(*target);
}

bool CStreamRecompressor::Decode(int nSource, CObject& object)
{
  if (nSource > 0 && m_decoded.IsUndecodable(nSource))
    return false;
  return (nSource > 0 && m_decoded.Take(nSource, m_decoder)) ||
         m_decoder.Decode(object) == CStreamDecoder::TResult::Decoded;
}

void CStreamRecompressor::Recompress(CObject& object)
{
  const bool bEncoded = static_cast<CStreamPart*>(object.GetStreamObject().Get())->IsEncoded();
  const std::size_t nFilters = MeasureFilters(object);
  // Data that the writer would encode count as they will be then, by the plain encoder: never better than
  // here.
  const bool bMustEncode = !bEncoded && nFilters > 0;
  m_nBestCost = bMustEncode ? SIZE_MAX : nFilters + m_decoder.GetEncodedSize();
  m_bFound = false;
  if (m_decoder.HasData())
    Try(m_decoder.GetData(), false);
  if (m_decoder.HasPredictor())
    Try(m_decoder.GetPredicted(), true);
  if (!m_bFound)
    return;
  if (!bMustEncode)
    m_nSaved += static_cast<std::int64_t>(nFilters + m_decoder.GetEncodedSize() - m_nBestCost);
  Replace(object);
}

void CStreamRecompressor::TrimMetadata(CObject& object)
{
  const std::span<const unsigned char> packet = m_decoder.GetData();
  const std::span<const unsigned char> padding = FindPadding(packet);
  if (padding.empty())
    return;
  const auto nHead = static_cast<std::size_t>(padding.data() - packet.data());
  const BSE::CObjectPtr<BSE::CMemoryStream> pTrimmed(new BSE::CMemoryStream);
  for (const auto part : {packet.first(nHead), packet.subspan(nHead + padding.size())})
    pTrimmed->WriteAll(part.data(), std::ssize(part));
  pTrimmed->Rewind();
  m_nSaved += std::ssize(padding);
  object.SetStreamObject(new CEmbeddedStreamObject(pTrimmed.Get(), 0, pTrimmed->GetLength()));
}

void CStreamRecompressor::Try(std::span<const unsigned char> data, bool bPredicted)
{
  std::size_t nCost = g_nFilterCost;
  if (bPredicted)
    nCost += std::strlen("/DecodeParms") + MeasureValue(CreateParameters(m_decoder.GetPrediction()));
  if (m_nBestCost <= nCost)
    return;
  if (!m_deflater.Deflate(data, std::min(m_nBestCost - nCost, m_deflater.GetBound(data.size()) + 1),
                          m_candidate))
    return;
  m_nBestCost = nCost + m_candidate.GetSize();
  m_bBestPredicted = bPredicted;
  m_bFound = true;
  m_best.Swap(m_candidate);
}

void CStreamRecompressor::Replace(CObject& object)
{
  const CObjectPtr parameters = m_bBestPredicted ? CreateParameters(m_decoder.GetPrediction()) : CObjectPtr();
  ReplaceEncoding(object, "FlateDecode", parameters, m_best.GetSpan());
}

}  // namespace PDF
