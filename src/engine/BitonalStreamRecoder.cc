// The rows are decoded as a reader sees them and encoded in the forms that were made for such pictures. Only
// complete images are taken, because readers differ in what they show in place of rows that are missing; for
// the same reason the filters of bytes are undone without tolerance, and fax data with a gap stays. What has
// won is decoded once more and compared: a wrong picture would cost more than this does.

#include "engine/BitonalStreamRecoder.h"

#include "base/DecodeFilter.h"
#include "base/ErrorHandler.h"
#include "base/MemoryStream.h"
#include "engine/StreamEncoding.h"
#include "images/ImageDictionary.h"
#include "images/ImageFilters.h"
#include "images/filters/CCITTFaxParameters.h"
#include "pdf/DictionaryObject.h"
#include "pdf/FilterFactory.h"
#include "pdf/SimpleObjects.h"

#include <cstring>
#include <utility>

namespace PDF
{

namespace
{

using CStreamPtr = BSE::CObjectPtr<BSE::IByteStream>;

bool IsFax(const CObjectPtr& filter)
{
  return filter.IsName("CCITTFaxDecode") || filter.IsName("CCF");
}

// The size of its rows together; 0 for an image of another kind.
std::size_t GetImageSize(CObject& stream)
{
  const CImageDictionary image(&stream);
  if (!stream.GetEntry("Subtype").IsName("Image") || image.GetBitsPerComponent() != 1 ||
      image.GetComponentCount() != 1 || image.GetWidth() < 1 || image.GetHeight() < 1)
    return 0;
  const std::int64_t nSize = (std::int64_t{image.GetWidth()} + 7) / 8 * image.GetHeight();
  return nSize <= BSE::g_nMaxRecodedSize ? static_cast<std::size_t>(nSize) : 0;
}

CObjectPtr CreateGroup4Parameters(CObject& stream)
{
  const CImageDictionary image(&stream);
  CObjectPtr parameters(new CDictionaryObject);
  parameters.AddEntry("K", new CIntegerObject(-1));
  parameters.AddEntry("Columns", new CIntegerObject(image.GetWidth()));
  return parameters;
}

}  // namespace

bool CBitonalStreamRecoder::Recode(CObject& stream)
{
  const std::span<const unsigned char> rows = ReadRows(stream);
  if (rows.empty())
    return false;
  m_szBest = nullptr;
  m_nBestCost = MeasureFilters(stream) + m_decoder.GetEncodedSize();
  if (m_bJBIG2)
    Try(stream, "JBIG2Decode", nullptr, rows);
  Try(stream, "CCITTFaxDecode", CreateGroup4Parameters(stream), rows);
  if (!m_szBest || !Decodes(stream, rows))
    return false;
  ReplaceEncoding(stream, m_szBest, m_bestParameters, m_best.GetSpan());
  m_best.RemoveAll();
  return true;
}

std::span<const unsigned char> CBitonalStreamRecoder::ReadRows(CObject& stream)
{
  const std::size_t nSize = GetImageSize(stream);
  const int nLast = GetFilterCount(&stream) - 1;
  if (nSize == 0)
    return {};
  if (nLast >= 0 && IsFax(GetFilterName(&stream, nLast)))
    return DecodeFax(stream, nLast, nSize) ? m_rows.GetSpan() : std::span<const unsigned char>();
  if (m_decoder.Decode(stream) != CStreamDecoder::TResult::Decoded || !m_decoder.HasData() ||
      m_decoder.GetData().size() < nSize)
    return {};
  return m_decoder.GetData().first(nSize);
}

bool CBitonalStreamRecoder::DecodeFax(CObject& stream, int nFilter, std::size_t nSize)
{
  if (m_decoder.DecodeFilters(stream, nFilter) != CStreamDecoder::TResult::Decoded || !m_decoder.HasData())
    return false;
  const CObjectPtr parameters = GetFilterParameters(&stream, nFilter);
  const CImageDictionary image(&stream);
  if (GetFilterParameter(parameters, "Columns", BSE::CCCITTFaxParameters().Columns) != image.GetWidth())
    return false;
  const BSE::CErrorSuppressor quiet(stream.OnGetErrorHandler());
  const std::span<const unsigned char> data = m_decoder.GetData();
  const CStreamPtr pSource(new BSE::CMemoryStream(data.data(), std::ssize(data)));
  const TFilterRow* pRow = FindFilter(GetImageFilters(), "CCITTFaxDecode");
  const CStreamPtr pRows = pRow->m_pCreateDecoder(pSource.Get(), &stream, parameters);
  if (!pRows || !pRows->IsValid())
    return false;
  m_rows.SetSize(static_cast<int>(nSize));
  return pRows->ReadAll(m_rows.GetData(), m_rows.GetSize()) == m_rows.GetSize() && !BSE::HasGap(pRows.Get());
}

bool CBitonalStreamRecoder::Decodes(CObject& stream, std::span<const unsigned char> rows)
{
  const BSE::CErrorSuppressor quiet(stream.OnGetErrorHandler());
  const CStreamPtr pSource(new BSE::CMemoryStream(m_best.GetData(), m_best.GetSize()));
  const CStreamPtr pRows =
      FindFilter(GetImageFilters(), m_szBest)->m_pCreateDecoder(pSource.Get(), &stream, m_bestParameters);
  const int nWidth = CImageDictionary(&stream).GetWidth();
  const auto nRowSize = (static_cast<std::size_t>(nWidth) + 7) / 8;
  // Bits after the last pixel of a row mean nothing.
  const int nFill = static_cast<int>(nRowSize * 8) - nWidth;
  BSE::CBasicArray<unsigned char> decoded;
  decoded.SetSize(static_cast<int>(rows.size()));
  if (!pRows || !pRows->IsValid() ||
      pRows->ReadAll(decoded.GetData(), decoded.GetSize()) != decoded.GetSize() || BSE::HasGap(pRows.Get()))
    return false;
  const std::span<const unsigned char> result = decoded.GetSpan();
  for (std::size_t i = 0; i < rows.size(); i += nRowSize)
  {
    const std::size_t nLast = i + nRowSize - 1;
    if (std::memcmp(result.data() + i, rows.data() + i, nRowSize - 1) != 0 ||
        result[nLast] >> nFill != rows[nLast] >> nFill)
      return false;
  }
  return true;
}

void CBitonalStreamRecoder::Try(CObject& stream, const char* szFilter, const CObjectPtr& parameters,
                                std::span<const unsigned char> rows)
{
  const BSE::CErrorSuppressor quiet(stream.OnGetErrorHandler());
  const BSE::CObjectPtr<BSE::CMemoryStream> pEncoded(new BSE::CMemoryStream);
  CObjectPtr written = parameters;
  const CStreamPtr pEncoder =
      FindFilter(GetImageFilters(), szFilter)->m_pCreateEncoder(pEncoded.Get(), &stream, written);
  if (!pEncoder || !pEncoder->IsValid() || !pEncoder->WriteAll(rows.data(), std::ssize(rows)) ||
      !CloseEncodeChain(pEncoder.Get()))
    return;
  const std::size_t nCost =
      MeasureFilter(szFilter, written) + static_cast<std::size_t>(pEncoded->GetLength());
  BSE::CBasicArray<unsigned char> encoded;
  if (nCost >= m_nBestCost || !pEncoded->Rewind() || !pEncoded->ReadToArray(encoded))
    return;
  m_best = std::move(encoded);
  m_nBestCost = nCost;
  m_bestParameters = written;
  m_szBest = szFilter;
}

}  // namespace PDF
