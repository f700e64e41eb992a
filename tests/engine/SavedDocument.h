#pragma once

#include <gtest/gtest.h>

#include <string>

#include "base/ErrorHandler.h"
#include "base/MemoryStream.h"
#include "engine/Optimizer.h"

namespace Engine
{

inline std::string Ref(int nNumber)
{
  return std::to_string(nNumber) + " 0 R";
}

// An open document.
class CInput
{
public:
  explicit CInput(const std::string& sPdf) : m_document(&m_errors)
  {
    const BSE::CObjectPtr<BSE::IByteStream> pStream(
        new BSE::CMemoryStream(sPdf.data(), static_cast<std::int64_t>(sPdf.size())));
    EXPECT_TRUE(m_document.Open(pStream.Get(), nullptr));
  }

  PDF::CFile& GetFile() { return m_document.GetFile(); }

protected:
  BSE::CErrorHandler m_errors;
  PDF::CDocument m_document;
};

// A document saved with strip flags, and read back.
struct TSaved
{
  explicit TSaved(const std::string& sPdf, unsigned nStrip = 0,
                  bool PDF::TOptimizerOptions::*pFlatten = nullptr)
      : m_result(&m_handler)
  {
    BSE::CErrorHandler handler;
    PDF::COptimizer optimizer(&handler);
    optimizer.GetOptions().m_nStrip = nStrip;
    if (pFlatten)
      optimizer.GetOptions().*pFlatten = true;
    const BSE::CObjectPtr<BSE::IByteStream> pInput(
        new BSE::CMemoryStream(sPdf.data(), static_cast<std::int64_t>(sPdf.size())));
    const BSE::CObjectPtr<BSE::IByteStream> pOutput(new BSE::CMemoryStream);
    EXPECT_TRUE(optimizer.Open(pInput.Get(), nullptr));
    EXPECT_TRUE(optimizer.Save(pOutput.Get(), {}));
    m_nCode = handler.GetLastCode();
    EXPECT_TRUE(m_result.Open(pOutput.Get(), nullptr));
  }

  PDF::CObjectPtr Catalog() { return m_result.GetCatalog(); }
  PDF::CObjectPtr Page(int nIndex = 0) { return m_result.GetPage(nIndex); }

  BSE::CErrorHandler m_handler;
  PDF::CDocument m_result;
  unsigned m_nCode = 0;
};

}  // namespace Engine
