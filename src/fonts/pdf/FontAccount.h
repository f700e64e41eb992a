#pragma once

#include "base/BasicMap.h"
#include "base/ErrorContext.h"
#include "base/Limits.h"
#include "pdf/Object.h"
#include "pdf/StatusCodes.h"

namespace PDF
{

// What reading the fonts of one document may cost, all together: bytes of programs and CMaps, elements of
// arrays. What fonts share is read once, so that only a file that was made for it comes to the end of the
// account.
class CFontAccount
{
public:
  CFontAccount(std::int64_t nFileLength, BSE::IErrorContext* pErrorContext)
      : m_nFileLength(nFileLength), m_pErrorContext(pErrorContext)
  {
  }

  // False once it is spent, which is reported; it stays so.
  bool Charge(std::int64_t nWork)
  {
    if (m_bSpent)
      return false;
    m_nWork += nWork;
    m_bSpent = BSE::IsOutOfProportion(m_nWork, BSE::g_nFreeFontWork, BSE::g_nFontWorkRatio, m_nFileLength);
    if (m_bSpent)
      BSE::ReportError(m_pErrorContext, g_nNotRepairable);
    return !m_bSpent;
  }
  bool IsSpent() const { return m_bSpent; }
  BSE::IErrorContext* GetErrorContext() const { return m_pErrorContext; }

  // The encodings that were made of streams, by their numbers.
  BSE::CValueKeyIObjectMap<int>& GetCMaps() { return m_cmaps; }

private:
  std::int64_t m_nFileLength;
  BSE::IErrorContext* m_pErrorContext;
  std::int64_t m_nWork = 0;
  bool m_bSpent = false;
  BSE::CValueKeyIObjectMap<int> m_cmaps;
};

// The decoded data of a stream; bWhole is false for one that is damaged. False, and it is empty, if it cannot
// be read or costs too much; a stream that is damaged gives what can be saved of it.
bool ReadStream(const CObjectPtr& stream, CFontAccount& account, BSE::CBasicArray<unsigned char>& data,
                bool& bWhole);

}  // namespace PDF
