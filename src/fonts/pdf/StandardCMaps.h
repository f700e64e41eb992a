#pragma once

#include "base/ByteCursor.h"

namespace DOC
{

// One of the predefined CMaps (ISO 32000-1, 9.7.5.2), read from the tables that are compiled in. Nothing is
// allocated.
class CStandardCmapExtractor
{
public:
  // Whether the tables are there: a build can do without them.
  static bool HasTables();

  // Invalid for a name that none of them has.
  explicit CStandardCmapExtractor(const char* szName);

  bool IsValid() const { return m_bValid; }
  int GetWMode() const { return m_nWMode; }
  int GetSupplement() const { return m_nSupplement; }

  // "Japan1"; ended by no zero.
  std::span<const unsigned char> GetOrdering() const { return m_ordering; }

  // Whether the codes of this length contain the first bytes of a code, of which nBytes are given.
  bool IsInCodeSpace(std::uint32_t nCode, int nBytes, int nLength) const;

  // -1 for a code without a CID.
  int FindCID(std::uint32_t nCode, int nLength) const;

  // Calls fnVisit(nLength, nFirst, nLast, nCID) for all ranges.
  template <class F>
  void ForEachRange(F fnVisit) const
  {
    for (int nDepth = 0, nCMap = m_nCMap; nCMap >= 0 && nDepth < g_nMaxDepth; ++nDepth)
    {
      CStandardCmapExtractor part(nCMap);
      for (int nLength = 1; nLength <= 4; ++nLength)
        if (TTable table; part.FindTable(nLength, table))
          for (TReader reader(table, 0); reader.Next();)
            fnVisit(nLength, reader.m_nFirst, reader.m_nLast, reader.m_nCID);
      nCMap = part.m_nParent;
    }
  }

private:
  // CMaps that use each other.
  static constexpr int g_nMaxDepth = 8;

  struct TTable
  {
    std::uint32_t m_nRanges = 0;
    BSE::CByteCursor m_index{{}};
    BSE::CByteCursor m_data{{}};
  };

  // Goes through the ranges from the beginning of a block.
  struct TReader
  {
    TReader(const TTable& table, std::uint32_t nBlock);
    bool Next();

    TTable m_table;
    BSE::CByteCursor m_cursor;
    std::uint32_t m_nRange;
    std::uint32_t m_nFirst = 0;
    std::uint32_t m_nLast = 0;
    std::uint32_t m_nNext = 0;
    int m_nCID = 0;
    int m_nNextCID = 0;
  };

  explicit CStandardCmapExtractor(int nCMap) { Open(nCMap); }
  void Open(int nCMap);
  bool FindTable(int nLength, TTable& table) const;
  int FindOwnCID(std::uint32_t nCode, int nLength) const;
  int FindNotdef(std::uint32_t nCode, int nLength) const;

  bool m_bValid = false;
  int m_nCMap = -1;
  int m_nParent = -1;
  int m_nWMode = 0;
  int m_nSupplement = 0;
  std::span<const unsigned char> m_ordering;
  BSE::CByteCursor m_spaces{{}};
  int m_nSpaces = 0;
  BSE::CByteCursor m_notdefs{{}};
  int m_nNotdefs = 0;
  BSE::CByteCursor m_tables{{}};
  int m_nTables = 0;
};

}  // namespace DOC
