#pragma once

#include "base/ErrorContext.h"
#include "base/ObjectPtr.h"
#include "base/Stream.h"

namespace BSE
{

// A byte stream over another one, its source (or, for output, its sink), with a position and, where known, a
// length of its own. Keeps a reference on the source.
class CFilter : public CObject, public IByteStream
{
public:
  bool IsValid() const override { return m_pSource && m_pSource->IsValid(); }
  std::int64_t GetLength() override { return m_nLength; }
  std::int64_t Tell() override { return m_nPos; }
  int GetBlockSize() const override { return m_pSource ? m_pSource->GetBlockSize() : g_nDefaultBlockSize; }
  const char* GetFileName() const override { return m_pSource ? m_pSource->GetFileName() : nullptr; }

  IByteStream* GetSource() const { return m_pSource.Get(); }
  IErrorContext* GetErrorContext() const { return m_pErrorContext; }

protected:
  explicit CFilter(IByteStream* pSource, IErrorContext* pErrorContext = nullptr)
      : m_pSource(pSource), m_pErrorContext(pErrorContext)
  {
  }

  CObjectPtr<IByteStream> m_pSource;
  IErrorContext* m_pErrorContext;
  std::int64_t m_nPos = 0;
  std::int64_t m_nLength = -1;
};

}  // namespace BSE
