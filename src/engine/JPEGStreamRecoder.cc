#include "engine/JPEGStreamRecoder.h"

#include "engine/StreamEncoding.h"
#include "pdf/FilterFactory.h"

namespace PDF
{

bool CJPEGStreamRecoder::Recode(CObject& stream)
{
  const int nLast = GetFilterCount(&stream) - 1;
  const CObjectPtr filter = GetFilterName(&stream, nLast);
  if (nLast < 0 || !filter.IsName("DCTDecode"))
    return false;
  if (m_decoder.DecodeFilters(stream, nLast) != CStreamDecoder::TResult::Decoded || !m_decoder.HasData())
    return false;
  const CObjectPtr parameters = GetFilterParameters(&stream, nLast);
  const std::size_t nPresent = MeasureFilters(stream) + m_decoder.GetEncodedSize();
  const std::size_t nFilter = MeasureFilter("DCTDecode", parameters);
  BSE::CBasicArray<unsigned char> recoded;
  if (nPresent <= nFilter || !m_recoder.Recode(m_decoder.GetData(), nPresent - nFilter, recoded))
    return false;
  ReplaceEncoding(stream, "DCTDecode", parameters, recoded.GetSpan());
  return true;
}

}  // namespace PDF
