#include "pdf/linearize/PDLPacker.h"

#include <algorithm>

namespace
{

// The index of a member takes two bytes in the cross-reference data.
constexpr int g_nMaxMembers = 65536;

// Data stays in memory up to half the input's size.
constexpr std::int64_t g_nFreeMemory = std::int64_t{16} << 20;
constexpr std::int64_t g_nMaxStored = std::int64_t{1} << 32;

}  // namespace

PDLPacker::PDLPacker(int nObjects, std::int64_t nInputLength, PDDeflater* pDeflater)
    : m_pDeflater(pDeflater), m_store(g_nMaxStored, std::max(nInputLength / 2, g_nFreeMemory))
{
  m_items.SetSize(nObjects);
}

void PDLPacker::Pack(std::span<const TMember> members, std::int64_t nMaxSize, BSE::CBasicArray<int>& items)
{
  while (!members.empty())
  {
    std::size_t nCount = 0;
    std::int64_t nSize = 0;
    for (; nCount < members.size() && nCount < g_nMaxMembers && nSize < nMaxSize; ++nCount)
      nSize += members[nCount].m_nSize;
    // A small rest goes with what is before it.
    std::int64_t nRest = 0;
    for (std::size_t i = nCount; i < members.size() && nRest <= nMaxSize / 4; ++i)
      nRest += members[i].m_nSize;
    if (nRest <= nMaxSize / 4 && members.size() <= g_nMaxMembers)
    {
      nCount = members.size();
      nSize += nRest;
    }
    const int nItem =
        nSize < g_nMinSize ? 0 : ~m_streams.Add({m_members.GetSize(), static_cast<int>(nCount)});
    if (nItem != 0)
      items.Add(nItem);
    for (const TMember& member : members.first(nCount))
    {
      if (nItem == 0)
        items.Add(member.m_nObject);
      else
        m_members.Add(member.m_nObject);
      m_items[member.m_nObject] = nItem;
    }
    members = members.subspan(nCount);
  }
}

std::span<const int> PDLPacker::GetMembers(int nItem) const
{
  const TStream& stream = m_streams[~nItem];
  return m_members.GetSpan().subspan(static_cast<std::size_t>(stream.m_nFirst),
                                     static_cast<std::size_t>(stream.m_nCount));
}

bool PDLPacker::Build(PDLObjectWriter& writer)
{
  for (TStream& stream : m_streams.GetSpan())
  {
    if (!BuildStream(stream, writer))
      return false;
  }
  m_pStored.Reset(m_store.CreateInput());
  return true;
}

bool PDLPacker::BuildStream(TStream& stream, PDLObjectWriter& writer)
{
  BSE::CBasicArray<unsigned char> data;
  BSE::CBasicArray<unsigned char> values;
  PDWriter head(data);
  PDWriter output(values);
  for (int i = stream.m_nFirst; i < stream.m_nFirst + stream.m_nCount; ++i)
  {
    head.PutNumber(writer.GetNumber(m_members[i]));
    head.PutByte(' ');
    head.PutNumber(output.Tell());
    head.PutByte(i + 1 < stream.m_nFirst + stream.m_nCount ? ' ' : '\n');
    if (!writer.WriteMember(m_members[i], output))
      return Fail(writer.GetMessage());
    output.PutByte('\n');
  }
  stream.m_nHead = data.GetSize();
  data.Append(values.GetSpan());
  values.RemoveAll();
  stream.m_bDeflated = m_pDeflater && m_pDeflater->Deflate(data.GetSpan(), values);
  const std::span<const unsigned char> stored = stream.m_bDeflated ? values.GetSpan() : data.GetSpan();
  stream.m_nPos = m_store.Store(stored);
  stream.m_nLength = std::ssize(stored);
  return stream.m_nPos >= 0 || Fail("There is no room for the object streams.");
}

bool PDLPacker::WriteStream(int nItem, PDLObjectWriter& writer, PDWriter& output)
{
  const TStream& stream = m_streams[~nItem];
  BSE::CBasicArray<unsigned char> entries;
  PDWriter text(entries);
  text.Put("/Type/ObjStm/N ");
  text.PutNumber(stream.m_nCount);
  text.Put("/First ");
  text.PutNumber(stream.m_nHead);
  if (stream.m_bDeflated)
    text.Put("/Filter/FlateDecode");
  const std::span<const unsigned char> data = m_pStored->Get(stream.m_nPos, stream.m_nLength);
  return std::ssize(data) == stream.m_nLength &&
         writer.WriteNewStream(stream.m_nNumber, entries.GetSpan(), data, output);
}
