#pragma once

#include "base/PagedArray.h"

namespace PDF
{

class CFile;

// Object numbers of one source file to those of a destination, or to another number, 0 where unmapped.
class CObjectMap
{
public:
  explicit CObjectMap(CFile* pSource) : m_pSource(pSource) {}
  CObjectMap(const CObjectMap&) = delete;
  CObjectMap& operator=(const CObjectMap&) = delete;

  CFile* GetSource() const { return m_pSource; }
  int GetAt(int nSource) const { return m_targets[nSource]; }

  // Numbers below 1 are ignored.
  void SetAt(int nSource, int nTarget);
  void RemoveAll() { m_targets.RemoveAll(); }

private:
  CFile* m_pSource;
  BSE::CPagedArray<int, 64> m_targets;
};

}  // namespace PDF
