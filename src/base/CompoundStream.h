#pragma once

#include "base/BasicArray.h"
#include "base/Stream.h"

namespace BSE
{

// Several streams one after the other, read forward only: there is no length and no Seek, but Rewind. Each
// sub-stream is rewound when its turn comes. Elements that are not streams are passed over. Valid unless all
// of its sub-streams are invalid.
class CCompoundStream : public CObject, public IByteStream
{
public:
  explicit CCompoundStream(const CIObjectArray& streams);

  bool IsValid() const override;
  bool Rewind() override;
  bool Skip(std::int64_t n) override;
  std::int64_t Tell() override;

  // Only to where the stream is.
  bool Seek(std::int64_t nPos) override { return nPos == Tell(); }

  // Fills the buffer across the ends of sub-streams.
  std::int64_t Read(unsigned char* pBuffer, std::int64_t n) override;

  // A sub-stream that fails ends the reading there.
  std::int64_t ReadEx(unsigned char* pBuffer, std::int64_t n) override;

  // Refused with a trace line.
  std::int64_t Write(const unsigned char* pBuffer, std::int64_t n) override;

private:
  // Makes the next stream from an index on the current one; false after the last.
  bool Enter(int nIndex);

  CIObjectArray m_streams;
  IByteStream* m_pCurrent = nullptr;  // borrowed from the array
  int m_nCurrent = 0;
  std::int64_t m_nStart = 0;  // where the current stream begins
  std::int64_t m_nOffset = 0;
  bool m_bFailed = false;
};

}  // namespace BSE
