#pragma once

#include "pdf/linearize/PDObj.h"
#include "pdf/linearize/PDStore.h"

// Decodes the filters that cross-reference streams and object streams have: none, or Flate with a predictor.
// False if there is any other, or for more than nMax bytes.
bool DecodePDStream(const PDObj& dictionary, BSE::IByteStream* pEncoded, std::int64_t nMax,
                    BSE::CBasicArray<unsigned char>& data);

// The objects of unpacked object streams.
class PDOSObj
{
public:
  // At most nMaxBytes are kept, nMemoryBudget of them in memory.
  PDOSObj(std::int64_t nMaxBytes, std::int64_t nMemoryBudget) : m_store(nMaxBytes, nMemoryBudget) {}

  // Where they are kept.
  PDStore& GetStore() { return m_store; }

  // One object inside unpacked data.
  struct TMember
  {
    int m_nNumber;
    std::uint32_t m_nOffset;  // from the start of the data
    std::uint32_t m_nLength;
  };

  // Reads the head of an object stream's data (ISO 32000-1, 7.5.7). Members of which nothing is left have the
  // length 0. False if the head does not fit the data.
  bool ReadHead(const PDObj& dictionary, std::span<const unsigned char> data);
  std::span<const TMember> GetMembers() const { return m_members.GetSpan(); }

private:
  void SetLengths(std::int64_t nEnd);

  PDStore m_store;
  BSE::CBasicArray<TMember> m_members;
};
