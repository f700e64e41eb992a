#pragma once

#include "pdf/linearize/PDInput.h"
#include "pdf/linearize/PDObj.h"

// Decodes the filters that cross-reference streams and object streams have: none, or Flate with a predictor.
// False if there is any other, or for more than nMax bytes.
bool DecodePDStream(const PDObj& dictionary, BSE::IByteStream* pEncoded, std::int64_t nMax,
                    BSE::CBasicArray<unsigned char>& data);

// Where the objects of unpacked object streams are kept: in memory up to a budget, in a temporary file beyond
// it.
class PDOSObj
{
public:
  // At most nMaxBytes are kept, nMemoryBudget of them in memory.
  PDOSObj(std::int64_t nMaxBytes, std::int64_t nMemoryBudget);

  // Bytes that may be stored yet.
  std::int64_t GetRoom() const { return m_nMax - m_nLength; }

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

  // Appends bytes; returns their position, or -1 on failure.
  std::int64_t Store(std::span<const unsigned char> bytes);

  // A reader of all that has been stored so far.
  PDInput* CreateInput() { return new PDInput(m_pStream.Get(), g_nStoreWindow); }

private:
  static constexpr int g_nStoreWindow = 1 << 12;

  bool MoveToFile();
  void SetLengths(std::int64_t nEnd);

  BSE::CObjectPtr<BSE::IByteStream> m_pStream;
  std::int64_t m_nLength = 0;
  std::int64_t m_nMax;
  std::int64_t m_nBudget;
  bool m_bFile = false;
  BSE::CBasicArray<TMember> m_members;
};
