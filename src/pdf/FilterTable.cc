#include "pdf/FilterTable.h"

#include "base/Checked.h"
#include "base/Tracer.h"
#include "images/filters/ASCII85DecodeFilter.h"
#include "images/filters/ASCII85EncodeFilter.h"
#include "images/filters/ASCIIHexDecodeFilter.h"
#include "images/filters/ASCIIHexEncodeFilter.h"
#include "images/filters/FlateDecodeFilter.h"
#include "images/filters/FlateEncodeFilter.h"
#include "images/filters/LZWDecodeFilter.h"
#include "images/filters/LZWEncodeFilter.h"
#include "images/filters/PredictionDecodeFilter.h"
#include "images/filters/RunLengthDecodeFilter.h"
#include "images/filters/RunLengthEncodeFilter.h"

namespace PDF
{

namespace
{

using CStreamPtr = BSE::CObjectPtr<BSE::IByteStream>;

CStreamPtr AddPrediction(const CStreamPtr& pSource, CObject* pStream, const CObjectPtr& parameters)
{
  BSE::CPredictionParameters prediction;
  const auto get = [&](const char* szKey, int nDefault)
  { return GetFilterParameter(parameters, szKey, nDefault); };
  prediction.Predictor = get("Predictor", prediction.Predictor);
  if (prediction.Predictor <= BSE::g_nPredictorNone)
    return pSource;
  prediction.Colors = get("Colors", prediction.Colors);
  prediction.Columns = get("Columns", prediction.Columns);
  prediction.BitsPerComponent = get("BitsPerComponent", prediction.BitsPerComponent);
  return new BSE::CPredictionDecodeFilter(pSource.Get(), prediction, pStream);
}

// A decoder that needs nothing but its source.
template <class T>
CStreamPtr CreateDecoder(BSE::IByteStream* pSource, CObject* pStream, const CObjectPtr& /*parameters*/)
{
  return new T(pSource, pStream);
}

// An encoder whose data have no parameters.
template <class T>
CStreamPtr CreateEncoder(BSE::IByteStream* pSink, CObject* pStream, CObjectPtr& parameters)
{
  parameters.Reset();
  return new T(pSink, pStream);
}

CStreamPtr CreateLZWDecoder(BSE::IByteStream* pSource, CObject* pStream, const CObjectPtr& parameters)
{
  BSE::CLZWParameters lzw;
  lzw.EarlyChange = GetFilterParameter(parameters, "EarlyChange", lzw.EarlyChange);
  return AddPrediction(new BSE::CLZWDecodeFilter(pSource, lzw, pStream), pStream, parameters);
}

CStreamPtr CreateFlateDecoder(BSE::IByteStream* pSource, CObject* pStream, const CObjectPtr& parameters)
{
  return AddPrediction(new BSE::CFlateDecodeFilter(pSource, pStream), pStream, parameters);
}

CStreamPtr PassThroughCrypt(BSE::IByteStream* pSource, CObject* /*pStream*/, const CObjectPtr& parameters)
{
  const CObjectPtr name = parameters["Name"];
  if (!name.IsName() || name.IsName("Identity"))
    return pSource;
  if (BSE::CTracer::IsOn())
    BSE::CTracer::Trace("E", "PDF Filter", "Crypt filter not supported.");
  return nullptr;
}

constexpr TFilterRow g_byteFilters[] = {
    {"FlateDecode", "Fl", CreateFlateDecoder, CreateEncoder<BSE::CFlateEncodeFilter>},
    {"LZWDecode", "LZW", CreateLZWDecoder, CreateEncoder<BSE::CLZWEncodeFilter>},
    {"ASCII85Decode", "A85", CreateDecoder<BSE::CASCII85DecodeFilter>,
     CreateEncoder<BSE::CASCII85EncodeFilter>},
    {"ASCIIHexDecode", "AHx", CreateDecoder<BSE::CASCIIHexDecodeFilter>,
     CreateEncoder<BSE::CASCIIHexEncodeFilter>},
    {"RunLengthDecode", "RL", CreateDecoder<BSE::CRunLengthDecodeFilter>,
     CreateEncoder<BSE::CRunLengthEncodeFilter>},
    {"Crypt", nullptr, PassThroughCrypt, nullptr},
};

}  // namespace

CFilterTable GetByteFilters()
{
  return g_byteFilters;
}

const TFilterRow* FindFilter(CFilterTable table, const char* szName)
{
  for (const TFilterRow& row : table)
    if (KeyEquals(szName, row.m_szName) || (row.m_szShort && KeyEquals(szName, row.m_szShort)))
      return &row;
  return nullptr;
}

int GetFilterParameter(const CObjectPtr& parameters, const char* szKey, int nDefault)
{
  return BSE::ClampTo<int>(GetIntegerOr(parameters[szKey], nDefault));
}

}  // namespace PDF
