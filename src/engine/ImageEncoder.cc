#include "engine/ImageEncoder.h"

#include "base/Tracer.h"
#include "engine/StreamEncoding.h"
#include "images/ImageFilters.h"
#include "pdf/ArrayObject.h"
#include "pdf/DictionaryObject.h"
#include "pdf/FilterFactory.h"
#include "pdf/FilterTable.h"
#include "pdf/SimpleObjects.h"
#include "pdf/StreamObjects.h"

#include <algorithm>
#include <limits>

namespace PDF
{

namespace
{

using CStreamPtr = BSE::CObjectPtr<BSE::IByteStream>;

CObjectPtr MakeParameters(std::initializer_list<std::pair<const char*, int>> entries)
{
  CObjectPtr parameters(new CDictionaryObject);
  for (const auto& [szKey, nValue] : entries)
    parameters.AddEntry(szKey, new CIntegerObject(nValue));
  return parameters;
}

// For data that tells at which size it is shown.
CObjectPtr MakeResolution(const TImageSamples& samples)
{
  CObjectPtr parameters(new CDictionaryObject);
  parameters.AddEntry("ResolutionX", new CRealObject(samples.m_dResolutionX));
  parameters.AddEntry("ResolutionY", new CRealObject(samples.m_dResolutionY));
  return parameters;
}

// Encoders of pictures take whole rows.
bool Pump(const TImageSamples& samples, BSE::IByteStream& target)
{
  constexpr std::int64_t nBlock = 64 << 10;
  const std::int64_t nRowSize = samples.m_pData->GetLength() / samples.m_nHeight;
  BSE::CBasicArray<unsigned char> rows;
  rows.SetSize(static_cast<int>(nRowSize * std::max<std::int64_t>(nBlock / nRowSize, 1)));
  if (!samples.m_pData->Rewind())
    return false;
  for (std::int64_t nLeft = samples.m_pData->GetLength(); nLeft > 0;)
  {
    const std::int64_t nRead = samples.m_pData->ReadFully(rows.GetData(), rows.GetSize());
    if (nRead <= 0 || !target.WriteAll(rows.GetData(), nRead))
      return false;
    nLeft -= nRead;
  }
  return true;
}

}  // namespace

void TEncodedImage::Apply(CObject& image) const
{
  image.DeleteEntry("F");
  image.DeleteEntry("DP");
  const CObjectPtr filter = m_szFilter ? CObjectPtr(new CNameObject(m_szFilter)) : CObjectPtr();
  if (m_szOuter)
  {
    const CObjectPtr filters(new CArrayObject);
    filters.Add(new CNameObject(m_szOuter));
    filters.Add(filter);
    image.AddEntry("Filter", filters);
  }
  else if (filter)
    image.AddEntry("Filter", filter);
  else
    image.DeleteEntry("Filter");
  CObjectPtr parameters = m_parameters;
  if (parameters && m_szOuter)
  {
    parameters = new CArrayObject;
    parameters.Add(CObjectPtr());
    parameters.Add(m_parameters);
  }
  if (parameters)
    image.AddEntry("DecodeParms", parameters);
  else
    image.DeleteEntry("DecodeParms");
  const BSE::CObjectPtr<CEmbeddedStreamObject> pPart(new CEmbeddedStreamObject(
      new BSE::CMemoryStream(m_data.GetData(), m_data.GetSize()), 0, m_data.GetSize()));
  pPart->SetEncodingFinal();
  image.SetStreamObject(pPart.Get());
}

bool CImageEncoder::Encode(unsigned nFlag, CObject& image, const TImageSamples& samples, bool bReduce,
                           std::int64_t nLimit, TEncodedImage& result)
{
  bool bEncoded = false;
  bool bTooLong = false;
  result.m_space.Reset();
  result.m_nBits = 0;
  switch (nFlag)
  {
  case eCompressionFlagRaw:
    bEncoded = RunFilter(nullptr, image, {}, samples, result);
    break;
  case eCompressionFlagJPEG:
    bEncoded = EncodeDCT(image, samples, result);
    break;
  case eCompressionFlagFlate:
  {
    const TResult outcome = EncodeFlate(image, samples, bReduce, nLimit, result);
    bEncoded = outcome == TResult::Done;
    bTooLong = outcome == TResult::TooLong;
    break;
  }
  case eCompressionFlagLZW:
    bEncoded = RunFilter("LZWDecode", image, {}, samples, result);
    break;
  case eCompressionFlagGroup31D:
    bEncoded = EncodeFax(image, 0, samples, result);
    break;
  case eCompressionFlagGroup3:
    bEncoded = EncodeFax(image, 2, samples, result);
    break;
  case eCompressionFlagGroup4:
    bEncoded = EncodeFax(image, -1, samples, result);
    break;
  case eCompressionFlagJBIG2:
    bEncoded = RunFilter("JBIG2Decode", image, MakeResolution(samples), samples, result);
    break;
  case eCompressionFlagJPEG2000:
    bEncoded = RunFilter("JPXDecode", image, MakeParameters({{"Quality", m_options.m_nImageQuality}}),
                         samples, result);
    break;
  default:
    break;
  }
  if (!bEncoded && !bTooLong)
    BSE::CTracer::Trace("E", "PDF Optimizer", "Failed to encode image.");
  result.m_nFlag = bEncoded ? nFlag : 0;
  return bEncoded;
}

bool CImageEncoder::RunFilter(const char* szFilter, CObject& image, const CObjectPtr& parameters,
                              const TImageSamples& samples, TEncodedImage& result) const
{
  result.m_szOuter = nullptr;
  result.m_szFilter = szFilter;
  result.m_parameters = parameters;
  result.m_data.RemoveAll();
  const BSE::CObjectPtr<BSE::CMemoryStream> pEncoded(new BSE::CMemoryStream);
  CStreamPtr pEncoder = pEncoded;
  if (szFilter)
  {
    const TFilterRow* pRow = FindFilter(GetImageFilters(), szFilter);
    pRow = pRow ? pRow : FindFilter(GetByteFilters(), szFilter);
    pEncoder = pRow && pRow->m_pCreateEncoder
                   ? pRow->m_pCreateEncoder(pEncoded.Get(), &image, result.m_parameters)
                   : nullptr;
  }
  return pEncoder && pEncoder->IsValid() && Pump(samples, *pEncoder) &&
         (!szFilter || CloseEncodeChain(pEncoder.Get())) && pEncoded->Rewind() &&
         pEncoded->ReadToArray(result.m_data);
}

bool CImageEncoder::EncodeFax(CObject& image, int nK, const TImageSamples& samples, TEncodedImage& result)
{
  return RunFilter("CCITTFaxDecode", image, MakeParameters({{"K", nK}, {"Columns", samples.m_nWidth}}),
                   samples, result);
}

CImageEncoder::TResult CImageEncoder::EncodeFlate(CObject& image, const TImageSamples& samples, bool bReduce,
                                                  std::int64_t nLimit, TEncodedImage& result)
{
  const auto nSize = static_cast<std::size_t>(samples.m_pData->GetLength());
  const TSampleForm form = {image.GetEntry("ColorSpace"), samples.m_nWidth, samples.m_nHeight,
                            samples.m_nComponents, samples.m_nBits};
  m_plain.Provide(nSize);
  m_plain.SetSize(nSize);
  if (!form.IsUsable() || !samples.m_pData->Rewind() ||
      samples.m_pData->ReadFully(m_plain.GetRoom().data(), static_cast<std::int64_t>(nSize)) !=
          static_cast<std::int64_t>(nSize) ||
      !m_samples.Take(form, m_plain))
    return TResult::Failed;
  // Entries beside the data count as well.
  constexpr std::int64_t nSlack = 4 << 10;
  nLimit = std::min<std::int64_t>(nLimit, std::numeric_limits<int>::max() - nSlack) + nSlack;
  const bool bShort = m_flate.Encode(m_samples, bReduce, static_cast<std::size_t>(nLimit));
  if (bShort)
    SetFlate(form, result);
  constexpr std::size_t nKept = std::size_t{4} << 20;
  m_flate.Trim();
  m_samples.Take({}, m_plain);
  m_plain.Trim(nKept);
  return bShort ? TResult::Done : TResult::TooLong;
}

void CImageEncoder::SetFlate(const TSampleForm& form, TEncodedImage& result) const
{
  result.m_szOuter = nullptr;
  result.m_szFilter = "FlateDecode";
  result.m_parameters = m_flate.GetParameters();
  result.m_data.RemoveAll();
  result.m_data.Append(m_flate.GetData());
  const TSampleForm& best = m_flate.GetForm();
  if (best.m_nBits != form.m_nBits || best.m_nComponents != form.m_nComponents)
  {
    result.m_space = best.m_space;
    result.m_nBits = best.m_nBits;
  }
}

// Deflated, JPEG data with general tables shrink a little more; those with tables of their own hardly do.
bool CImageEncoder::EncodeDCT(CObject& image, const TImageSamples& samples, TEncodedImage& result)
{
  const CObjectPtr parameters =
      MakeParameters({{"Quality", m_options.m_nImageQuality}, {"FullChroma", samples.m_bFullChroma ? 1 : 0}});
  if (!RunFilter("DCTDecode", image, parameters, samples, result))
    return false;
  BSE::CBasicArray<unsigned char> recoded;
  const auto nSize = static_cast<std::size_t>(result.m_data.GetSize());
  if (m_options.m_bRecodeJPEG && m_recoder.Recode(result.m_data.GetSpan(), nSize, recoded))
    result.m_data = std::move(recoded);
  else if (m_options.m_nFallbackCompression == eCompressionFlate &&
           m_deflater.Deflate(result.m_data.GetSpan(), m_deflater.GetBound(nSize) + 1, m_deflated))
  {
    result.m_data.RemoveAll();
    result.m_data.Append(m_deflated.GetSpan());
    result.m_szOuter = "FlateDecode";
  }
  return true;
}

}  // namespace PDF
