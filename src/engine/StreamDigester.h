#pragma once

#include "engine/DecodedStreams.h"
#include "engine/DigestTable.h"
#include "engine/StreamDecoder.h"

namespace PDF
{

// Digests of the data of streams. Streams that are encoded alike are decoded once.
class CStreamDigester
{
public:
  // With bDecode data count as they are after their filters, where these can all be undone without a fault:
  // streams that differ in their encoding alone get one digest then. Without it, and elsewhere, the encoded
  // bytes count. What was decoded is added to a collection, which is borrowed and may be null.
  explicit CStreamDigester(bool bDecode, CDecodedStreams* pDecoded = nullptr)
      : m_bDecode(bDecode), m_pDecoded(pDecoded)
  {
  }

  struct TResult
  {
    TObjectDigest m_digest;
    bool m_bDecoded;  // filters and their parameters do not count
  };

  // Of an indirect stream object. Streams that share bytes of their file are read as far as
  // BSE::g_nMaxSharedRatio allows; each one beyond gets a digest that no other one has.
  TResult Digest(const CObjectPtr& stream);

private:
  bool Admit(const CObjectPtr& stream);
  TObjectDigest DigestLarge(const CObjectPtr& stream);

  bool m_bDecode;
  CDecodedStreams* m_pDecoded;
  std::int64_t m_nAdmitted = 0;
  CStreamDecoder m_decoder;
  CObjectHasher m_hasher;
  CDigestTable m_known;  // encoded bytes with their filters to an index below
  BSE::CBasicArray<TResult> m_results;
};

}  // namespace PDF
