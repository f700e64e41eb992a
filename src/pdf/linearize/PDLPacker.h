#pragma once

#include "pdf/linearize/PDLObjectWriter.h"
#include "pdf/linearize/PDStore.h"

// The object streams of a linearized file: takes objects that are together, and gives the streams that hold
// them. Streams are written as objects of their own among those that are in no stream, and both are items: an
// object is an item by its index, a stream by the complement of its index.
class PDLPacker : public PDBase
{
public:
  // Members below this size cost less as objects of their own than their stream.
  static constexpr std::int64_t g_nMinSize = 250;

  // Room is for so many objects, and for as many bytes of streams as the input has. Nothing is compressed
  // without a deflater.
  PDLPacker(int nObjects, std::int64_t nInputLength, PDDeflater* pDeflater);

  // Puts objects into streams whose members have about so many bytes together, and appends the streams to the
  // items. What is too little for a stream stays apart and is appended itself.
  struct TMember
  {
    int m_nObject;
    std::int64_t m_nSize;
  };
  void Pack(std::span<const TMember> members, std::int64_t nMaxSize, BSE::CBasicArray<int>& items);

  static bool IsStream(int nItem) { return nItem < 0; }

  // The item that an object is, or is in.
  int GetItem(int nObject) const { return m_items[nObject] < 0 ? m_items[nObject] : nObject; }

  std::span<const int> GetMembers(int nItem) const;

  int GetNumber(int nItem) const { return m_streams[~nItem].m_nNumber; }
  void SetNumber(int nItem, int nNumber) { m_streams[~nItem].m_nNumber = nNumber; }

  // Makes the data of all streams, once all numbers are known.
  bool Build(PDLObjectWriter& writer);
  bool WriteStream(int nItem, PDLObjectWriter& writer, PDWriter& output);

private:
  struct TStream
  {
    int m_nFirst;  // among the members
    int m_nCount;
    int m_nNumber = 0;
    int m_nHead = 0;  // bytes of the data in front of the first member
    bool m_bDeflated = false;
    std::int64_t m_nPos = 0;  // of the data, in the store
    std::int64_t m_nLength = 0;
  };

  bool BuildStream(TStream& stream, PDLObjectWriter& writer);

  PDDeflater* m_pDeflater;
  PDStore m_store;
  BSE::CScopedPtr<PDInput> m_pStored;
  BSE::CBasicArray<TStream> m_streams;
  BSE::CBasicArray<int> m_members;
  BSE::CBasicArray<int> m_items;  // the stream of each object, 0 for none
};
