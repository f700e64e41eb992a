#include "base/Tracer.h"
#include "pdf/File.h"
#include "pdf/Generator.h"
#include "pdf/PendingObjectStream.h"
#include "pdf/RevisionWriter.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

// The end of a written file: its revisions, linearization, and the way to the target.
namespace PDF
{

namespace
{

constexpr unsigned g_nFileNotCreated = 0x80410102U;
constexpr unsigned g_nNotLinearized = 0x03418544U;
constexpr unsigned g_nLinearizationFailed = 0x83410544U;

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

// The file that links lead to: it is what has been written, and what is to be replaced.
BSE::CStr8 ResolveLinks(const char* szFile)
{
  char szResolved[PATH_MAX];
  return BSE::CStr8(realpath(szFile, szResolved) ? szResolved : szFile);
}

// An empty file that nobody but the owner of the other one can open. Without it the linearizer makes its own.
void CreatePrivate(const char* szTemporary, const struct stat& status)
{
  unlink(szTemporary);
  const int nFile = open(szTemporary, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR);
  if (nFile < 0)
    return;
  // For root only; everybody else writes files of his own.
  if (fchown(nFile, status.st_uid, status.st_gid) != 0)
    errno = 0;
  close(nFile);
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
      return false;
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
  {
    BSE::ReportError(this, g_nFileNotCreated);
    return Fail();
  }
  if (!PrepareToWrite() || !FlushObjects())
    return Fail();
  m_nFileSize = m_pGenerator->Tell();
  if (!WriteSection() || !m_pWriter->Flush())
    return Fail();
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

// The linearized file replaces the plain one only once it is complete.
bool CFile::LinearizeOutputFile()
{
  const char* szFile = m_pOutput->GetFileName();
  if (!szFile || !*szFile)
  {
    if (BSE::CTracer::IsOn())
      BSE::CTracer::Trace("E", "PDF File", "Linearization of output file failed.");
    BSE::ReportError(this, g_nLinearizationFailed);
    return true;
  }
  const BSE::CStr8 path = ResolveLinks(szFile);
  szFile = path.GetText();
  BSE::CStr8 temporary(szFile);
  temporary.Append(".tmp");
  const char* szTemporary = temporary.GetText();
  struct stat status = {};
  const bool bKnown = stat(szFile, &status) == 0;
  if (bKnown)
    CreatePrivate(szTemporary, status);
  const bool bLinearized = m_pLinearizer->LinearizeFile(szFile, szTemporary, *this);
  // A file system without modes refuses to set them.
  if (bLinearized && bKnown)
    static_cast<void>(chmod(szTemporary, status.st_mode & 07777));
  if (bLinearized && std::rename(szTemporary, szFile) == 0)
    return true;
  if (BSE::CTracer::IsOn())
  {
    if (bLinearized)
      BSE::CTracer::Trace("E", "PDF File", "Error %d renaming file %s to file %s.", errno, szTemporary,
                          szFile);
    else
      BSE::CTracer::Trace("E", "PDF File", "Linearization of output file failed.");
  }
  if (unlink(szTemporary) != 0 && errno != ENOENT && BSE::CTracer::IsOn())
    BSE::CTracer::Trace("E", "PDF File", "Error %d removing temp file %s.", errno, szTemporary);
  BSE::ReportError(this, g_nLinearizationFailed);
  return true;
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
  BSE::ReportError(this, g_nLinearizationFailed);
  DeliverInstead(nWritten);
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
  {
    BSE::ReportError(this, g_nFileNotCreated);
    return false;
  }
  if (!DeliverToTarget())
    return false;
  const std::int64_t nLength = m_pTarget->GetLength();
  const std::int64_t nTaken = nLength >= 0 ? std::min(nWritten, nLength) : nWritten;
  return CoverRest(*m_pTarget, nTaken - m_pOutput->GetLength(), m_nXRefPosition);
}

bool CFile::DeliverToTarget()
{
  if (m_pWriter && !m_pWriter->Flush())
    return false;
  if (m_pOutput->Rewind() && m_pTarget->CopyFrom(m_pOutput.Get(), -1, false))
    return true;
  BSE::ReportError(this, g_nFileNotCreated);
  return false;
}

}  // namespace PDF
