#pragma once

#include "base/BasicArray.h"
#include "base/ObjectPtr.h"
#include "base/Stream.h"

#include <cstdint>
#include <span>

// Where a linearized document goes: counts only, writes to a stream through a buffer, or appends to an array.
// The same code runs with all, so that what is measured is what is written. Positions count from the
// creation.
class PDWriter
{
public:
  // Counts.
  PDWriter() = default;

  // Writes; the stream is complete after Flush.
  explicit PDWriter(BSE::IByteStream* pStream);

  // Appends to an array that outlives it.
  explicit PDWriter(BSE::CBasicArray<unsigned char>& bytes) : m_pBytes(&bytes) {}

  std::int64_t Tell() const { return m_nPos; }
  bool IsMeasuring() const { return !m_pStream && !m_pBytes; }

  void Put(std::span<const unsigned char> bytes);
  void Put(const char* szText);
  void PutByte(unsigned char nByte);
  void PutNumber(std::int64_t nNumber);

  // After zeros or followed by spaces, up to a width.
  void PutZeroPadded(std::int64_t nNumber, int nWidth);
  void PutSpacePadded(std::int64_t nNumber, int nWidth);

  // Moves on without bytes; only to measure.
  void Skip(std::int64_t n) { m_nPos += n; }

  bool Flush();

  // Bytes that the stream has been given; it may have refused the last ones.
  std::int64_t GetWritten() const { return m_nWritten; }

  // True once the stream has refused something; nothing is written from then on.
  bool HasFailed() const { return m_bFailed; }

private:
  static constexpr int g_nBufferSize = 1 << 16;

  void Send(const unsigned char* pBytes, std::int64_t n);

  BSE::CObjectPtr<BSE::IByteStream> m_pStream;
  BSE::CBasicArray<unsigned char>* m_pBytes = nullptr;
  BSE::CBasicArray<unsigned char> m_buffer;
  int m_nFill = 0;
  std::int64_t m_nPos = 0;
  std::int64_t m_nWritten = 0;
  bool m_bFailed = false;
};

// A writer as a stream, for filters. The writer must outlive it.
class PDWriterStream : public BSE::CObject, public BSE::IByteStream
{
public:
  explicit PDWriterStream(PDWriter& writer) : m_writer(writer), m_nStart(writer.Tell()) {}

  bool IsValid() const override { return !m_writer.HasFailed(); }
  bool Rewind() override { return false; }
  bool Skip(std::int64_t) override { return false; }
  std::int64_t Tell() override { return m_writer.Tell() - m_nStart; }
  bool Seek(std::int64_t nPos) override { return nPos == Tell(); }
  std::int64_t Read(unsigned char*, std::int64_t) override { return 0; }
  std::int64_t Write(const unsigned char* pBuffer, std::int64_t n) override;

private:
  PDWriter& m_writer;
  std::int64_t m_nStart;
};
