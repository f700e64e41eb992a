#pragma once

#include <brevex/brevex.h>

#include <new>
#include <string>

#include "Text.h"

namespace Tool
{

// The library between its start and its end.
class CLibrary
{
public:
  CLibrary() { BrevexInitialize(); }
  ~CLibrary() { BrevexUnInitialize(); }
  CLibrary(const CLibrary&) = delete;
  CLibrary& operator=(const CLibrary&) = delete;
};

// Owns a handle of the library. Throws std::bad_alloc when there is none to be had.
class CHandle
{
public:
  CHandle() : m_pHandle(BrevexCreateObject())
  {
    if (m_pHandle == nullptr)
    {
      throw std::bad_alloc();
    }
  }
  ~CHandle() { BrevexDestroyObject(m_pHandle); }
  CHandle(const CHandle&) = delete;
  CHandle& operator=(const CHandle&) = delete;

  TBrevexHandle* Get() const { return m_pHandle; }
  std::string GetMessage() const { return ToUtf8(BrevexGetErrorMessageW(m_pHandle)); }

private:
  TBrevexHandle* m_pHandle;
};

}  // namespace Tool
