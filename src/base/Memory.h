#pragma once

#include <cstddef>

namespace BSE
{

// Throws the shared out-of-memory error (code 0x80308001) as a pointer to BSE::CError. Nobody deletes that
// error.
[[noreturn]] void ThrowOutOfMemory();

// As malloc, realloc and free, but exhausted memory is thrown. A size of 0 gives a valid pointer.
void* Allocate(std::size_t nBytes);
void* Reallocate(void* pBlock, std::size_t nBytes);
void Free(void* pBlock);

// Overwrites what must not stay in memory: passwords, keys and what is made of them. Never left out by the
// compiler; null is fine.
void Wipe(void* pBlock, std::size_t nBytes);

}  // namespace BSE
