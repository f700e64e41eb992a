#pragma once

#include "base/BasicArray.h"

namespace PDF
{

// Remembers what pixels became, for conversions that are dear: a table in which each pixel has one place, and
// takes it from what was there.
class CRowMemo
{
public:
  // Bytes that a memo takes.
  static int GetMemory(int nKeyBytes) { return g_nPlaces * (nKeyBytes + g_nMaxResult + 1); }

  // Forgets all; a result has nResultBytes, 4 at most.
  void Start(int nKeyBytes, int nResultBytes);
  bool IsStarted(int nResultBytes) const { return m_nResult == nResultBytes; }

  // The result, or null.
  const unsigned char* Find(const unsigned char* pKey) const;
  void Store(const unsigned char* pKey, const unsigned char* pResult);

private:
  static constexpr int g_nPlaces = 4096;
  static constexpr int g_nMaxResult = 4;

  int GetPlace(const unsigned char* pKey) const;

  BSE::CBasicArray<unsigned char> m_places;  // used, key, result
  int m_nKey = 0;
  int m_nResult = 0;
};

}  // namespace PDF
