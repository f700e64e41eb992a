#pragma once

#include "base/BasicMap.h"
#include "pdf/Object.h"

namespace PDF
{

// Dictionary (ISO 32000-1, 7.3.7). Keeps the key order of the file and a reference on each value.
class CDictionaryObject : public CObject
{
public:
  CDictionaryObject() = default;
  ~CDictionaryObject() override;

  TObjectType GetType() override { return eDictionary; }
  CObject* Clone() override;
  bool IsDictionary() override { return true; }
  CObjectPtr GetEntry(const char* szKey) override;
  int GetIndex(const char* szKey) override;
  int GetBegin() override { return GetNext(-1); }
  int GetNext(int nPos) override;
  int GetEnd() override { return m_entries.GetEnd(); }
  const char* GetKey(int nPos) override { return static_cast<const char*>(m_entries.GetKey(nPos)); }
  CObjectPtr GetValue(int nPos) override { return static_cast<CObject*>(m_entries.GetValue(nPos)); }
  bool AddEntry(const char* szKey, const CObjectPtr& value) override;
  void DeleteEntry(const char* szKey) override;

  // The value without a reference of its own, for walks that change nothing.
  CObject* PeekValue(int nPos) const { return static_cast<CObject*>(m_entries.GetValue(nPos)); }

private:
  BSE::CBasicMap m_entries;
};

}  // namespace PDF
