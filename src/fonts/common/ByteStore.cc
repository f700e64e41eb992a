#include "fonts/common/ByteStore.h"

namespace FONT
{

namespace
{

constexpr std::size_t g_nBlockSize = 16384;

}  // namespace

CByteStore::~CByteStore()
{
  for (const BSE::CBasicArray<unsigned char>* pBlock : m_blocks.GetSpan())
    delete pBlock;
}

std::span<const unsigned char> CByteStore::Add(std::span<const unsigned char> bytes)
{
  if (bytes.empty())
    return {};
  if (bytes.size() > m_nFree)
  {
    BSE::CBasicArray<unsigned char> block;
    if (bytes.size() >= g_nBlockSize / 4)
    {
      block.Append(bytes);
      return Take(std::move(block));
    }
    block.SetSize(static_cast<int>(g_nBlockSize));
    const std::span<unsigned char> fresh = Take(std::move(block));
    m_pFree = fresh.data();
    m_nFree = fresh.size();
  }
  unsigned char* pBytes = m_pFree;
  std::copy(bytes.begin(), bytes.end(), pBytes);
  m_pFree += bytes.size();
  m_nFree -= bytes.size();
  return {pBytes, bytes.size()};
}

std::span<unsigned char> CByteStore::Take(BSE::CBasicArray<unsigned char>&& block)
{
  m_blocks.Reserve(m_blocks.GetSize() + 1);
  auto* pBlock = new BSE::CBasicArray<unsigned char>(std::move(block));
  m_blocks.Add(pBlock);
  return pBlock->GetSpan();
}

}  // namespace FONT
