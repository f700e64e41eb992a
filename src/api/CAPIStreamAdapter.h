#pragma once

#include "base/ErrorContext.h"
#include "base/ObjectPtr.h"
#include "base/Stream.h"
#include "brevex/brevex.h"

namespace BSE
{

// A caller's table of callbacks as a stream. The caller is not trusted: a callback that returns more than it
// was asked for has failed. A failure is reported to the error context and is in the calling thread's error
// slot.
//
// The caller's stream has one position. As soon as there is a duplicate, the first adapter and every
// duplicate keep a position of their own and seek before each access.
class CCAPIStreamAdapter : public CObject, public IByteStream
{
public:
  // Copies the table; null is a table without callbacks. The context, which may be null, has to outlive the
  // adapter.
  CCAPIStreamAdapter(const TBrevexStreamDescriptor* pDescriptor, IErrorContext* pErrorContext);

  // Releases the caller's stream.
  ~CCAPIStreamAdapter() override;

  // True if the stream can be read or written.
  bool IsValid() const override;
  std::int64_t GetLength() override;
  bool IsSeekable() const override { return m_descriptor.pfSeek != nullptr; }
  bool Rewind() override { return Seek(0); }
  bool Skip(std::int64_t n) override;
  std::int64_t Tell() override;
  bool Seek(std::int64_t nPos) override;

  // -1 on failure.
  std::int64_t Read(unsigned char* pBuffer, std::int64_t n) override;
  std::int64_t Write(const unsigned char* pBuffer, std::int64_t n) override;

  // Null for a stream that cannot seek.
  IStreamBase<unsigned char>* Dup() override;

protected:
  // Which side keeps the position.
  enum TDupMode : unsigned
  {
    ePrimary = 0,   // the caller's stream
    eDuplicate = 1  // this object; the caller's stream belongs to another one
  };

  CCAPIStreamAdapter(const CCAPIStreamAdapter& first, TDupMode nDupMode);

private:
  bool HasOwnPosition() const { return m_nDupMode != ePrimary || m_bShared; }
  bool SeekCaller(std::int64_t nPos);
  bool PrepareAccess();
  std::int64_t FinishAccess(std::int64_t nCount, std::int64_t nAsked, unsigned nFailure);
  std::int64_t GetTarget(std::int64_t nPos);
  void Report(unsigned nCode);

  TBrevexStreamDescriptor m_descriptor = {};
  IErrorContext* m_pErrorContext;
  std::uint64_t m_nDupPosition = 0;
  unsigned m_nDupMode = ePrimary;
  bool m_bShared = false;  // a primary adapter that has been duplicated
};

// What CCAPIStreamAdapter::Dup makes; keeps a reference on the first adapter, which releases the caller's
// stream.
class CCAPIStreamAdapterDup final : public CCAPIStreamAdapter
{
public:
  CCAPIStreamAdapterDup(CCAPIStreamAdapter& first, const CCAPIStreamAdapter& origin);
  IStreamBase<unsigned char>* Dup() override;

private:
  CObjectPtr<CCAPIStreamAdapter> m_pFirst;
};

}  // namespace BSE
