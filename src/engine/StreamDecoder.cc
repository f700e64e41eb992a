#include "engine/StreamDecoder.h"

#include "base/Checked.h"
#include "base/ErrorHandler.h"
#include "base/Limits.h"
#include "base/MemoryStream.h"
#include "engine/EncodingRules.h"
#include "images/filters/ASCII85DecodeFilter.h"
#include "images/filters/ASCIIHexDecodeFilter.h"
#include "images/filters/LZWDecodeFilter.h"
#include "images/filters/PredictionRow.h"
#include "images/filters/RunLengthDecodeFilter.h"
#include "images/filters/StatusCodes.h"
#include "pdf/FilterFactory.h"
#include "pdf/StreamObjects.h"

#include <algorithm>
#include <cstring>

#include <libdeflate.h>

namespace PDF
{

namespace
{

constexpr auto g_nMaxSize = static_cast<std::size_t>(BSE::g_nMaxRecodedSize);

// First guess at the room for inflated data, in encoded lengths.
constexpr std::size_t g_nUsualRatio = 4;
constexpr std::size_t g_nMinRoom = 1 << 16;

// No deflated data are shorter (RFC 1951: a match of 258 bytes takes two bits at least).
constexpr std::size_t g_nMaxRatio = 1032;

// What a filter delivers at a time.
constexpr std::size_t g_nPiece = 1 << 16;

bool IsNothing(const CObjectPtr& value)
{
  return value.IsNull() || (value.IsIndirect() && value.GetValueObject().IsNull());
}

// Filters and parameters that mean the same to every reader: one filter with one dictionary, or an array of
// each, and not by the names that they have in inline images.
bool AreFiltersClear(CObject& stream)
{
  const CObjectPtr filter = stream.GetEntry("Filter");
  const CObjectPtr parameters = stream.GetEntry("DecodeParms");
  if (stream.GetIndex("DP") >= 0)
    return false;
  if (filter.IsArray())
    return IsNothing(parameters) || parameters.IsArray();
  return (IsNothing(filter) || filter.IsName()) && (IsNothing(parameters) || parameters.IsDictionary());
}

// Whether it can be told what the rows are, however the last one ends.
bool IsKnownPrediction(const BSE::CPredictionParameters& prediction)
{
  const int nPredictor = prediction.Predictor;
  if (nPredictor != BSE::g_nPredictorTIFF &&
      (nPredictor < BSE::g_nPredictorPNGFirst || nPredictor > BSE::g_nPredictorPNGOptimum))
    return false;
  return BSE::GetPredictionLayout(prediction).m_nRowSize > 0;
}

// Readers fill the bits after the last sample of a TIFF row each in its own way.
bool HasFillBits(const BSE::CPredictionParameters& prediction)
{
  return prediction.Predictor == BSE::g_nPredictorTIFF &&
         std::int64_t{prediction.Colors} * prediction.BitsPerComponent % 8 * prediction.Columns % 8 != 0;
}

}  // namespace

CStreamDecoder::~CStreamDecoder()
{
  if (m_pDecompressor)
    libdeflate_free_decompressor(m_pDecompressor);
}

void CStreamDecoder::SaveState(TState& state) const
{
  if (m_bData)
    state.m_data.Assign(m_data.GetSpan());
  if (m_bPredictor)
    state.m_predicted.Assign(m_predicted.GetSpan());
  state.m_prediction = m_prediction;
  state.m_nEncoded = m_nEncoded;
  state.m_bPredictor = m_bPredictor;
  state.m_bData = m_bData;
}

void CStreamDecoder::RestoreState(const TState& state)
{
  m_encoded.SetSize(0);
  m_data.Assign(state.m_data.GetSpan());
  m_predicted.Assign(state.m_predicted.GetSpan());
  m_prediction = state.m_prediction;
  m_nEncoded = state.m_nEncoded;
  m_bPredictor = state.m_bPredictor;
  m_bData = state.m_bData;
}

bool CStreamDecoder::Read(CObject& stream)
{
  m_nEncoded = 0;
  m_encoded.SetSize(0);
  const BSE::CObjectPtr<BSE::IByteStream> pData = stream.GetStream();
  if (!pData)
    return false;
  std::int64_t nLength = static_cast<CStreamPart*>(stream.GetStreamObject().Get())->GetDataLength();
  if (nLength < 0 || nLength > BSE::g_nMaxRecodedSize)
    return false;
  // The file's word for the length is not taken for more than the room.
  m_encoded.Provide(static_cast<std::size_t>(nLength));
  nLength = pData->ReadAll(m_encoded.GetRoom().data(), nLength);
  m_encoded.SetSize(static_cast<std::size_t>(std::max<std::int64_t>(nLength, 0)));
  m_nEncoded = m_encoded.GetSize();
  m_nRead += std::max<std::int64_t>(nLength, 0);
  return nLength >= 0;
}

bool CStreamDecoder::HasBudget() const
{
  return !BSE::IsOutOfProportion(m_nDecoded, BSE::g_nFreeRecodedSize, BSE::g_nMaxRecodedRatio, m_nRead);
}

CStreamDecoder::TResult CStreamDecoder::DecodeFilters(CObject& stream, int nMax)
{
  m_bPredictor = m_bData = false;
  m_data.SetSize(0);
  if (stream.GetIndex("F") >= 0)
    return TResult::Foreign;
  if (!Read(stream))
    return TResult::TooLarge;
  const bool bEncoded = static_cast<CStreamPart*>(stream.GetStreamObject().Get())->IsEncoded();
  const int nFilters = bEncoded ? GetFilterCount(&stream) : 0;
  if (nFilters > BSE::g_nMaxFilters || (bEncoded && !AreFiltersClear(stream)))
    return TResult::Foreign;
  if (nFilters > 0 && !HasBudget())
    return TResult::TooLarge;
  const TResult nResult = DecodeChain(stream, std::min(nFilters, nMax));
  m_bData = nResult == TResult::Decoded && (!m_bPredictor || UndoPrediction());
  return nResult;
}

CStreamDecoder::TResult CStreamDecoder::DecodeChain(CObject& stream, int nFilters)
{
  // Nothing is decoded for a chain that cannot be undone to its end.
  for (int i = 0; i < nFilters; ++i)
  {
    const CObjectPtr name = GetFilterName(&stream, i);
    bool bKnown = false;
    for (const char* szKnown : {"FlateDecode", "Fl", "LZWDecode", "LZW", "ASCII85Decode", "A85",
                                "ASCIIHexDecode", "AHx", "RunLengthDecode", "RL"})
      bKnown |= name.IsName(szKnown);
    if (!bKnown)
      return TResult::Foreign;
  }
  m_data.Assign(m_encoded.GetSpan());
  for (int i = 0; i < nFilters; ++i)
  {
    if (m_bPredictor && !UndoPrediction())
      return TResult::Damaged;
    m_bPredictor = false;
    const TResult nResult =
        DecodeFilter(GetFilterName(&stream, i).GetNameValue(), GetFilterParameters(&stream, i));
    if (nResult != TResult::Decoded)
      return nResult;
  }
  return TResult::Decoded;
}

CStreamDecoder::TResult CStreamDecoder::DecodeFilter(const char* szName, const CObjectPtr& parameters)
{
  const auto parameter = [&](const char* szKey, int nDefault)
  { return BSE::ClampTo<int>(GetIntegerOr(parameters[szKey], nDefault)); };
  const auto is = [&](const char* szLong, const char* szShort)
  { return KeyEquals(szName, szLong) || KeyEquals(szName, szShort); };
  const bool bFlate = is("FlateDecode", "Fl");
  const bool bLZW = is("LZWDecode", "LZW");
  const std::span<const unsigned char> encoded = m_data.GetSpan();
  BSE::CObjectPtr<BSE::IByteStream> pSource;
  if (!bFlate)
    pSource = new BSE::CMemoryStream(encoded.data(), static_cast<std::int64_t>(encoded.size()));
  BSE::CErrorHandler errors;
  BSE::CObjectPtr<BSE::IByteStream> pFilter;
  if (is("ASCII85Decode", "A85") && IsStrictASCII85(encoded))
    pFilter = new BSE::CASCII85DecodeFilter(pSource.Get(), &errors);
  else if (is("ASCIIHexDecode", "AHx") && IsStrictASCIIHex(encoded))
    pFilter = new BSE::CASCIIHexDecodeFilter(pSource.Get(), &errors);
  else if (is("RunLengthDecode", "RL") && IsStrictRunLength(encoded))
    pFilter = new BSE::CRunLengthDecodeFilter(pSource.Get(), &errors);
  else if (bLZW && IsStrictLZW(encoded))
    pFilter = new BSE::CLZWDecodeFilter(pSource.Get(), {.EarlyChange = parameter("EarlyChange", 1)}, &errors);
  if (!bFlate && !pFilter)
    return TResult::Damaged;
  const TResult nResult = pFilter ? RunFilter(pFilter.Get()) : Inflate();
  if (nResult != TResult::Decoded)
    return nResult;
  // Some writers of LZW leave the end code out, which loses nothing.
  const bool bUnended = bLZW && errors.GetLastCode() == BSE::g_nLZWNoEnd;
  if ((errors.GetLastCode() != 0 && !bUnended) || (pFilter && BSE::HasGap(pFilter.Get())))
    return TResult::Damaged;
  m_data.Swap(m_next);
  if (!bFlate && !bLZW)
    return TResult::Decoded;
  m_prediction = {.Predictor = parameter("Predictor", 1),
                  .Colors = parameter("Colors", 1),
                  .Columns = parameter("Columns", 1),
                  .BitsPerComponent = parameter("BitsPerComponent", 8)};
  m_bPredictor = m_prediction.Predictor > BSE::g_nPredictorNone;
  if (!m_bPredictor)
    return TResult::Decoded;
  m_predicted.Swap(m_data);
  return IsKnownPrediction(m_prediction) ? TResult::Decoded : TResult::Damaged;
}

CStreamDecoder::TResult CStreamDecoder::Inflate()
{
  if (!m_pDecompressor)
    m_pDecompressor = libdeflate_alloc_decompressor();
  if (!m_pDecompressor)
    BSE::ThrowOutOfMemory();
  const std::span<const unsigned char> encoded = m_data.GetSpan();
  std::size_t nRoom = std::max({g_nMinRoom, m_next.GetCapacity(), g_nUsualRatio * encoded.size()});
  for (;; nRoom *= 2)
  {
    m_next.Provide(std::min(nRoom, g_nMaxSize));
    std::size_t nRead = 0;
    std::size_t nWritten = 0;
    const libdeflate_result nResult =
        libdeflate_zlib_decompress_ex(m_pDecompressor, encoded.data(), encoded.size(),
                                      m_next.GetRoom().data(), m_next.GetCapacity(), &nRead, &nWritten);
    // A failure does not say how far it came.
    if (nResult != LIBDEFLATE_SUCCESS)
      nWritten = std::min(m_next.GetCapacity(), g_nMaxRatio * encoded.size());
    m_nDecoded += static_cast<std::int64_t>(nWritten);
    m_next.SetSize(nResult == LIBDEFLATE_SUCCESS ? nWritten : 0);
    if (nResult == LIBDEFLATE_SUCCESS)
      return TResult::Decoded;
    if (nResult != LIBDEFLATE_INSUFFICIENT_SPACE)
      return TResult::Damaged;
    if (m_next.GetCapacity() >= g_nMaxSize)
      return TResult::TooLarge;
  }
}

CStreamDecoder::TResult CStreamDecoder::RunFilter(BSE::IByteStream* pFilter)
{
  BSE::CBasicArray<unsigned char> result;
  if (!pFilter->IsValid())
    return TResult::Damaged;
  unsigned char piece[g_nPiece];
  for (;;)
  {
    const std::int64_t nRead = pFilter->Read(piece, g_nPiece);
    if (nRead < 0)
      return TResult::Damaged;
    if (nRead == 0)
      break;
    if (result.GetSize() + nRead > BSE::g_nMaxRecodedSize)
      return TResult::TooLarge;
    result.Append({piece, static_cast<std::size_t>(nRead)});
    m_nDecoded += nRead;
  }
  m_next.Assign(result.GetSpan());
  return TResult::Decoded;
}

bool CStreamDecoder::UndoPrediction()
{
  const BSE::TPredictionLayout layout = BSE::GetPredictionLayout(m_prediction);
  const auto nRow = static_cast<std::size_t>(layout.m_nRowSize);
  const std::size_t nStep = nRow + (layout.m_bPNG ? 1 : 0);
  const std::span<const unsigned char> source = m_predicted.GetSpan();
  if (nRow == 0 || source.size() % nStep != 0 || !BSE::CheckPredictor(m_prediction) ||
      HasFillBits(m_prediction))
    return false;
  m_data.Provide(source.size() / nStep * nRow);
  BSE::CBasicArray<unsigned char> zeros;
  if (source.empty())
    return true;
  zeros.SetSize(layout.m_nRowSize);
  std::span<const unsigned char> previous = zeros.GetSpan();
  std::size_t nDone = 0;
  for (std::size_t i = 0; i < source.size(); i += nStep, nDone += nRow)
  {
    const std::span<unsigned char> row = m_data.GetRoom().subspan(nDone, nRow);
    if (layout.m_bPNG)
    {
      if (source[i] >= BSE::ePNGTagCount)
        return false;
      BSE::DecodePNGRow(source[i], layout.m_nPixelSize, source.subspan(i + 1, nRow), previous, row);
    }
    else
    {
      std::memcpy(row.data(), source.data() + i, nRow);
      BSE::DecodeTIFFRow(m_prediction.Colors, m_prediction.BitsPerComponent, row);
    }
    previous = row;
  }
  m_data.SetSize(nDone);
  return true;
}

}  // namespace PDF
