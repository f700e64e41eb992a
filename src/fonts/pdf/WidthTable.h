#pragma once

#include "fonts/pdf/CodeMap.h"
#include "fonts/pdf/FontAccount.h"

namespace PDF
{

// Numbers of CIDs, as the arrays W and W2 of a CIDFont have them (ISO 32000-1, 9.7.4.3): one for each CID, or
// three.
class CWidthTable : public BSE::CObject
{
public:
  // Elements that make no sense are left out.
  CWidthTable(const CObjectPtr& array, int nPerCID, CFontAccount& account);

  bool IsValid() const override { return true; }

  // Empty for a CID that the array says nothing of.
  std::span<const double> Find(int nCID) const;

private:
  // Marks the value of a range that is the same for all its CIDs.
  static constexpr std::uint32_t g_nSame = 0x80000000U;

  bool AddList(std::int64_t nFirst, const CObjectPtr& list, CFontAccount& account);
  bool AddRange(std::int64_t nFirst, const CObjectPtr& array, int nAt);

  int m_nPerCID;
  CCodeMap m_map;
  BSE::CBasicArray<double> m_values;
};

}  // namespace PDF
