#pragma once

#include "base/BasicArray.h"
#include "base/Object.h"

#include <cstdint>

namespace BSE
{

// Preferred transfer size of every buffered class, in units.
inline constexpr int g_nDefaultBlockSize = 8192;

// A sequence of units T with one read and write position. Streams report failures as return values, and
// through an error context where they have one. IsValid means open and usable. There is no close: the
// destructor closes, and output is complete only after Flush (where a class has it) or destruction. A stream
// and its duplicates stay on one thread. A negative count from any reading operation is a failure.
template <class T>
class IStreamBase : public virtual IObject
{
public:
  // In units; -1 if not known.
  virtual std::int64_t GetLength() { return -1; }

  // True if Seek repositions the underlying data.
  virtual bool IsSeekable() const { return false; }

  virtual bool Rewind() = 0;

  // Forward by n units; -1 means to the end. False if the end comes first: the stream is then at its end.
  virtual bool Skip(std::int64_t n) = 0;

  // Position in units; -1 if the stream has none.
  virtual std::int64_t Tell() = 0;

  // Absolute position; negative counts from the end (-1 is the end itself).
  virtual bool Seek(std::int64_t nPos) = 0;

  virtual int GetBlockSize() const { return g_nDefaultBlockSize; }

  // Units read: fewer than asked for is not a failure; 0 at the end and on failure.
  virtual std::int64_t Read(T* pBuffer, std::int64_t n) = 0;

  // As Read, but -1 on failure.
  virtual std::int64_t ReadEx(T* pBuffer, std::int64_t n) { return Read(pBuffer, n); }

  // Units written, 0 on failure.
  virtual std::int64_t Write(const T* pBuffer, std::int64_t n) = 0;

  // True only for a stream on a real file.
  virtual bool IsFile() const { return false; }

  // The path, or null; filters ask their source.
  virtual const char* GetFileName() const { return nullptr; }

  // A second stream on the same data with a position of its own, as a new object with the count 0, or null.
  virtual IStreamBase* Dup() { return nullptr; }

  // Moves up to n units from the source, all that it has for a negative n. At the source's end the rest is
  // written as zeros with bPad, else the copy ends with success. False for a null or invalid source and on a
  // failure of either side.
  virtual bool CopyFrom(IStreamBase* pSource, std::int64_t n, bool bPad);

  // Same contents from here to the end; a null other equals an invalid stream.
  virtual bool Equals(IStreamBase* pOther);

  // True if all n units went.
  virtual bool WriteAll(const T* pBuffer, std::int64_t n);

  // As ReadAll, failure turned to 0.
  virtual std::int64_t ReadFully(T* pBuffer, std::int64_t n);

  // Reads until n units (returns n), the end (returns the count) or a failure (returns -1).
  virtual std::int64_t ReadAll(T* pBuffer, std::int64_t n);

  // Appends the whole remaining contents; false on failure or when more than nMax units would come.
  virtual bool ReadToArray(CBasicArray<T>& array, std::int64_t nMax = 0x7FFFFFFF);
};

template <class T>
class IBasicStream : public IStreamBase<T>
{
};

extern template class IStreamBase<unsigned char>;
extern template class IStreamBase<char16_t>;
extern template class IStreamBase<wchar_t>;

using IByteStream = IBasicStream<unsigned char>;

// The answer of a stream that can only be read to a write: 0, with a trace line.
std::int64_t RefuseWrite();

// Skip for a stream that cannot seek: reads n bytes, all that are left for a negative n, and drops them.
// False on failure, or if a count is not there.
bool SkipByReading(IByteStream& stream, std::int64_t n);

}  // namespace BSE
