#pragma once

#include "base/ErrorHandler.h"

namespace PDF
{

// One distinct error: equal code, page, message and file are one record.
struct TErrorRecord
{
  TErrorRecord* m_pNext = nullptr;  // the recorder's group when the record was made
  BSE::CStr16 m_szMessage;          // rendered, at most 511 units
  unsigned m_nCode = 0;
  BSE::CStr16 m_szContext;  // property ContextDesc, of the first error that had one
  long long m_nPage = 0;    // property Page No., 0 without
  long long m_nObject = 0;  // property Object No., of the first error or of the one that gave the context
  int m_nCount = 0;         // how often the error came
  BSE::CStr16 m_szFile;     // property File, "(null)" without
};

enum class TRecordOrder
{
  Report = 1,    // page, object, code, message, file
  Recording = 2  // code, page, message, file
};

// Observer that keeps each distinct error of a handler once, with a count.
class CErrorRecorder : public BSE::IErrorObserver
{
public:
  CErrorRecorder() = default;
  ~CErrorRecorder() override { RemoveAll(); }
  CErrorRecorder(const CErrorRecorder&) = delete;
  CErrorRecorder& operator=(const CErrorRecorder&) = delete;

  void OnError(BSE::CScopedPtr<BSE::IError> pError) override;

  // Brings the records into an order, in which GetAt then counts until the next error.
  void Sort(TRecordOrder order);

  int GetSize() const { return m_records.GetSize(); }

  // Borrowed, until RemoveAll; null for an index out of range.
  const TErrorRecord* GetAt(int nIndex) const { return m_records[nIndex]; }

  void RemoveAll();

  // Records made from here on link to this one; borrowed, null for none.
  void SetGroup(TErrorRecord* pGroup) { m_pGroup = pGroup; }

private:
  BSE::CPtrArray<TErrorRecord> m_records;
  BSE::CBasicMap m_index;  // bytes of code, page, message and file to the record
  TErrorRecord* m_pGroup = nullptr;
};

}  // namespace PDF
