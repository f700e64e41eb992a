#include "pdf/StreamObjects.h"

#include "base/EmbeddedStream.h"
#include "base/FileStream.h"
#include "pdf/File.h"

namespace PDF
{

BSE::CObjectPtr<BSE::IByteStream> CStreamObject::GetStream()
{
  if (!m_pData)
    return nullptr;
  // A reader of its own where the data allows it, so that nested reads do not disturb one another.
  BSE::CObjectPtr<BSE::IByteStream> pReader(static_cast<BSE::IByteStream*>(m_pData->Dup()));
  if (!pReader)
    pReader = m_pData;
  pReader->Rewind();
  return pReader;
}

CEncodedStreamObject::CEncodedStreamObject(CFile* pFile, std::int64_t nOffset, std::int64_t nLength,
                                           int nObjNumber, int nGenNumber)
    : m_pFile(pFile),
      m_nOffset(nOffset),
      m_nLength(nLength),
      m_nObjNumber(nObjNumber),
      m_nGenNumber(nGenNumber),
      m_nCrypt(CSecurityHandler::g_nStreamCrypt)
{
}

CEncodedStreamObject::~CEncodedStreamObject() = default;

CObject* CEncodedStreamObject::Clone()
{
  BSE::CScopedPtr<CEncodedStreamObject> pCopy(
      new CEncodedStreamObject(m_pFile, m_nOffset, m_nLength, m_nObjNumber, m_nGenNumber));
  pCopy->m_nCrypt = m_nCrypt;
  pCopy->m_bPlain = m_bPlain;
  return pCopy.Detach();
}

bool CEncodedStreamObject::IsEncrypted() const
{
  return !m_bPlain && m_pFile->GetSecurityHandler();
}

BSE::CObjectPtr<BSE::IByteStream> CEncodedStreamObject::GetRawStream()
{
  BSE::IByteStream* pInput = m_pFile->GetInput();
  return pInput ? new BSE::CEmbeddedStream(pInput, m_nOffset, m_nLength) : nullptr;
}

BSE::CObjectPtr<BSE::IByteStream> CEncodedStreamObject::GetStream()
{
  BSE::CObjectPtr<BSE::IByteStream> pRaw = GetRawStream();
  if (!pRaw || !IsEncrypted())
    return pRaw;
  return m_pFile->GetSecurityHandler()->CreateDecryptFilter(pRaw.Get(), m_nObjNumber, m_nGenNumber, m_pFile,
                                                            m_nCrypt);
}

BSE::CObjectPtr<BSE::IByteStream> CEmbeddedStreamObject::GetStream()
{
  return m_pSource ? new BSE::CEmbeddedStream(m_pSource.Get(), m_nOffset, m_nLength) : nullptr;
}

std::int64_t CFileStreamObject::GetDataLength()
{
  const BSE::CObjectPtr<BSE::IByteStream> pData = GetStream();
  return pData ? pData->GetLength() : -1;
}

BSE::CObjectPtr<BSE::IByteStream> CFileStreamObject::GetStream()
{
  BSE::CObjectPtr<BSE::IByteStream> pData(new BSE::CFileStream(m_path.GetText(), BSE::eFileRead));
  return pData->IsValid() ? pData : nullptr;
}

}  // namespace PDF
