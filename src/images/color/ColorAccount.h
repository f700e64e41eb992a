#pragma once

#include "base/ErrorContext.h"
#include "base/Limits.h"
#include "base/Object.h"

#include <cstdint>

namespace DOC
{

// What the functions and colour spaces of one document may cost, all together: work, counted in units of
// about one arithmetic operation, and bytes of memory. A few bytes of a file can describe a function that
// takes long for each of many pixels, and many such functions; what they may take grows with the file.
class CColorAccount : public BSE::CObject
{
public:
  // The length of the file in bytes; 0 for objects of no file. The context, which may be null, is told of
  // what is found at values that are not objects of their own; it lives longer than all that spends from
  // here.
  explicit CColorAccount(std::int64_t nFileLength = 0, BSE::IErrorContext* pErrorContext = nullptr)
      : m_pErrorContext(pErrorContext),
        m_nWorkLeft(BSE::g_nFreeColorWork + GetShare(nFileLength, BSE::g_nColorWorkRatio)),
        m_nMemoryLeft(BSE::g_nFreeColorMemory + GetShare(nFileLength, BSE::g_nColorMemoryRatio))
  {
  }
  bool IsValid() const override { return true; }

  // False, with nothing spent, if that much is not left.
  bool SpendWork(std::int64_t nUnits) { return Spend(m_nWorkLeft, nUnits); }
  bool SpendMemory(std::int64_t nBytes) { return Spend(m_nMemoryLeft, nBytes); }

  // Of functions that could not be evaluated for some of their inputs, and gave what they had.
  void NoteFailure() { ++m_nFailures; }
  std::int64_t GetFailures() const { return m_nFailures; }

  BSE::IErrorContext* GetErrorContext() const { return m_pErrorContext; }

private:
  static std::int64_t GetShare(std::int64_t nLength, std::int64_t nRatio)
  {
    constexpr std::int64_t nMax = std::int64_t{1} << 40;
    return (nLength < 0 ? 0 : nLength > nMax ? nMax : nLength) * nRatio;
  }
  static bool Spend(std::int64_t& nLeft, std::int64_t n)
  {
    const bool bEnough = n >= 0 && n <= nLeft;
    if (bEnough)
      nLeft -= n;
    return bEnough;
  }

  BSE::IErrorContext* m_pErrorContext;
  std::int64_t m_nWorkLeft;
  std::int64_t m_nMemoryLeft;
  std::int64_t m_nFailures = 0;
};

}  // namespace DOC
