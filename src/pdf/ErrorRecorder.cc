#include "pdf/ErrorRecorder.h"

#include <algorithm>
#include <compare>

namespace PDF
{

namespace
{

constexpr int g_nMaxMessage = 512;

long long GetNumber(const BSE::CErrorProperties* pProperties, const char* szName)
{
  const BSE::CErrorProperty* pProperty = pProperties ? pProperties->Find(szName) : nullptr;
  return pProperty ? pProperty->GetValue() : 0;
}

const char16_t* GetText(const BSE::CErrorProperties* pProperties, const char* szName,
                        const char16_t* szDefault)
{
  const BSE::CErrorProperty* pProperty = pProperties ? pProperties->Find(szName) : nullptr;
  return pProperty ? pProperty->GetText() : szDefault;
}

void AppendBytes(const void* pBytes, std::size_t nLength, BSE::CBasicArray<unsigned char>& key)
{
  key.Append({static_cast<const unsigned char*>(pBytes), nLength});
}

void MakeKey(const TErrorRecord& record, BSE::CBasicArray<unsigned char>& key)
{
  AppendBytes(&record.m_nCode, sizeof(record.m_nCode), key);
  AppendBytes(&record.m_nPage, sizeof(record.m_nPage), key);
  for (const BSE::CStr16* pText : {&record.m_szMessage, &record.m_szFile})
    AppendBytes(pText->GetText(), (pText->GetSpan().size() + 1) * sizeof(char16_t), key);
}

template <class V>
int CompareNumbers(V a, V b)
{
  return a < b ? -1 : (b < a ? 1 : 0);
}

int CompareTexts(const BSE::CStr16& a, const BSE::CStr16& b)
{
  const auto spanA = a.GetSpan();
  const auto spanB = b.GetSpan();
  const auto order =
      std::lexicographical_compare_three_way(spanA.begin(), spanA.end(), spanB.begin(), spanB.end());
  return std::is_lt(order) ? -1 : (std::is_gt(order) ? 1 : 0);
}

int CompareMessages(const TErrorRecord& a, const TErrorRecord& b)
{
  const int nOrder = CompareTexts(a.m_szMessage, b.m_szMessage);
  return nOrder != 0 ? nOrder : CompareTexts(a.m_szFile, b.m_szFile);
}

int CompareForRecording(const void* pA, const void* pB)
{
  const TErrorRecord& a = **static_cast<TErrorRecord* const*>(pA);
  const TErrorRecord& b = **static_cast<TErrorRecord* const*>(pB);
  if (a.m_nCode != b.m_nCode)
    return CompareNumbers(a.m_nCode, b.m_nCode);
  return a.m_nPage != b.m_nPage ? CompareNumbers(a.m_nPage, b.m_nPage) : CompareMessages(a, b);
}

int CompareForReport(const void* pA, const void* pB)
{
  const TErrorRecord& a = **static_cast<TErrorRecord* const*>(pA);
  const TErrorRecord& b = **static_cast<TErrorRecord* const*>(pB);
  if (a.m_nPage != b.m_nPage)
    return CompareNumbers(a.m_nPage, b.m_nPage);
  return a.m_nObject != b.m_nObject ? CompareNumbers(a.m_nObject, b.m_nObject) : CompareForRecording(pA, pB);
}

}  // namespace

void CErrorRecorder::OnError(BSE::CScopedPtr<BSE::IError> pError)
{
  if (!pError)
    return;
  char16_t szMessage[g_nMaxMessage] = {};
  pError->GetMessage(szMessage, g_nMaxMessage);
  const BSE::CErrorProperties* pProperties = pError->GetProperties();
  const long long nObject = GetNumber(pProperties, "Object No.");
  const char16_t* szContext = GetText(pProperties, "ContextDesc", nullptr);

  BSE::CScopedPtr<TErrorRecord> pNew(new TErrorRecord);
  pNew->m_pNext = m_pGroup;
  pNew->m_szMessage.Assign(szMessage);
  pNew->m_nCode = pError->GetCode();
  pNew->m_szContext.Assign(szContext);
  pNew->m_nPage = GetNumber(pProperties, "Page No.");
  pNew->m_nObject = nObject;
  pNew->m_nCount = 1;
  pNew->m_szFile.Assign(GetText(pProperties, "File", u"(null)"));

  BSE::CBasicArray<unsigned char> key;
  MakeKey(*pNew, key);
  const int nPos = m_index.Lookup(key.GetData(), key.GetSpan().size());
  if (nPos < 0)
  {
    m_records.Add(pNew.Get());
    m_index.SetAt(key.GetData(), key.GetSpan().size(), pNew.Detach());
    return;
  }
  auto& known = *static_cast<TErrorRecord*>(m_index.GetValue(nPos));
  ++known.m_nCount;
  if (known.m_szContext.IsEmpty() && szContext)
  {
    known.m_szContext.Assign(szContext);
    known.m_nObject = nObject;
  }
}

void CErrorRecorder::Sort(TRecordOrder order)
{
  m_records.Sort(order == TRecordOrder::Report ? &CompareForReport : &CompareForRecording);
}

void CErrorRecorder::RemoveAll()
{
  for (TErrorRecord* pRecord : m_records.GetSpan())
    delete pRecord;
  m_records.RemoveAll();
  m_index.RemoveAll();
}

}  // namespace PDF
