// A written file is finished where it is. If it is to be linearized, it is only the input of the linearizer:
// a file is replaced by one that was made next to it, and for a target that is no file it waits in memory.
// The plain file is what is left whenever that fails.

#include "pdf/FileFinisher.h"

#include "base/ReplacementFile.h"
#include "base/Tracer.h"
#include "pdf/File.h"
#include "pdf/StatusCodes.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

namespace PDF
{

namespace
{

// Positions in a linearized file are 32-bit numbers.
constexpr std::int64_t g_nMaxLinearizedSize = 4294967295;

// Automatic linearization gives up at most this part of the file's size, which it grows by what object
// streams have saved.
constexpr double g_dMaxGrowth = 0.4;

// The same for a file that keeps its object streams: it grows by little, unless it is little itself, and then
// it arrives at once in any order.
constexpr double g_dMaxPackedGrowth = 0.01;

constexpr double g_dMegabyte = 1048576.0;

// Overwrites what a longer file has left after the end of a finished one. Readers look for the start of the
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

void CFileFinisher::SetLinearize(bool bLinearize, bool bAuto, ILinearizer* pLinearizer)
{
  m_bLinearize = bLinearize;
  m_bLinearizeAuto = bAuto;
  m_pLinearizer = pLinearizer;
}

bool CFileFinisher::Finish()
{
  if (!m_writer.GetOutput())
    return true;
  if (!m_writer.IsDirty())
    m_bLinearize = false;
  if (m_writer.HasFailed() || !m_writer.FinishRevision())
    return false;
  if (!m_bLinearize || !m_pLinearizer || !WantsLinearization())
    return !m_pTarget || Deliver();
  return Linearize();
}

bool CFileFinisher::WantsLinearization()
{
  if (m_state.m_nStartXRef > g_nMaxLinearizedSize)
  {
    BSE::ReportError(&m_file, g_nNotLinearized);
    if (BSE::CTracer::IsOn())
      BSE::CTracer::Trace("E", "PDF File", "Disable linearization for huge file.");
    return false;
  }
  const auto dSize = static_cast<double>(m_writer.GetOutput()->GetLength());
  const auto dSaved = static_cast<double>(m_writer.GetSavedBytes());
  if (BSE::CTracer::IsOn())
    BSE::CTracer::Trace("D", "PDF File", "Without linearization: %f MB. With linearization: %f MB.",
                        dSize / g_dMegabyte, (dSize + dSaved) / g_dMegabyte);
  if (!m_bLinearizeAuto)
    return true;
  if (dSaved > g_dMaxGrowth * dSize && !m_pLinearizer->KeepsObjectStreams(m_file))
  {
    TraceGrowth();
    return false;
  }
  if (m_state.m_nMajor >= 2)
  {
    if (BSE::CTracer::IsOn())
      BSE::CTracer::Trace("I", "PDF File",
                          "Linearization automatically disabled because of version PDF 2.0.");
    return false;
  }
  return true;
}

void CFileFinisher::TraceGrowth()
{
  if (BSE::CTracer::IsOn())
    BSE::CTracer::Trace("I", "PDF File",
                        "Linearization disabled because the result file size would increase too much.");
}

// What a file grows by that keeps its object streams is known only once its linearized form is measured.
TLinearized CFileFinisher::LinearizeTo(BSE::IByteStream* pOutput, std::int64_t& nWritten)
{
  std::int64_t nMaxLength = -1;
  if (m_bLinearizeAuto && m_pLinearizer->KeepsObjectStreams(m_file))
    nMaxLength = static_cast<std::int64_t>((1 + g_dMaxPackedGrowth) *
                                           static_cast<double>(m_writer.GetOutput()->GetLength()));
  const TLinearized eResult =
      m_pLinearizer->LinearizeStream(m_writer.GetOutput(), pOutput, m_file, nMaxLength, nWritten);
  if (eResult == TLinearized::TooLong)
    TraceGrowth();
  return eResult;
}

bool CFileFinisher::Linearize()
{
  // Nothing of the written file is needed in memory any more.
  m_writer.DropBuffers();
  m_state.m_xref.RemoveAll();
  return m_pTarget ? LinearizeMemory() : LinearizeFile();
}

// The plain file stays where linearizing fails, so that the save does not fail with it.
bool CFileFinisher::LinearizeFile()
{
  if (!ReplaceFile())
  {
    if (BSE::CTracer::IsOn())
      BSE::CTracer::Trace("E", "PDF File", "Linearization of output file failed.");
    BSE::ReportError(&m_file, g_nLinearizationFailed);
  }
  return true;
}

// The linearized file replaces the plain one only once it is complete.
bool CFileFinisher::ReplaceFile()
{
  const auto* pFile = dynamic_cast<BSE::CFileStream*>(m_writer.GetOutput());
  BSE::CReplacementFile replacement;
  std::int64_t nWritten = 0;
  if (!pFile ||
      !BSE::CatchExhaustion(&m_file, [&] { return replacement.Create(pFile->GetFileName(), &m_file); }))
    return false;
  // A name that leads to another file by now is not the one to be replaced.
  if (!replacement.Replaces(*pFile))
    return false;
  const TLinearized eResult = LinearizeTo(replacement.GetStream(), nWritten);
  if (eResult != TLinearized::Done)
    return eResult == TLinearized::TooLong;
  if (replacement.Commit())
    return true;
  if (BSE::CTracer::IsOn())
    BSE::CTracer::Trace("E", "PDF File", "Error %d renaming file %s to file %s.", errno,
                        replacement.GetStream()->GetFileName(), pFile->GetFileName());
  return false;
}

bool CFileFinisher::LinearizeMemory()
{
  if (!dynamic_cast<BSE::CMemoryStream*>(m_writer.GetOutput()))
  {
    if (BSE::CTracer::IsOn())
      BSE::CTracer::Trace("E", "PDF File", "Memory buffer in file was disabled. Linearization skipped.");
    return Deliver();
  }
  std::int64_t nWritten = 0;
  const TLinearized eResult = RewindTarget() ? LinearizeTo(m_pTarget.Get(), nWritten) : TLinearized::Failed;
  if (eResult == TLinearized::Done)
    return true;
  if (eResult == TLinearized::TooLong)
    return Deliver();
  if (BSE::CTracer::IsOn())
    BSE::CTracer::Trace("E", "PDF File", "Linearization of output file failed.");
  // The plain file in its place is whole; only this code says that it is not the linearized one.
  if (DeliverInstead(nWritten))
    return m_writer.Fail(g_nLinearizationFailed);
  BSE::ReportError(&m_file, g_nLinearizationFailed);
  return false;
}

// A target that cannot seek is taken as it is.
bool CFileFinisher::RewindTarget()
{
  return !m_pTarget->IsSeekable() || m_pTarget->Tell() == 0 || m_pTarget->Rewind();
}

bool CFileFinisher::DeliverInstead(std::int64_t nWritten)
{
  if (nWritten > 0 && (!m_pTarget->IsSeekable() || !m_pTarget->Rewind()))
    return m_writer.Fail(g_nFileNotCreated);
  if (!Deliver())
    return false;
  const std::int64_t nLength = m_pTarget->GetLength();
  const std::int64_t nTaken = nLength >= 0 ? std::min(nWritten, nLength) : nWritten;
  return CoverRest(*m_pTarget, nTaken - m_writer.GetOutput()->GetLength(), m_state.m_nStartXRef) ||
         m_writer.Fail(BSE::GetWriteFailure(m_pTarget.Get()));
}

bool CFileFinisher::Deliver()
{
  if (!m_writer.FlushOutput())
    return false;
  BSE::CTLSError::SetSuccess();
  if (m_writer.GetOutput()->Rewind() && m_pTarget->CopyFrom(m_writer.GetOutput(), -1, false))
    return true;
  m_writer.Fail(BSE::GetWriteFailure(m_pTarget.Get()));
  BSE::ReportError(&m_file, g_nFileNotCreated);
  return false;
}

}  // namespace PDF
