#pragma once

#include "base/BasicArray.h"

namespace PDF
{

class CFile;

// Object numbers of one source file to those of a destination, or to another number, 0 where unmapped. Two
// levels: pages of 2048 numbers are allocated when first written.
class CObjectMap
{
public:
  explicit CObjectMap(CFile* pSource) : m_pSource(pSource) {}
  CObjectMap(const CObjectMap&) = delete;
  CObjectMap& operator=(const CObjectMap&) = delete;
  ~CObjectMap() { RemoveAll(); }

  CFile* GetSource() const { return m_pSource; }
  int GetAt(int nSource) const;

  // Numbers below 1 are ignored.
  void SetAt(int nSource, int nTarget);
  void RemoveAll();

private:
  static constexpr int g_nPageSize = 2048;

  CFile* m_pSource;
  BSE::CPtrArray<int> m_pages;
};

}  // namespace PDF
