#include "pdf/ObjectStream.h"

#include "base/Checked.h"
#include "base/Limits.h"
#include "base/Tracer.h"
#include "pdf/File.h"
#include "pdf/Parser.h"

namespace PDF
{

namespace
{

constexpr int g_nBlockSize = 8192;

}  // namespace

CObjectStream::CObjectStream(CFile* pFile, int nObjNumber) : m_pFile(pFile), m_nObjNumber(nObjNumber) {}

CObjectStream::~CObjectStream() = default;

bool CObjectStream::Load()
{
  if (m_bLoaded)
    return true;
  if (BSE::CTracer::IsOn())
    BSE::CTracer::Trace("I", "libpdf", "Loading ObjStm %d.", m_nObjNumber);
  const CObjectPtr object = m_pFile->GetObject(m_nObjNumber, -1);
  if (!object || !object->IsStream())
    return false;
  const std::int64_t nCount = GetIntegerOr(object["N"], 0);
  m_nFirst = GetIntegerOr(object["First"], 0);
  if (nCount != 0 && m_nFirst <= 0)
  {
    BSE::CTracer::Trace("E", "libpdf", "Invalid first object position in compressed object stream %d",
                        m_nObjNumber);
    return false;
  }
  if (!DecodeData(static_cast<CIndirectObject&>(*object)))
    return false;
  BSE::CObjectPtr<BSE::CBufferedInputStream> pReader(
      new BSE::CMemoryInputStream(m_data.GetData(), m_data.GetSize()));
  m_pParser.Reset(new CParser(m_pFile, pReader.Get(), m_pFile));
  ReadIndex(nCount);
  m_bLoaded = true;
  return true;
}

bool CObjectStream::DecodeData(CIndirectObject& stream)
{
  const BSE::CObjectPtr<BSE::IByteStream> pData = stream.GetDecodedStream();
  if (!pData || !pData->IsValid())
    return false;
  m_data.RemoveAll();
  for (;;)
  {
    const int nOld = m_data.GetSize();
    const int nRoom = nOld < g_nBlockSize ? g_nBlockSize : nOld;
    if (nOld >= BSE::g_nMaxDecodedSize - nRoom)
      return false;
    m_data.SetSize(nOld + nRoom);
    const std::int64_t nRead = pData->ReadFully(m_data.GetData() + nOld, nRoom);
    m_data.Truncate(nOld + static_cast<int>(nRead < 0 ? 0 : nRead));
    if (nRead < nRoom)
      return true;
  }
}

void CObjectStream::ReadIndex(std::int64_t nCount)
{
  CScanner& scanner = m_pParser->GetScanner();
  m_index.RemoveAll();
  for (std::int64_t i = 0; i < nCount; ++i)
  {
    scanner.ReadToken();
    if (scanner.GetToken() != eTokenInteger)
      break;
    TIndexEntry entry = {BSE::ClampTo<int>(scanner.GetInteger()), -1};
    scanner.ReadToken();
    if (scanner.GetToken() == eTokenInteger && scanner.GetInteger() >= 0)
      entry.m_nOffset = scanner.GetInteger();
    m_index.Add(entry);
  }
}

void CObjectStream::Unload()
{
  m_bLoaded = false;
  m_pParser.Reset();
  m_data.RemoveAll();
  m_index.RemoveAll();
}

int CObjectStream::FindEntry(int nObjNumber, int nIndex) const
{
  if (nIndex < 0 || nIndex >= m_index.GetSize())
    BSE::CTracer::Trace("E", "libpdf",
                        "Requested object index %d exceeds object stream index of object stream %d.", nIndex,
                        m_nObjNumber);
  else if (m_index[nIndex].m_nObjNumber == nObjNumber)
    return nIndex;
  else
    BSE::CTracer::Trace("E", "libpdf", "Object number mismatch in compressed object stream %d: %d %d",
                        m_nObjNumber, nObjNumber, m_index[nIndex].m_nObjNumber);
  for (int i = 0; i < m_index.GetSize(); ++i)
    if (m_index[i].m_nObjNumber == nObjNumber)
      return i;
  return -1;
}

bool CObjectStream::GetObject(CIndirectObject& object, int nIndex)
{
  if (!Load())
    return false;
  const int nEntry = FindEntry(object.GetObjNumber(), nIndex);
  if (nEntry < 0)
    return false;
  std::int64_t nPos = 0;
  if (m_index[nEntry].m_nOffset < 0 || !BSE::CheckedAdd(m_nFirst, m_index[nEntry].m_nOffset, nPos) ||
      !m_pParser->SeekTo(nPos))
  {
    BSE::CTracer::Trace("E", "libpdf", "Invalid object position in compressed object stream %d",
                        m_nObjNumber);
    return false;
  }
  CScanner& scanner = m_pParser->GetScanner();
  scanner.ReadToken();
  const bool bNull = scanner.GetToken() == eTokenNull;
  const CObjectPtr value = m_pParser->ParseObject();
  if (!value && !bNull)
  {
    BSE::CTracer::Trace("I", "libpdf",
                        "Failed to parse compressed object %d at index %d in object stream %d.",
                        object.GetObjNumber(), nEntry, m_nObjNumber);
    return false;
  }
  object.SetParsed(value.Get(), nullptr);
  return true;
}

}  // namespace PDF
