#include "engine/StreamDigester.h"

#include "base/Hash.h"
#include "base/Limits.h"
#include "pdf/File.h"
#include "pdf/StreamObjects.h"

#include <algorithm>
#include <cstring>

namespace PDF
{

namespace
{

constexpr int g_nPiece = 1 << 16;

TObjectDigest Finish(BSE::CHashFunction& hash)
{
  TObjectDigest digest;
  hash.Final(digest);
  return digest;
}

// Nothing hashes to so many zeros.
TObjectDigest GetOwnDigest(const CObjectPtr& stream)
{
  TObjectDigest digest{};
  const int nNumber = stream.GetObjNumber();
  std::memcpy(digest.data(), &nNumber, sizeof nNumber);
  return digest;
}

}  // namespace

bool CStreamDigester::Admit(const CObjectPtr& stream)
{
  const CObjectPtr part = stream.GetStreamObject();
  BSE::IByteStream* pInput = stream.GetFile() ? stream.GetFile()->GetInput() : nullptr;
  const std::int64_t nLength = part ? static_cast<CStreamPart*>(part.Get())->GetDataLength() : 0;
  const std::int64_t nTotal = m_nAdmitted + std::max<std::int64_t>(nLength, 0);
  const std::int64_t nFile = pInput ? pInput->GetLength() : 0;
  if (BSE::IsOutOfProportion(nTotal, BSE::g_nFreeCopiedSize, BSE::g_nMaxSharedRatio, nFile))
    return false;
  m_nAdmitted = nTotal;
  return true;
}

CStreamDigester::TResult CStreamDigester::Digest(const CObjectPtr& stream)
{
  if (!Admit(stream))
    return {GetOwnDigest(stream), false};
  if (!m_decoder.Read(*stream))
    return {DigestLarge(stream), false};
  BSE::CHashSHA256 hash;
  hash.Update(m_decoder.GetEncoded());
  const TObjectDigest encoded = Finish(hash);
  if (!m_bDecode)
    return {encoded, false};

  m_hasher.Reset();
  m_hasher.AddBytes(encoded);
  const bool bPartEncoded = static_cast<CStreamPart*>(stream.GetStreamObject().Get())->IsEncoded();
  if (bPartEncoded)
    for (const char* szKey : {"Filter", "DecodeParms"})
      m_hasher.AddValue(stream[szKey].GetValueObject() ? stream[szKey].GetValueObject() : stream[szKey]);
  const int nKnown = m_known.FindOrAdd(m_hasher.GetDigest(), m_results.GetSize());
  if (nKnown < m_results.GetSize())
    return m_results[nKnown];
  TResult result = {encoded, false};
  const CStreamDecoder::TResult nResult = m_decoder.Decode(*stream);
  if (m_pDecoded)
    m_pDecoded->Add(stream.GetObjNumber(), nResult, m_decoder);
  if (nResult == CStreamDecoder::TResult::Decoded && m_decoder.HasData())
  {
    BSE::CHashSHA256 decoded;
    decoded.Update(m_decoder.GetData());
    result = {Finish(decoded), true};
  }
  m_results.Add(result);
  return result;
}

TObjectDigest CStreamDigester::DigestLarge(const CObjectPtr& stream)
{
  BSE::CHashSHA256 hash;
  const BSE::CObjectPtr<BSE::IByteStream> pData = stream.GetStream();
  BSE::CBasicArray<unsigned char> piece;
  piece.SetSize(g_nPiece);
  while (pData)
  {
    const std::int64_t nRead = pData->Read(piece.GetData(), g_nPiece);
    if (nRead <= 0)
      break;
    hash.Update(piece.GetSpan().first(static_cast<std::size_t>(nRead)));
  }
  return Finish(hash);
}

}  // namespace PDF
