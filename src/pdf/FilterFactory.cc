#include "pdf/FilterFactory.h"

#include "base/EncodeFilter.h"
#include "base/Limits.h"
#include "pdf/ArrayObject.h"
#include "pdf/DictionaryObject.h"
#include "pdf/File.h"
#include "pdf/FilterTable.h"
#include "pdf/SimpleObjects.h"

namespace PDF
{

namespace
{

using CStreamPtr = BSE::CObjectPtr<BSE::IByteStream>;

// Filters of bytes first, then those that the stream's file has been given.
const TFilterRow* FindRow(CObject* pStream, const char* szName)
{
  if (const TFilterRow* pRow = FindFilter(GetByteFilters(), szName))
    return pRow;
  const CFile* pFile = pStream ? pStream->GetFile() : nullptr;
  return pFile ? FindFilter(pFile->GetImageFilters(), szName) : nullptr;
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
  const TFilterRow* pRow = FindRow(pStream, szName);
  return pRow ? pRow->m_pCreateDecoder(pSource, pStream, parameters) : CStreamPtr();
}

CStreamPtr CreateEncodeFilter(BSE::IByteStream* pSink, const char* szName, CObject* pStream,
                              CObjectPtr& parameters)
{
  if (!BSE::IsObjectAddress(pSink) || !pSink->IsValid())
    return nullptr;
  const TFilterRow* pRow = FindRow(pStream, szName);
  return pRow && pRow->m_pCreateEncoder ? pRow->m_pCreateEncoder(pSink, pStream, parameters) : CStreamPtr();
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
  // A single dictionary with an array of filters is meant for whichever filter knows its keys.
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
