#include "images/FilterRows.h"
#include "images/ImageDictionary.h"
#include "images/filters/CCITTFaxDecodeFilter.h"
#include "images/filters/CCITTFaxEncodeFilter.h"

namespace PDF
{

namespace
{

using CStreamPtr = BSE::CObjectPtr<BSE::IByteStream>;

// ISO 32000-1, Table 11.
BSE::CCCITTFaxParameters ReadParameters(const CObjectPtr& parameters)
{
  BSE::CCCITTFaxParameters fax;
  const auto get = [&](const char* szKey, int nDefault)
  { return GetFilterParameter(parameters, szKey, nDefault); };
  fax.K = get("K", fax.K);
  fax.Columns = get("Columns", fax.Columns);
  fax.Rows = get("Rows", fax.Rows);
  fax.DamagedRowsBeforeError = get("DamagedRowsBeforeError", fax.DamagedRowsBeforeError);
  fax.BlackIs1 = GetFilterFlag(parameters, "BlackIs1", fax.BlackIs1);
  fax.EncodedByteAlign = GetFilterFlag(parameters, "EncodedByteAlign", fax.EncodedByteAlign);
  fax.EndOfLine = GetFilterFlag(parameters, "EndOfLine", fax.EndOfLine);
  fax.EndOfBlock = GetFilterFlag(parameters, "EndOfBlock", fax.EndOfBlock);
  return fax;
}

CStreamPtr CreateDecoder(BSE::IByteStream* pSource, CObject* pStream, const CObjectPtr& parameters)
{
  BSE::CCCITTFaxParameters fax = ReadParameters(parameters);
  const int nHeight = CImageDictionary(pStream).GetHeight();
  if (fax.Rows == 0 && !fax.EndOfBlock)
    fax.Rows = nHeight;
  // The end of the block overrides the rows, which matters where the image has more.
  else if (fax.Rows > 0 && fax.Rows < nHeight && fax.EndOfBlock)
    fax.Rows = 0;
  return new BSE::CCCITTFaxDecodeFilter(pSource, fax, pStream);
}

CStreamPtr CreateEncoder(BSE::IByteStream* pSink, CObject* pStream, CObjectPtr& parameters)
{
  BSE::CCCITTFaxParameters fax = ReadParameters(parameters);
  if (fax.Rows == 0)
    fax.Rows = CImageDictionary(pStream).GetHeight();
  return new BSE::CCCITTFaxEncodeFilter(pSink, fax, pStream);
}

}  // namespace

const TFilterRow g_faxRow = {"CCITTFaxDecode", "CCF", CreateDecoder, CreateEncoder};

}  // namespace PDF
