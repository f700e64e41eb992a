#include "base/ReplacementFile.h"
#include "base/Tracer.h"
#include "pdf/File.h"
#include "pdf/Generator.h"
#include "pdf/PendingObjectStream.h"
#include "pdf/RevisionWriter.h"
#include "pdf/StatusCodes.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

// The end of a written file: its revisions, linearization, and the way to the target.
namespace PDF
{

namespace
{

// Positions in a linearized file are 32-bit numbers.
constexpr std::int64_t g_nMaxLinearizedSize = 4294967295;

// Ten digits are the room for a position in a cross-reference table.
constexpr std::int64_t g_nMaxTablePosition = 9999999999;

// Automatic linearization gives up at most this part of the file's size, which it grows by what object
// streams have saved.
constexpr double g_dMaxGrowth = 0.4;

constexpr double g_dMegabyte = 1048576.0;

// Overwrites what a longer file has left behind the end of a finished one. Readers look for the start of the
// cross-reference data at the very end.
bool CoverRest(BSE::IByteStream& target, std::int64_t nLeft, std::int64_t nStartXRef)
{
  unsigned char blanks[4096];
  std::memset(blanks, '\n', sizeof(blanks));
  char szEnd[64];
  const int nEnd =
      std::snprintf(szEnd, sizeof(szEnd), "startxref\n%lld\n%%%%EOF\n", static_cast<long long>(nStartXRef));
  const bool bRepeat = nLeft > nEnd;
  for (std::int64_t nBlanks = bRepeat ? nLeft - nEnd : nLeft; nBlanks > 0;)
  {
    const std::int64_t nPiece = std::min<std::int64_t>(nBlanks, sizeof(blanks));
    if (!target.WriteAll(blanks, nPiece))
      return false;
    nBlanks -= nPiece;
  }
  return !bRepeat || target.WriteAll(reinterpret_cast<const unsigned char*>(szEnd), nEnd);
}

}  // namespace

bool CFile::FlushObjects()
{
  for (int i = m_xref.GetNextNumber(0); i < m_xref.GetSize(); i = m_xref.GetNextNumber(i))
  {
    CIndirectObject* pObject = m_xref.GetEntry(i).m_pObject;
    if (pObject && pObject->IsDirty() && !pObject->IsLocked() && !pObject->Flush(true))
      return false;
  }
  for (auto& pPending : m_pendingObjStm)
  {
    const BSE::CScopedPtr<CPendingObjectStream> pComplete = std::move(pPending);
    if (pComplete && !pComplete->Flush())
      return Fail(BSE::g_nOutOfMemory);
  }
  return true;
}

bool CFile::WriteSection()
{
  const bool bUpdate = m_nStartXRef > 0 && !m_bRecoveryDone;
  CRevisionWriter writer(*this, *m_pGenerator, bUpdate ? m_nStartXRef : -1, m_nRevisionStart);
  const std::int64_t nPosition = m_pGenerator->Tell() - m_nHeaderOffset;
  if (m_nXRefForm == eXRefUnknown)
    m_nXRefForm = m_bWantObjectStreams && IsVersionAtLeast(1, 5) ? eXRefStream : eXRefTable;
  if (nPosition > g_nMaxTablePosition && m_nXRefForm != eXRefStream)
  {
    m_nXRefForm = eXRefStream;
    if (BSE::CTracer::IsOn())
      BSE::CTracer::Trace("E", "PDF File", "Forced to use cross-reference stream because of file size.");
  }
  if (m_nXRefForm != eXRefStream && writer.NeedsStream())
    m_nXRefForm = eXRefStream;
  if (m_nXRefForm == eXRefStream ? !writer.WriteStream() : !writer.WriteTable())
    return false;
  m_nXRefPosition = writer.GetPosition();
  m_nStartXRef = m_nXRefPosition;
  return true;
}

bool CFile::FinishRevision()
{
  if (!m_bDirty)
    return true;
  if (!m_root)
    return Fail(g_nFileNotCreated);
  if (!PrepareToWrite() || !FlushObjects())
    return FailWriting();
  m_nFileSize = m_pGenerator->Tell();
  if (!WriteSection() || !m_pWriter->Flush())
    return FailWriting();
  m_bDirty = false;
  m_nRevisionStart = m_pGenerator->Tell() - m_nHeaderOffset;
  m_nFlushedStreams = 0;
  if (BSE::CTracer::IsOn())
    BSE::CTracer::Trace("I", "PDF File", "Saved bytes in object streams: %d",
                        static_cast<int>(m_nSavedBytes));
  return true;
}

void CFile::SetLinearize(bool bLinearize, bool bAuto, ILinearizer* pLinearizer)
{
  m_bLinearize = bLinearize;
  m_bLinearizeAuto = bAuto;
  m_pLinearizer = pLinearizer;
}

bool CFile::Close()
{
  const bool bResult = FinishOutput();
  ReleaseAll();
  return bResult;
}

bool CFile::FinishOutput()
{
  if (!m_pOutput)
    return true;
  if (!m_bDirty)
    m_bLinearize = false;
  if (m_bFailed || !FinishRevision())
    return false;
  if (!m_bLinearize || !m_pLinearizer || !WantsLinearization())
    return !m_pTarget || DeliverToTarget();
  return LinearizeOutput();
}

bool CFile::WantsLinearization()
{
  if (m_nXRefPosition > g_nMaxLinearizedSize)
  {
    BSE::ReportError(this, g_nNotLinearized);
    if (BSE::CTracer::IsOn())
      BSE::CTracer::Trace("E", "PDF File", "Disable linearization for huge file.");
    return false;
  }
  const auto dSize = static_cast<double>(m_pWriter->GetLength());
  const auto dSaved = static_cast<double>(m_nSavedBytes);
  if (BSE::CTracer::IsOn())
    BSE::CTracer::Trace("D", "PDF File", "Without linearization: %f MB. With linearization: %f MB.",
                        dSize / g_dMegabyte, (dSize + dSaved) / g_dMegabyte);
  if (!m_bLinearizeAuto)
    return true;
  if (dSaved > g_dMaxGrowth * dSize)
  {
    if (BSE::CTracer::IsOn())
      BSE::CTracer::Trace("I", "PDF File",
                          "Linearization disabled because the result file size would increase too much.");
    return false;
  }
  if (m_nMajor >= 2)
  {
    if (BSE::CTracer::IsOn())
      BSE::CTracer::Trace("I", "PDF File",
                          "Linearization automatically disabled because of version PDF 2.0.");
    return false;
  }
  return true;
}

bool CFile::LinearizeOutput()
{
  // Nothing of the written file is needed in memory any more.
  m_pGenerator.Reset();
  m_pWriter.Reset();
  m_xref.RemoveAll();
  return m_pTarget ? LinearizeOutputMemory() : LinearizeOutputFile();
}

// The plain file stays where linearizing fails, which is no failure of the save then.
bool CFile::LinearizeOutputFile()
{
  if (!ReplaceOutputFile())
  {
    if (BSE::CTracer::IsOn())
      BSE::CTracer::Trace("E", "PDF File", "Linearization of output file failed.");
    BSE::ReportError(this, g_nLinearizationFailed);
  }
  return true;
}

// The linearized file replaces the plain one only once it is complete.
bool CFile::ReplaceOutputFile()
{
  const auto* pFile = dynamic_cast<BSE::CFileStream*>(m_pOutput.Get());
  BSE::CReplacementFile replacement;
  std::int64_t nWritten = 0;
  if (!pFile || !BSE::CatchExhaustion(this, [&] { return replacement.Create(pFile->GetFileName(), this); }))
    return false;
  // A name that leads to another file by now is not the one to be replaced.
  if (!replacement.Replaces(*pFile) ||
      !m_pLinearizer->LinearizeStream(m_pOutput.Get(), replacement.GetStream(), *this, nWritten))
    return false;
  if (replacement.Commit())
    return true;
  if (BSE::CTracer::IsOn())
    BSE::CTracer::Trace("E", "PDF File", "Error %d renaming file %s to file %s.", errno,
                        replacement.GetStream()->GetFileName(), pFile->GetFileName());
  return false;
}

bool CFile::LinearizeOutputMemory()
{
  if (!dynamic_cast<BSE::CMemoryStream*>(m_pOutput.Get()))
  {
    if (BSE::CTracer::IsOn())
      BSE::CTracer::Trace("E", "PDF File", "Memory buffer in file was disabled. Linearization skipped.");
    return DeliverToTarget();
  }
  std::int64_t nWritten = 0;
  if (RewindTarget() && m_pLinearizer->LinearizeStream(m_pOutput.Get(), m_pTarget.Get(), *this, nWritten))
    return true;
  if (BSE::CTracer::IsOn())
    BSE::CTracer::Trace("E", "PDF File", "Linearization of output file failed.");
  // The plain file in its place is whole, and told from the linearized one by this code alone.
  if (DeliverInstead(nWritten))
    return Fail(g_nLinearizationFailed);
  BSE::ReportError(this, g_nLinearizationFailed);
  return false;
}

// A target that cannot seek is taken as it stands.
bool CFile::RewindTarget()
{
  return !m_pTarget->IsSeekable() || m_pTarget->Tell() == 0 || m_pTarget->Rewind();
}

bool CFile::DeliverInstead(std::int64_t nWritten)
{
  if (nWritten > 0 && (!m_pTarget->IsSeekable() || !m_pTarget->Rewind()))
    return Fail(g_nFileNotCreated);
  if (!DeliverToTarget())
    return false;
  const std::int64_t nLength = m_pTarget->GetLength();
  const std::int64_t nTaken = nLength >= 0 ? std::min(nWritten, nLength) : nWritten;
  return CoverRest(*m_pTarget, nTaken - m_pOutput->GetLength(), m_nXRefPosition) ||
         Fail(BSE::GetWriteFailure(m_pTarget.Get()));
}

bool CFile::DeliverToTarget()
{
  if (m_pWriter && !m_pWriter->Flush())
    return FailWriting();
  BSE::CTLSError::SetSuccess();
  if (m_pOutput->Rewind() && m_pTarget->CopyFrom(m_pOutput.Get(), -1, false))
    return true;
  Fail(BSE::GetWriteFailure(m_pTarget.Get()));
  BSE::ReportError(this, g_nFileNotCreated);
  return false;
}

}  // namespace PDF
