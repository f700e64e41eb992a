#include "engine/DecodedStreams.h"

namespace PDF
{

void CDecodedStreams::Add(int nNumber, CStreamDecoder::TResult nResult, const CStreamDecoder& decoder)
{
  if (nResult == CStreamDecoder::TResult::Foreign || nResult == CStreamDecoder::TResult::Damaged)
    m_undecodable.Add(nNumber);
  if (nResult != CStreamDecoder::TResult::Decoded || decoder.GetStateSize() > g_nMaxKept - m_nKept)
    return;
  const BSE::CObjectPtr<TStream> pStream(new TStream);
  decoder.SaveState(pStream->m_state);
  m_streams.SetAt(nNumber, pStream.Get());
  m_nKept += decoder.GetStateSize();
}

bool CDecodedStreams::Take(int nNumber, CStreamDecoder& decoder)
{
  const TStream* pStream = m_streams.Find(nNumber);
  if (!pStream)
    return false;
  decoder.RestoreState(pStream->m_state);
  m_nKept -= decoder.GetStateSize();
  m_streams.RemoveKey(nNumber);
  return true;
}

void CDecodedStreams::Remove(int nNumber)
{
  CStreamDecoder decoder;
  Take(nNumber, decoder);
}

void CDecodedStreams::RemoveAll()
{
  m_undecodable.RemoveAll();
  m_streams.RemoveAll();
  m_nKept = 0;
}

}  // namespace PDF
