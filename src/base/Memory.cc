#include "base/Memory.h"

#include "base/Error.h"

#include <cstdlib>
#include <cstring>

namespace BSE
{

namespace
{

// Made before it is needed: reporting exhausted memory must not allocate.
CError g_outOfMemory(g_nOutOfMemory);

}  // namespace

void ThrowOutOfMemory()
{
  throw &g_outOfMemory;
}

void* Allocate(std::size_t nBytes)
{
  void* pBlock = std::malloc(nBytes == 0 ? 1 : nBytes);
  if (!pBlock)
    ThrowOutOfMemory();
  return pBlock;
}

void* Reallocate(void* pBlock, std::size_t nBytes)
{
  void* pNew = std::realloc(pBlock, nBytes == 0 ? 1 : nBytes);
  if (!pNew)
    ThrowOutOfMemory();
  return pNew;
}

void Free(void* pBlock)
{
  std::free(pBlock);
}

void Wipe(void* pBlock, std::size_t nBytes)
{
  if (pBlock)
    explicit_bzero(pBlock, nBytes);
}

}  // namespace BSE
