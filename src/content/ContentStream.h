#pragma once

#include "base/BufferedInputStream.h"
#include "content/ContentAccount.h"
#include "content/NameCollector.h"
#include "pdf/Object.h"

namespace PDF
{

// The decoded bytes of a content stream, or of the several that a page has, one opened after the other
// (ISO 32000-1, 7.8.2). A token ends with its stream: a line feed is between two of them, but not inside a
// string or the data of an inline image, which some writers cut anywhere.
class CContentStream : public BSE::CBufferedInputStream
{
public:
  // A stream, or an array of streams. Borrows the account, which is charged with what is read; it may be
  // null.
  CContentStream(const CObjectPtr& contents, CContentAccount* pAccount);

  // Bytes that are in no stream of a file.
  explicit CContentStream(BSE::IByteStream* pData, CContentAccount* pAccount = nullptr);

  // Borrowed, and told all bytes as they are read, each once for each time that the content is read from its
  // beginning. Null ends that.
  void SetNameCollector(CNameCollector* pCollector) { m_pCollector = pCollector; }

  // Number of the stream, or of the array of streams; 0 for what is no object of its own.
  int GetObjNumber() const { return m_contents.GetObjNumber(); }

  // True if there is something to read from, be it empty.
  bool IsValid() const override;
  bool Fill() override;
  std::int64_t Read(unsigned char* pBuffer, std::int64_t n) override;
  bool Rewind() override;

  // For the duration of one token that may go on across the ends of streams. The data end after this many
  // bytes of it. Negative once it is over.
  void SetOpenToken(std::int64_t nMaxBytes);

  // True if the last open token met its end by the limit.
  bool WasTokenCut() const { return m_bTokenCut; }

  // Reads what is left, for whoever collects names: other readers may go on where a parser has ended.
  void Drain();

  // Puts back the bytes that were read last, so that they are read again.
  void PushBack(std::span<const unsigned char> bytes);

  // True if the data ended because the account is spent.
  bool WasRefused() const { return m_bRefused; }

  // True once there has been any data.
  bool HasRead() const { return m_nPos > 0 || m_pEnd != m_pBuffer; }

  // True if a stream could not be read, or not to its end.
  bool HasGap() const { return m_bGap; }

private:
  int GetPartCount() const;

  // Opens the next part that can be read; false after the last one.
  bool OpenNext();

  // Closes the part that is read.
  void EndPart();
  int ReadPart();
  bool Deliver(int nRead);

  CObjectPtr m_contents;
  CContentAccount* m_pAccount;
  CNameCollector* m_pCollector = nullptr;
  BSE::CObjectPtr<BSE::IByteStream> m_pPart;
  BSE::CObjectPtr<BSE::IByteStream> m_pSingle;  // without objects
  BSE::CBasicArray<unsigned char> m_pushedBack;
  int m_nPushedBack = 0;  // bytes of them that have been delivered
  int m_nNext = 0;
  std::int64_t m_nTokenLeft = -1;
  bool m_bTokenCut = false;
  bool m_bRefused = false;
  bool m_bGap = false;
};

}  // namespace PDF
