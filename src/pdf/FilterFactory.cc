#include "pdf/FilterFactory.h"

#include "base/Checked.h"
#include "base/EncodeFilter.h"
#include "base/Limits.h"
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
#include "pdf/ArrayObject.h"
#include "pdf/DictionaryObject.h"
#include "pdf/SimpleObjects.h"

namespace PDF
{

namespace
{

using CStreamPtr = BSE::CObjectPtr<BSE::IByteStream>;

enum TFilterKind
{
  eFilterUnknown,
  eFilterASCIIHex,
  eFilterASCII85,
  eFilterRunLength,
  eFilterLZW,
  eFilterFlate,
  eFilterCrypt
};

TFilterKind GetFilterKind(const char* szName)
{
  static constexpr struct
  {
    const char* m_szName;
    const char* m_szShort;
    TFilterKind m_nKind;
  } filters[] = {{"FlateDecode", "Fl", eFilterFlate},         {"LZWDecode", "LZW", eFilterLZW},
                 {"ASCII85Decode", "A85", eFilterASCII85},    {"ASCIIHexDecode", "AHx", eFilterASCIIHex},
                 {"RunLengthDecode", "RL", eFilterRunLength}, {"Crypt", "Crypt", eFilterCrypt}};
  for (const auto& filter : filters)
    if (KeyEquals(szName, filter.m_szName) || KeyEquals(szName, filter.m_szShort))
      return filter.m_nKind;
  return eFilterUnknown;
}

int GetParameter(const CObjectPtr& parameters, const char* szKey, int nDefault)
{
  return BSE::ClampTo<int>(GetIntegerOr(parameters[szKey], nDefault));
}

CStreamPtr AddPrediction(const CStreamPtr& pSource, CObject* pStream, const CObjectPtr& parameters)
{
  BSE::CPredictionParameters prediction;
  prediction.Predictor = GetParameter(parameters, "Predictor", prediction.Predictor);
  if (prediction.Predictor <= BSE::g_nPredictorNone)
    return pSource;
  prediction.Colors = GetParameter(parameters, "Colors", prediction.Colors);
  prediction.Columns = GetParameter(parameters, "Columns", prediction.Columns);
  prediction.BitsPerComponent = GetParameter(parameters, "BitsPerComponent", prediction.BitsPerComponent);
  return new BSE::CPredictionDecodeFilter(pSource.Get(), prediction, pStream);
}

CStreamPtr PassThroughCrypt(BSE::IByteStream* pSource, const CObjectPtr& parameters)
{
  const CObjectPtr name = parameters["Name"];
  if (!name.IsName() || name.IsName("Identity"))
    return pSource;
  if (BSE::CTracer::IsOn())
    BSE::CTracer::Trace("E", "PDF Filter", "Crypt filter not supported.");
  return nullptr;
}

// Full key, or the short one of inline images.
CObjectPtr GetEither(CObject* pStream, const char* szKey, const char* szShort)
{
  if (!pStream)
    return nullptr;
  CObjectPtr value = pStream->GetEntry(szKey);
  return value ? value : pStream->GetEntry(szShort);
}

void StoreParameters(CObject& stream, const BSE::CObjectArray<CObject>& parameters)
{
  bool bAny = false;
  for (int i = 0; i < parameters.GetSize(); ++i)
    bAny |= parameters[i] != nullptr;
  stream.DeleteEntry("DP");
  if (!bAny)
  {
    stream.DeleteEntry("DecodeParms");
    return;
  }
  if (!GetEither(&stream, "Filter", "F").IsArray())
  {
    stream.AddEntry("DecodeParms", parameters[0]);
    return;
  }
  const CObjectPtr array = new CArrayObject;
  for (int i = 0; i < parameters.GetSize(); ++i)
    array->Add(parameters[i]);
  stream.AddEntry("DecodeParms", array.Get());
}

}  // namespace

CStreamPtr CreateDecodeFilter(BSE::IByteStream* pSource, const char* szName, CObject* pStream,
                              const CObjectPtr& parameters)
{
  if (!BSE::IsObjectAddress(pSource) || !pSource->IsValid())
    return nullptr;
  switch (GetFilterKind(szName))
  {
  case eFilterASCIIHex:
    return new BSE::CASCIIHexDecodeFilter(pSource, pStream);
  case eFilterASCII85:
    return new BSE::CASCII85DecodeFilter(pSource, pStream);
  case eFilterRunLength:
    return new BSE::CRunLengthDecodeFilter(pSource, pStream);
  case eFilterLZW:
  {
    BSE::CLZWParameters lzw;
    lzw.EarlyChange = GetParameter(parameters, "EarlyChange", lzw.EarlyChange);
    return AddPrediction(new BSE::CLZWDecodeFilter(pSource, lzw, pStream), pStream, parameters);
  }
  case eFilterFlate:
    return AddPrediction(new BSE::CFlateDecodeFilter(pSource, pStream), pStream, parameters);
  case eFilterCrypt:
    return PassThroughCrypt(pSource, parameters);
  case eFilterUnknown:
    break;
  }
  return nullptr;
}

CStreamPtr CreateEncodeFilter(BSE::IByteStream* pSink, const char* szName, CObject* pStream,
                              CObjectPtr& parameters)
{
  if (!BSE::IsObjectAddress(pSink) || !pSink->IsValid())
    return nullptr;
  CStreamPtr pFilter;
  switch (GetFilterKind(szName))
  {
  case eFilterASCIIHex:
    pFilter = new BSE::CASCIIHexEncodeFilter(pSink, pStream);
    break;
  case eFilterASCII85:
    pFilter = new BSE::CASCII85EncodeFilter(pSink, pStream);
    break;
  case eFilterRunLength:
    pFilter = new BSE::CRunLengthEncodeFilter(pSink, pStream);
    break;
  case eFilterLZW:
    pFilter = new BSE::CLZWEncodeFilter(pSink, pStream);
    break;
  case eFilterFlate:
    pFilter = new BSE::CFlateEncodeFilter(pSink, pStream);
    break;
  case eFilterCrypt:
  case eFilterUnknown:
    return nullptr;
  }
  parameters.Reset();
  return pFilter;
}

int GetFilterCount(CObject* pStream)
{
  const CObjectPtr filter = GetEither(pStream, "Filter", "F");
  if (filter.IsArray())
    return filter.GetSize();
  return filter.IsName() ? 1 : 0;
}

CObjectPtr GetFilterName(CObject* pStream, int nIndex)
{
  CObjectPtr filter = GetEither(pStream, "Filter", "F");
  if (filter.IsArray())
    filter = filter[nIndex];
  else if (nIndex != 0)
    return nullptr;
  return filter.IsName() ? filter : CObjectPtr();
}

CObjectPtr GetFilterParameters(CObject* pStream, int nIndex)
{
  CObjectPtr parameters = GetEither(pStream, "DecodeParms", "DP");
  if (parameters.IsArray())
    parameters = parameters[nIndex];
  // A dictionary beside an array of filters is meant for whichever filter knows its keys.
  return parameters.IsDictionary() ? parameters : CObjectPtr();
}

CStreamPtr CreateDecodeChain(BSE::IByteStream* pSource, CObject* pStream)
{
  const int nCount = GetFilterCount(pStream);
  if (nCount > BSE::g_nMaxFilters)
    return nullptr;
  CStreamPtr pChain = pSource;
  for (int i = 0; i < nCount && pChain; ++i)
    pChain = CreateDecodeFilter(pChain.Get(), GetFilterName(pStream, i).GetNameValue(), pStream,
                                GetFilterParameters(pStream, i));
  return pChain;
}

CStreamPtr CreateEncodeChain(BSE::IByteStream* pSink, CObject* pStream)
{
  const int nCount = GetFilterCount(pStream);
  if (nCount > BSE::g_nMaxFilters)
    return nullptr;
  if (nCount == 0)
    return pSink;
  CStreamPtr pChain = pSink;
  BSE::CObjectArray<CObject> written;
  // The filter that decodes first is the last to encode.
  for (int i = 0; i < nCount; ++i)
  {
    CObjectPtr parameters = GetFilterParameters(pStream, i);
    pChain = CreateEncodeFilter(pChain.Get(), GetFilterName(pStream, i).GetNameValue(), pStream, parameters);
    if (!pChain)
      return nullptr;
    written.Add(parameters.Get());
  }
  StoreParameters(*pStream, written);
  return pChain;
}

bool CloseEncodeChain(BSE::IByteStream* pFirst)
{
  auto* pEncoder = dynamic_cast<BSE::CEncodeFilter*>(pFirst);
  return !pEncoder || pEncoder->Close();
}

bool IsPlainByFilter(CObject* pStream)
{
  if (!GetFilterName(pStream, 0).IsName("Crypt"))
    return false;
  const CObjectPtr name = GetFilterParameters(pStream, 0)["Name"];
  return !name.IsName() || name.IsName("Identity");
}

CObjectPtr GetCryptFilterName(CObject* pStream)
{
  if (!GetFilterName(pStream, 0).IsName("Crypt"))
    return nullptr;
  CObjectPtr name = GetFilterParameters(pStream, 0)["Name"];
  return name.IsName() ? name : CObjectPtr();
}

void InsertCryptFilter(CObject& dictionary, const char* szName)
{
  const CObjectPtr cryptParameters = new CDictionaryObject;
  cryptParameters->AddEntry("Name", new CNameObject(szName));
  const CObjectPtr filters = new CArrayObject;
  const CObjectPtr parameters = new CArrayObject;
  filters->Add(new CNameObject("Crypt"));
  parameters->Add(cryptParameters.Get());
  const int nCount = GetFilterCount(&dictionary);
  for (int i = 0; i < nCount; ++i)
  {
    filters->Add(GetFilterName(&dictionary, i).Get());
    parameters->Add(GetFilterParameters(&dictionary, i).Get());
  }
  for (const char* szKey : {"F", "DP"})
    if (nCount > 0)
      dictionary.DeleteEntry(szKey);
  dictionary.AddEntry("Filter", filters.Get());
  dictionary.AddEntry("DecodeParms", parameters.Get());
}

void RemoveFirstFilter(CObject& dictionary)
{
  const bool bLast = GetFilterCount(&dictionary) <= 1;
  for (const auto& [szKey, szShort] : {std::pair("Filter", "F"), std::pair("DecodeParms", "DP")})
  {
    const char* szFound = dictionary.GetEntry(szKey) ? szKey : szShort;
    const CObjectPtr value = dictionary.GetEntry(szFound);
    if (bLast)
      dictionary.DeleteEntry(szFound);
    if (bLast || !value.IsArray())
      continue;
    const CObjectPtr rest = new CArrayObject;
    for (int i = 1; i < value.GetSize(); ++i)
      rest->Add(value[i].Get());
    dictionary.AddEntry(szFound, rest.Get());
  }
}

}  // namespace PDF
